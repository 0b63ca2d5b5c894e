#include "Engine/CompositeRefresh.h"

#include "Base/Check.h"
#include "Base/Log.h"
#include "Engine/CompositeRun.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <unordered_set>
#include <utility>

namespace ombrel {

namespace {

using Seconds = std::chrono::duration<double>;

// A batch is cut short when a deadline is near; more than this is never in one then, so that an
// estimate that has become wrong costs little.
constexpr std::size_t tilesBeforeDeadline = 32;
constexpr std::uint64_t visitsBetweenLooks = 256;
constexpr std::int64_t bytesOfTile = bytesPerTile(TileFormat::rgba16Float);

/// Moves an estimate half way to what `count` pieces took.
void learn(double& secondsOfOne, std::size_t count, CompositeCache::Clock::time_point begin) {
    if (count == 0) return;
    const Seconds taken = CompositeCache::Clock::now() - begin;
    secondsOfOne = (secondsOfOne + taken.count() / static_cast<double>(count)) / 2;
}

} // namespace

std::expected<bool, EngineError>
CompositeCache::refresh(int level, std::span<const TileCoord> coords, const Budget& budget) {
    checkActor();
    lastCompositedTiles_ = 0;
    lastDownsampledTiles_ = 0;
    ++refreshCount_;
    Refresh work(*this, level, budget);
    if (const auto error = work.run(coords)) return std::unexpected(*error);
    return isReady(level, coords);
}

std::optional<EngineError> CompositeCache::Refresh::run(std::span<const TileCoord> coords) {
    // Everything wanted is kept from being trimmed, also what is not reached this time.
    for (const TileCoord coord : coords) {
        if (Entry* entry = cache_.find(level_, coord)) entry->lastUse = cache_.refreshCount_;
    }
    std::unordered_set<TileCoord> seen;
    for (const TileCoord coord : coords) {
        if (isSpent_) break;
        if (cache_.geometry_.contains(level_, coord) && seen.insert(coord).second)
            visit(level_, coord);
    }
    flush();
    return error_;
}

void CompositeCache::Refresh::visit(int level, TileCoord coord) {
    Entry* entry = cache_.find(level, coord);
    if (entry != nullptr && cache_.isValid(*entry)) {
        entry->lastUse = cache_.refreshCount_;
        return;
    }
    if (!settle(level, coord)) {
        if (level == 0) {
            composites_.push_back(coord);
            if (budget_.deadline) compositeSteps_ += cache_.stepsOf(coord);
        } else {
            for (const TileCoord child : PyramidGeometry::children(coord)) {
                if (!cache_.geometry_.contains(level - 1, child)) continue;
                visit(level - 1, child);
                if (isSpent_) return;
            }
            parents_.push_back({level, coord});
        }
    }
    const bool looks = ++visits_ % visitsBetweenLooks == 0;
    if (isBatchFull() || (looks && isLate())) flush();
}

bool CompositeCache::Refresh::settle(int level, TileCoord coord) {
    TileClass what = level == 0
                         ? cache_.classifier_->classify(coord)
                         : cache_.classifier_->classifyAll(intersectionOf(
                               PyramidGeometry::base(level, coord), cache_.geometry_.tiles(0)));
    if (std::holds_alternative<EmptyTile>(what)) {
        cache_.put(level, coord, EmptyTile{});
    } else if (const auto* color = std::get_if<PremultipliedColor>(&what)) {
        // At the edge of the canvas a part of the tile is empty.
        if (!cache_.geometry_.isWhole(level, coord)) return false;
        cache_.put(level, coord, *color);
    } else if (auto* tile = std::get_if<Tile>(&what)) {
        cache_.put(level, coord, std::move(*tile));
    } else {
        return false;
    }
    return true;
}

bool CompositeCache::Refresh::isBatchFull() const {
    const std::size_t count = composites_.size();
    const std::size_t pending = count + parents_.size();
    if (pending == 0) return false;
    // Children that are layers' own tiles are pinned while a batch runs.
    const std::int64_t pinnable = cache_.store_.budget().residentBytes / 4 / (4 * bytesOfTile);
    if (count >= CompositeRun::tilesOfBatch || parents_.size() >= CompositeRun::tilesOfBatch ||
        std::cmp_greater_equal(parents_.size(), std::max<std::int64_t>(pinnable, 1)) ||
        cache_.lastCompositedTiles_ + count >= budget_.tiles)
        return true;
    if (!budget_.deadline) return false;
    const Seconds needed(static_cast<double>(compositeSteps_) * cache_.layerSeconds_ +
                         static_cast<double>(parents_.size()) * cache_.downsampleSeconds_);
    return pending >= tilesBeforeDeadline || Clock::now() + needed >= *budget_.deadline;
}

bool CompositeCache::Refresh::isLate() const {
    return budget_.deadline && Clock::now() >= *budget_.deadline;
}

void CompositeCache::Refresh::flush() {
    if (!error_) composite();
    if (!error_) downsample();
    composites_.clear();
    compositeSteps_ = 0;
    parents_.clear();
    trim();
    isSpent_ = error_ || isLate() || cache_.lastCompositedTiles_ >= budget_.tiles;
}

void CompositeCache::Refresh::composite() {
    if (composites_.empty()) return;
    const TimingInterval interval("EncodeComposite");
    const Clock::time_point begin = Clock::now();
    std::vector<TileCoord> changed;
    std::ranges::copy_if(composites_, std::back_inserter(changed), [this](TileCoord coord) {
        const Entry* entry = cache_.find(0, coord);
        return entry != nullptr && entry->validIn == 0;
    });
    cache_.stops_.begin(changed, budget_.ownedBytes / 4);
    const CompositeRun run(cache_.program_, cache_.perceptualBlend_, cache_.device_, cache_.store_,
                           &cache_.stops_);
    const auto result =
        run.run(composites_, nullptr, nullptr,
                [&](std::span<const TileCoord> coords, std::span<TileBuffer> buffers) {
                    for (std::size_t i = 0; i < coords.size(); ++i)
                        cache_.put(0, coords[i],
                                   std::make_shared<const CompositeBuffer>(std::move(buffers[i]),
                                                                           cache_.store_));
                    cache_.lastCompositedTiles_ += coords.size();
                });
    if (!result) error_ = result.error();
    learn(cache_.layerSeconds_, compositeSteps_, begin);
    learn(cache_.tileSeconds_, composites_.size(), begin);
}

void CompositeCache::Refresh::downsample() {
    const Clock::time_point begin = Clock::now();
    std::ranges::sort(parents_, {},
                      [](const Parent& parent) { return std::tie(parent.level, parent.coord); });
    for (auto from = parents_.begin(); from != parents_.end() && !error_;) {
        const auto to = std::ranges::find_if(
            from, parents_.end(), [&](int level) { return level != from->level; }, &Parent::level);
        downsample(std::span(from, to));
        from = to;
    }
    learn(cache_.downsampleSeconds_, parents_.size(), begin);
}

void CompositeCache::Refresh::downsample(std::span<const Parent> parents) {
    std::vector<Parent> work;
    std::vector<Tile> tiles;
    for (const Parent& parent : parents) {
        if (auto content = contentOfEqualChildren(parent)) {
            cache_.put(parent.level, parent.coord, *std::move(content));
            continue;
        }
        work.push_back(parent);
        for (const TileCoord child : PyramidGeometry::children(parent.coord)) {
            const auto* tile = std::get_if<Tile>(&childContent(parent.level - 1, child));
            if (tile != nullptr) tiles.push_back(*tile);
        }
    }
    if (work.empty()) return;
    TileStore::prefetch(tiles);
    ResourceTracker tracker;
    std::vector<TileBuffer> buffers;
    std::vector<DownsampleJob> jobs;
    for (const Parent& parent : work) {
        buffers.push_back(cache_.store_.acquireBuffer(TileFormat::rgba16Float));
        jobs.push_back(jobOf(parent, buffers.back().bytes(), tracker));
    }
    const auto result = cache_.device_.downsample(jobs);
    if (!result) {
        error_ = result.error();
        for (TileBuffer& buffer : buffers)
            cache_.store_.recycleBuffer(std::move(buffer));
        return;
    }
    for (std::size_t i = 0; i < work.size(); ++i)
        cache_.put(work[i].level, work[i].coord,
                   std::make_shared<const CompositeBuffer>(std::move(buffers[i]), cache_.store_));
    cache_.lastDownsampledTiles_ += work.size();
}

const CompositeCache::Content& CompositeCache::Refresh::childContent(int level,
                                                                     TileCoord coord) const {
    static const Content nothing = EmptyTile{};
    if (!cache_.geometry_.contains(level, coord)) return nothing;
    const Entry* child = cache_.entry(level, coord);
    OMBREL_CHECK(child != nullptr && cache_.isValid(*child), "children are valid before parents");
    return child->content;
}

std::optional<CompositeCache::Content>
CompositeCache::Refresh::contentOfEqualChildren(const Parent& parent) const {
    const std::array<TileCoord, 4> children = PyramidGeometry::children(parent.coord);
    const Content& first = childContent(parent.level - 1, children[0]);
    const auto* color = std::get_if<PremultipliedColor>(&first);
    if (color == nullptr && !std::holds_alternative<EmptyTile>(first)) return std::nullopt;
    const bool areEqual = std::ranges::all_of(
        children, [&](TileCoord child) { return childContent(parent.level - 1, child) == first; });
    return areEqual ? std::optional(first) : std::nullopt;
}

DownsampleJob CompositeCache::Refresh::jobOf(const Parent& parent, std::byte* output,
                                             ResourceTracker& tracker) const {
    DownsampleJob job{.output = output, .children = {}};
    const std::array<TileCoord, 4> children = PyramidGeometry::children(parent.coord);
    for (std::size_t i = 0; i < children.size(); ++i) {
        const Content& content = childContent(parent.level - 1, children[i]);
        if (const auto* color = std::get_if<PremultipliedColor>(&content))
            job.children[i] = *color;
        else if (const auto* tile = std::get_if<Tile>(&content))
            job.children[i] = tracker.pin(*tile);
        else if (const auto* owned = std::get_if<Owned>(&content))
            job.children[i] = (*owned)->bytes();
    }
    return job;
}

bool CompositeCache::Refresh::isNeeded(int level, TileCoord coord, const Entry& entry) const {
    if (entry.lastUse != cache_.refreshCount_ || level > level_) return false;
    return level == level_ || !cache_.isValid(level + 1, PyramidGeometry::ancestor(coord, 1));
}

void CompositeCache::Refresh::trim() {
    if (cache_.ownedBytes() <= budget_.ownedBytes) return;
    cache_.stops_.dropUnused();
    struct Candidate {
        std::uint64_t lastUse;
        int level;
        TileCoord coord;
    };
    std::vector<Candidate> candidates;
    for (int level = 0; level <= cache_.maxLevel(); ++level) {
        for (const auto& [coord, entry] : cache_.level(level)) {
            if (std::holds_alternative<Owned>(entry.content) && !isNeeded(level, coord, entry))
                candidates.push_back({entry.lastUse, level, coord});
        }
    }
    // The finest of the coldest first: they are the most, and what lies above them shows the same.
    std::ranges::sort(candidates, [](const Candidate& a, const Candidate& b) {
        return std::tie(a.lastUse, a.level, a.coord) < std::tie(b.lastUse, b.level, b.coord);
    });
    for (const Candidate& candidate : candidates) {
        if (cache_.ownedBytes() <= budget_.ownedBytes / 4 * 3) break;
        cache_.level(candidate.level).erase(candidate.coord);
        --cache_.ownedCount_;
    }
}

} // namespace ombrel
