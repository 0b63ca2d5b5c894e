#include "Engine/StrokeRenderer.h"

#include "Base/Check.h"
#include "Base/Log.h"
#include "Core/MaskTiles.h"
#include "Core/TileStore.h"
#include "Engine/BrushTipPyramid.h"
#include "Engine/CompositeJob.h"
#include "Engine/DabBuckets.h"
#include "Engine/Kernels/DabShape.h"
#include "Engine/PixelDevice.h"
#include "Engine/ResourceTracker.h"
#include "Engine/StrokeMasks.h"
#include "Engine/StrokeParams.h"

#include <algorithm>

namespace ombrel {

struct StrokeRenderer::State {
    State(PixelDevice& pixelDevice, TileStore& tileStore, Target strokeTarget,
          StrokeStyle strokeStyle)
        : device(pixelDevice), store(tileStore), target(std::move(strokeTarget)),
          style(std::move(strokeStyle)), masks(tileStore) {}

    const BrushTipPyramid* tip();
    double reachOfDabs() const;
    GPUTileRef originalOf(const TileCell& cell, ResourceTracker& tracker) const;
    void setSelection(GPUBrushApplyTile& record, TileCoord coord, ResourceTracker& tracker) const;
    GPUBrushApplyTile applyRecord(TileCoord coord, std::byte* output,
                                  ResourceTracker& tracker) const;
    std::vector<GPUTileRef> neighbourhood(const TileRange& window, ResourceTracker& tracker) const;

    PixelDevice& device;
    TileStore& store;
    const Target target;
    const StrokeStyle style;
    StrokeMasks masks;
    std::optional<BrushTipPyramid> tipPyramid;
    std::map<TileCoord, Tile> outputs; ///< the last ones, for their pixels that stay
};

const BrushTipPyramid* StrokeRenderer::State::tip() {
    if (style.tip == nullptr) return nullptr;
    if (!tipPyramid) tipPyramid.emplace(*style.tip);
    return &*tipPyramid;
}

double StrokeRenderer::State::reachOfDabs() const {
    if (style.tip == nullptr) return 1;
    return static_cast<double>(Kernels::reachOfTip(static_cast<float>(style.tip->width),
                                                   static_cast<float>(style.tip->height)));
}

/// What a kernel reads in place of a cell of the original. A value of a mask stands for an opaque
/// grey.
GPUTileRef StrokeRenderer::State::originalOf(const TileCell& cell, ResourceTracker& tracker) const {
    if (cell.isPixels()) return tileRefOf(tracker.pin(cell.tile()));
    const PremultipliedColor color = cell.isSolid() ? cell.color() : PremultipliedColor{};
    if (target.original.format() == TileFormat::rgba16Float) return tileRefOf(color);
    return tileRefOf(MaskTiles::greyOf(MaskTiles::valueOfSolid(color, target.absentValue)));
}

void StrokeRenderer::State::setSelection(GPUBrushApplyTile& record, TileCoord coord,
                                         ResourceTracker& tracker) const {
    if (!target.selection) return;
    const TileCell cell = target.selection->cell(coord);
    record.selectionSolid = cell.isSolid() ? std::clamp(cell.color().alpha, 0.0f, 1.0f) : 0.0f;
    if (cell.isPixels())
        record.selection = reinterpret_cast<std::uintptr_t>(tracker.pin(cell.tile()));
}

GPUBrushApplyTile StrokeRenderer::State::applyRecord(TileCoord coord, std::byte* output,
                                                     ResourceTracker& tracker) const {
    const GPUTileRef original = originalOf(target.original.cell(coord), tracker);
    GPUBrushApplyTile record{.source = original.pixels,
                             .solid = original.solid,
                             .output = reinterpret_cast<std::uintptr_t>(output),
                             .originX = static_cast<std::int32_t>(coord.x * tileSize),
                             .originY = static_cast<std::int32_t>(coord.y * tileSize)};
    setSelection(record, coord, tracker);
    return record;
}

std::vector<GPUTileRef> StrokeRenderer::State::neighbourhood(const TileRange& window,
                                                             ResourceTracker& tracker) const {
    std::vector<GPUTileRef> refs;
    refs.reserve(static_cast<std::size_t>(window.count()));
    for (const TileCoord coord : window) {
        if (!style.clone) {
            refs.push_back(originalOf(target.original.cell(coord), tracker));
            continue;
        }
        const TileCell cell = style.clone->pixels.cell(coord);
        GPUTileRef ref;
        if (cell.isSolid()) ref = tileRefOf(cell.color());
        if (cell.isPixels()) ref = tileRefOf(tracker.pin(cell.tile()));
        refs.push_back(ref);
    }
    return refs;
}

StrokeRenderer::StrokeRenderer(PixelDevice& device, TileStore& store, Target target,
                               StrokeStyle style)
    : state_(std::make_unique<State>(device, store, std::move(target), std::move(style))) {}

StrokeRenderer::~StrokeRenderer() = default;

namespace {

/// The outputs of a batch on their way into tiles; after an error they go back to the store.
class Outputs {
public:
    Outputs(TileStore& store, TileFormat format) : store_(store), format_(format) {}
    ~Outputs() {
        for (TileBuffer& buffer : buffers_)
            store_.recycleBuffer(std::move(buffer));
    }
    Outputs(const Outputs&) = delete;
    Outputs& operator=(const Outputs&) = delete;

    std::byte* add() {
        buffers_.push_back(store_.acquireBuffer(format_));
        return buffers_.back().bytes();
    }
    /// In the order in which they were added.
    std::vector<Tile> makeTiles() {
        std::vector<Tile> tiles;
        tiles.reserve(buffers_.size());
        for (TileBuffer& buffer : buffers_)
            tiles.push_back(store_.makeTile(std::move(buffer)));
        buffers_.clear();
        return tiles;
    }

private:
    TileStore& store_;
    TileFormat format_;
    std::vector<TileBuffer> buffers_;
};

} // namespace

std::expected<StrokeTiles, EngineError> StrokeRenderer::render(std::span<const BrushDab> dabs) {
    const TimingInterval interval("StrokeSegment");
    State& state = *state_;
    const DabBuckets buckets = bucketsOf(dabs, state.target.bounds, state.reachOfDabs());
    if (buckets.empty()) return StrokeTiles{};

    std::vector<GPUDab> records;
    std::vector<GPUBrushTile> tiles;
    std::vector<GPUBrushApplyTile> applyTiles;
    std::vector<std::uint8_t> isFresh;
    std::vector<const std::byte*> previous;
    ResourceTracker tracker;
    const TileFormat format = state.target.original.format();
    Outputs outputs(state.store, format);
    for (const auto& [coord, dabsOfTile] : buckets) {
        GPUBrushApplyTile applied = state.applyRecord(coord, outputs.add(), tracker);
        const StrokeMasks::Mask mask = state.masks.at(coord);
        applied.mask = reinterpret_cast<std::uintptr_t>(mask.values);
        isFresh.push_back(mask.isFresh ? 1 : 0);
        applyTiles.push_back(applied);
        const auto last = state.outputs.find(coord);
        previous.push_back(last != state.outputs.end() ? tracker.pin(last->second) : nullptr);
        tiles.push_back({.mask = applied.mask,
                         .origin = {applied.originX, applied.originY},
                         .dabStart = static_cast<std::uint32_t>(records.size()),
                         .dabCount = static_cast<std::uint32_t>(dabsOfTile.size())});
        records.insert(records.end(), dabsOfTile.begin(), dabsOfTile.end());
    }
    const TileRange window = neighbourhoodWindow(buckets, state.style);
    const std::vector<GPUTileRef> neighbourhood = state.neighbourhood(window, tracker);
    const BrushBatch batch{
        .params = brushPassParams(state.target, state.style, tiles.size(), window),
        .format = format,
        .tiles = tiles,
        .isFresh = isFresh,
        .dabs = records,
        .applyTiles = applyTiles,
        .previous = previous,
        .neighbourhood = neighbourhood,
        .neighbourFormat = state.style.clone ? state.style.clone->pixels.format() : format,
        .tip = state.tip()};
    if (const auto done = state.device.paint(batch); !done) {
        state.outputs.clear(); // the masks may be ahead of them
        for (auto fresh = isFresh.begin(); const auto& [coord, dabsOfTile] : buckets)
            if (*fresh++ != 0) state.masks.zero(coord);
        return std::unexpected(done.error());
    }
    StrokeTiles result;
    const std::vector<Tile> made = outputs.makeTiles();
    for (auto tile = made.begin(); const auto& [coord, dabsOfTile] : buckets) {
        result.emplace_hint(result.end(), coord, *tile);
        state.outputs.insert_or_assign(coord, *tile++);
    }
    return result;
}

std::optional<StrokeCoverage> StrokeRenderer::coverage() const {
    return state_->masks.coverage(state_->target.bounds);
}

} // namespace ombrel
