#include "Engine/CompositeCache.h"

#include "Base/Check.h"
#include "Base/Log.h"
#include "Engine/TileQuad.h"

#include <algorithm>
#include <utility>

namespace ombrel {

namespace {

bool isOwned(const CompositeCache::Content& content) {
    return std::holds_alternative<CompositeCache::Owned>(content);
}

} // namespace

CompositeCache::CompositeCache(PixelDevice& device, TileStore& store, const Executor* actor)
    : device_(device), store_(store), actor_(actor), levels_(1), classifier_(program_),
      stops_(store) {}

void CompositeCache::checkActor() const {
    OMBREL_CHECK(actor_ == nullptr || actor_->isCurrent(), "caches are used on the render actor");
}

void CompositeCache::update(const DocumentState& state, bool perceptual) {
    update(state.compositeProgram(), state.canvas.size, perceptual);
}

void CompositeCache::update(CompositeProgram program, PixelSize canvas, bool perceptual) {
    checkActor();
    const TimingInterval interval("Diff");
    if (canvas != geometry_.canvas()) {
        drop();
        geometry_ = PyramidGeometry(canvas);
        levels_.resize(static_cast<std::size_t>(geometry_.levelCount()));
    } else if (perceptual != perceptualBlend_) {
        markEverything();
    } else if (const auto changes = programChanges(program_, program)) {
        mark(*changes);
        stops_.update(program, *changes);
    } else {
        markEverything();
    }
    program_ = std::move(program);
    classifier_.emplace(program_);
    perceptualBlend_ = perceptual;
}

void CompositeCache::drop() {
    checkActor();
    for (Level& entries : levels_)
        Level().swap(entries);
    ownedCount_ = 0;
    stops_.drop();
}

void CompositeCache::markEverything() {
    ++generation_;
    stops_.drop();
}

bool CompositeCache::isReady(int level, std::span<const TileCoord> coords) const {
    checkActor();
    if (level > maxLevel()) return coords.empty();
    return std::ranges::all_of(coords, [&](TileCoord coord) {
        return !geometry_.contains(level, coord) || isValid(level, coord);
    });
}

const CompositeCache::Entry* CompositeCache::entry(int level, TileCoord coord) const {
    if (level < 0 || level > maxLevel()) return nullptr;
    const Level& entries = this->level(level);
    const auto found = entries.find(coord);
    return found == entries.end() ? nullptr : &found->second;
}

CompositeCache::Entry* CompositeCache::find(int level, TileCoord coord) {
    return const_cast<Entry*>(std::as_const(*this).entry(level, coord));
}

bool CompositeCache::isValid(int level, TileCoord coord) const {
    const Entry* found = entry(level, coord);
    return found != nullptr && isValid(*found);
}

std::size_t CompositeCache::entryCount() const {
    std::size_t count = 0;
    for (const Level& entries : levels_)
        count += entries.size();
    return count;
}

std::size_t CompositeCache::stepsOf(TileCoord coord) const {
    std::size_t steps = stepsOfTile;
    for (std::size_t i = stops_.firstStep(program_, coord); i < program_.size(); ++i) {
        const PixelLayer* layer = program_[i].pixelLayer();
        steps += layer != nullptr && touches(layer->pixels, TileShift::of(layer->offset), coord);
    }
    return steps;
}

bool CompositeCache::fits(int level, std::span<const TileCoord> coords, double seconds) const {
    double steps = seconds / layerSeconds_;
    return std::ranges::all_of(coords, [&](TileCoord coord) { return spend(level, coord, steps); });
}

bool CompositeCache::spend(int level, TileCoord coord, double& steps) const {
    if (!geometry_.contains(level, coord) || isValid(level, coord)) return true;
    if (level == 0) {
        if (!std::holds_alternative<NeedsComposite>(classifier_->classify(coord))) return true;
        steps -= static_cast<double>(stepsOf(coord));
        return steps >= 0;
    }
    const TileRange base = intersectionOf(PyramidGeometry::base(level, coord), geometry_.tiles(0));
    if (std::holds_alternative<EmptyTile>(classifier_->classifyAll(base))) return true;
    return std::ranges::all_of(PyramidGeometry::children(coord),
                               [&](TileCoord child) { return spend(level - 1, child, steps); });
}

void CompositeCache::put(int level, TileCoord coord, Content content) {
    Entry& entry = this->level(level)[coord];
    if (isOwned(entry.content)) --ownedCount_;
    if (isOwned(content)) ++ownedCount_;
    entry = {std::move(content), generation_, refreshCount_};
}

void CompositeCache::mark(const ProgramChanges& changes) {
    const std::size_t entries = entryCount();
    if (entries == 0 || changes.isEmpty()) return;
    // Walking more cells than there are entries costs more than asking for each entry whether one
    // of the cells lies below it.
    const std::size_t limit = 1000 + 4 * entries;
    std::vector<ProgramChanges::Cover> covers = changes.covers;
    for (const ProgramChanges::Difference& difference : changes.differences) {
        if (markDifference(difference, limit)) continue;
        covers.push_back({difference.before, difference.offset});
        covers.push_back({difference.after, difference.offset});
    }
    markCovered(covers);
}

bool CompositeCache::markDifference(const ProgramChanges::Difference& difference,
                                    std::size_t limit) {
    const TileShift shift = TileShift::of(difference.offset);
    const TileRange canvas = geometry_.tiles(0);
    std::vector<std::optional<TileCoord>> marked(levels_.size());
    const auto markUpwards = [&](TileCoord coord) {
        for (std::size_t index = 0; index < levels_.size(); ++index) {
            const TileCoord above = PyramidGeometry::ancestor(coord, static_cast<int>(index));
            if (marked[index] == above) return; // and so are those above it
            marked[index] = above;
            const auto found = levels_[index].find(above);
            if (found != levels_[index].end()) found->second.validIn = 0;
        }
    };
    std::size_t cells = 0;
    TileGrid::diff(*difference.before, *difference.after,
                   [&](TileCoord cell, const TileCell&, const TileCell&) {
                       std::ranges::for_each(outputsOf(cell, shift, canvas), markUpwards);
                       return ++cells <= limit;
                   });
    return cells <= limit;
}

void CompositeCache::markCovered(std::span<const ProgramChanges::Cover> covers) {
    if (covers.empty()) return;
    const TileRange canvas = geometry_.tiles(0);
    const auto isTouched = [&](const TileRange& tiles) {
        return std::ranges::any_of(covers, [&](const ProgramChanges::Cover& cover) {
            const TileRange cells = cellsUnder(tiles, TileShift::of(cover.offset));
            return cover.pixels->contentOf(cells).kind != TileRangeContent::Kind::absent;
        });
    };
    for (int index = 0; index <= maxLevel(); ++index) {
        for (auto& [coord, entry] : level(index)) {
            if (isValid(entry) &&
                isTouched(intersectionOf(PyramidGeometry::base(index, coord), canvas)))
                entry.validIn = 0;
        }
    }
}

} // namespace ombrel
