#include "Engine/CompositeStops.h"

#include "Core/BlendMath.h"
#include "Engine/TileQuad.h"

#include <algorithm>
#include <utility>

namespace ombrel {

namespace {

constexpr std::size_t buffersOfLevel = 2;
constexpr std::size_t mostLevels = 4; ///< of memory; deeper steps stop outside of their groups
/// Fewer layers are computed again as fast as they are read.
constexpr std::size_t layersWorthKeeping = 3;

bool touches(const CompositeStep& step, TileCoord coord) {
    const PixelLayer* layer = step.pixelLayer();
    return layer != nullptr && touches(layer->pixels, TileShift::of(layer->offset), coord);
}

/// Whether enough lies in a tile between two steps.
bool isWorthKeeping(const CompositeProgram& program, std::size_t first, std::size_t end,
                    TileCoord coord) {
    std::size_t layers = 0;
    for (std::size_t i = first; i < end && layers < layersWorthKeeping; ++i)
        layers += touches(program[i], coord) ? 1 : 0;
    return layers == layersWorthKeeping;
}

} // namespace

CompositeStops::Place CompositeStops::placeFor(const CompositeProgram& program, std::size_t step) {
    std::vector<std::size_t> begins; // of the levels open there, as a plan counts them
    for (std::size_t i = 0; i < step; ++i) {
        if (std::holds_alternative<BeginStep>(program[i].value)) {
            if (begins.size() < BlendMath::maximumStackDepth) begins.push_back(i);
        } else if (std::holds_alternative<EndStep>(program[i].value) && !begins.empty()) {
            begins.pop_back();
        }
    }
    if (begins.empty()) return {step, 1};
    if (program[step].hasLayer() && begins.size() < mostLevels) return {step, begins.size() + 1};
    return {begins.front(), 1};
}

void CompositeStops::update(const CompositeProgram& program, const ProgramChanges& changes) {
    if (!changes.firstStep) return;
    if (changes.changesModes) drop(); // the modes of a program decide how exactly it is computed
    for (auto it = stops_.begin(); it != stops_.end();) {
        if (it->second.place.step <= *changes.firstStep) {
            ++it;
            continue;
        }
        recycle(it->second);
        it = stops_.erase(it);
    }
    hot_ = placeFor(program, *changes.firstStep);
}

void CompositeStops::drop() {
    for (auto& [coord, stop] : stops_)
        recycle(stop);
    stops_.clear();
    hot_ = {};
}

void CompositeStops::recycle(Stop& stop) {
    bufferCount_ -= stop.buffers.size();
    for (TileBuffer& buffer : stop.buffers)
        store_.recycleBuffer(std::move(buffer));
    stop.buffers.clear();
}

std::int64_t CompositeStops::bytes() const {
    return static_cast<std::int64_t>(bufferCount_ * bytesPerTile(TileFormat::rgba16Float));
}

void CompositeStops::begin(std::span<const TileCoord> changed, std::int64_t limitBytes) {
    ++use_;
    changed_ = {changed.begin(), changed.end()};
    limitBytes_ = limitBytes;
}

std::size_t CompositeStops::firstStep(const CompositeProgram& program, TileCoord coord) const {
    const auto found = stops_.find(coord);
    if (found == stops_.end()) return 0;
    const Place& place = found->second.place;
    // Groups without content are left out of a run, and their levels with them.
    if (place.levels > 1 && !touches(program[place.step], coord)) return 0;
    return place.step;
}

ProgramStop CompositeStops::reference(const Stop& stop) {
    ProgramStop reference{.step = static_cast<std::uint32_t>(stop.place.step), .buffers = {}};
    for (const TileBuffer& buffer : stop.buffers)
        reference.buffers.push_back(buffer.bytes());
    return reference;
}

bool CompositeStops::makeRoom(std::size_t buffers) {
    const auto most = static_cast<std::size_t>(
        limitBytes_ / static_cast<std::int64_t>(bytesPerTile(TileFormat::rgba16Float)));
    while (bufferCount_ + buffers > most) {
        const auto coldest = std::ranges::min_element(
            stops_, {}, [](const auto& item) { return item.second.lastUse; });
        if (coldest == stops_.end() || coldest->second.lastUse == use_) return false;
        recycle(coldest->second);
        stops_.erase(coldest);
    }
    return true;
}

void CompositeStops::attach(const CompositeProgram& program, CompositeJob& job) {
    const std::size_t first = firstStep(program, job.coord);
    if (first > 0) {
        Stop& stop = stops_.at(job.coord);
        stop.lastUse = use_;
        job.resumed = reference(stop);
    }
    if (!changed_.contains(job.coord) || hot_.step <= first) return;
    if (hot_.levels > 1 && !touches(program[hot_.step], job.coord)) return;
    if (!isWorthKeeping(program, first, hot_.step, job.coord)) return;
    const std::size_t buffers = buffersOfLevel * hot_.levels;
    if (!makeRoom(buffers)) return;
    Stop& stop = pending_[job.coord];
    stop = {hot_, {}, use_};
    for (std::size_t i = 0; i < buffers; ++i)
        stop.buffers.push_back(store_.acquireBuffer(TileFormat::rgba16Float));
    bufferCount_ += buffers;
    job.kept = reference(stop);
}

void CompositeStops::commit() {
    for (auto& [coord, stop] : pending_) {
        Stop& kept = stops_[coord];
        recycle(kept);
        kept = std::move(stop);
    }
    pending_.clear();
}

void CompositeStops::abandon() {
    for (auto& [coord, stop] : pending_)
        recycle(stop);
    pending_.clear();
}

void CompositeStops::dropUnused() {
    for (auto it = stops_.begin(); it != stops_.end();) {
        if (it->second.lastUse == use_) {
            ++it;
            continue;
        }
        recycle(it->second);
        it = stops_.erase(it);
    }
}

} // namespace ombrel
