#include "Engine/Flattener.h"

#include "Base/ParallelFor.h"
#include "Engine/CompositeRun.h"
#include "Engine/PictureRows.h"
#include "Engine/ProgramDiff.h"
#include "Engine/TileClassification.h"

#include <utility>

namespace ombrel {

namespace {

struct ClassifiedTile {
    TileCoord coord;
    TileClass what;
};

DocumentState bakedState(const DocumentState& state, EffectBaking* effects) {
    if (effects == nullptr) return state;
    return effects->baked(state).value_or(state);
}

bool isPerceptual(const DocumentState& state) {
    return !state.canvas.blendUsingGamma1;
}

TileRange canvasTiles(const DocumentState& state) {
    return PixelRect::ofSize(state.canvas.size).tileRange();
}

void write(const ClassifiedTile& tile, const PictureRows& rows) {
    if (const auto* color = std::get_if<PremultipliedColor>(&tile.what)) {
        rows.fillTile(tile.coord, *color);
    } else if (const auto* stored = std::get_if<Tile>(&tile.what)) {
        rows.copyTile(tile.coord, TilePin(*stored).bytes());
        stored->store().keepPace();
    } else {
        rows.fillTile(tile.coord, PremultipliedColor::transparent());
    }
}

/// Puts the composite of `coords` into the grid, whose other cells stay.
std::expected<void, EngineError> compositeInto(TileGrid& grid, std::span<const TileCoord> coords,
                                               const TileClassifier& classifier,
                                               const CompositeRun& run, TileStore& store,
                                               Progress* progress) {
    std::vector<TileCoord> work;
    for (const TileCoord coord : coords) {
        const TileClass what = classifier.classify(coord);
        if (const auto* color = std::get_if<PremultipliedColor>(&what)) {
            grid.set(coord, *color);
        } else if (const auto* tile = std::get_if<Tile>(&what)) {
            grid.set(coord, *tile);
        } else if (std::holds_alternative<EmptyTile>(what)) {
            grid.set(coord, std::nullopt);
        } else {
            work.push_back(coord);
        }
    }
    return run.run(work, progress, progress,
                   [&](std::span<const TileCoord> batch, std::span<TileBuffer> buffers) {
                       for (std::size_t i = 0; i < batch.size(); ++i)
                           grid.set(batch[i], store.makeTile(std::move(buffers[i])));
                   });
}

} // namespace

std::expected<void, EngineError>
Flattener::flattenRect(const CompositeProgram& program, bool perceptual, const PixelRect& rect,
                       std::span<std::byte> out, PixelDevice& device, TileStore& store,
                       const Progress* cancellation, Progress* report) {
    const TileClassifier classifier(program);
    const PictureRows rows(rect, out);
    std::vector<ClassifiedTile> ready;
    std::vector<TileCoord> work;
    for (const TileCoord coord : rect.tileRange()) {
        TileClass what = classifier.classify(coord);
        if (std::holds_alternative<NeedsComposite>(what)) {
            work.push_back(coord);
        } else {
            ready.push_back({coord, std::move(what)});
        }
    }
    parallelFor(ThreadPool::shared(), ready.size(), [&](std::size_t i) { write(ready[i], rows); });
    const CompositeRun run(program, perceptual, device, store);
    return run.run(work, cancellation, report,
                   [&](std::span<const TileCoord> batch, std::span<TileBuffer> buffers) {
                       parallelFor(ThreadPool::shared(), batch.size(), [&](std::size_t i) {
                           rows.copyTile(batch[i], buffers[i].bytes());
                       });
                   });
}

std::expected<FlatImage, EngineError> Flattener::flatten(const DocumentState& state,
                                                         PixelDevice& device, TileStore& store,
                                                         EffectBaking* effects,
                                                         Progress* progress) {
    const DocumentState baked = bakedState(state, effects);
    std::optional<FlatImage> image = FlatImage::allocate(baked.canvas.size);
    if (!image) return std::unexpected(EngineError{EngineError::Kind::outOfMemory, {}});
    const auto result =
        flattenRect(baked.compositeProgram(), isPerceptual(baked), PixelRect::ofSize(image->size()),
                    image->bytes(), device, store, progress, progress);
    if (!result) return std::unexpected(result.error());
    return std::move(*image);
}

std::expected<TileGrid, EngineError>
Flattener::compositeTiles(const CompositeProgram& program, bool perceptual, const TileRange& range,
                          PixelDevice& device, TileStore& store, Progress* progress) {
    const TileClassifier classifier(program);
    const CompositeRun run(program, perceptual, device, store);
    TileGrid grid(TileFormat::rgba16Float);
    // Where only the plain base lies the picture is its cells: a shared subtree, not a walk.
    const PixelLayer* base = classifier.plainBase();
    if (base != nullptr) grid = base->pixels.subgridOfTiles(range);
    const std::vector<TileCoord> coords = classifier.coveredTiles(range, base);
    const auto result = compositeInto(grid, coords, classifier, run, store, progress);
    if (!result) return std::unexpected(result.error());
    return grid;
}

std::expected<TileGrid, EngineError> Flattener::compositeGrid(const DocumentState& state,
                                                              PixelDevice& device, TileStore& store,
                                                              EffectBaking* effects,
                                                              Progress* progress) {
    const DocumentState baked = bakedState(state, effects);
    return compositeTiles(baked.compositeProgram(), isPerceptual(baked), canvasTiles(baked), device,
                          store, progress);
}

std::expected<Flattener::Composite, EngineError>
Flattener::composite(const DocumentState& state, const Composite* previous, PixelDevice& device,
                     TileStore& store, EffectBaking* effects, Progress* progress) {
    const DocumentState baked = bakedState(state, effects);
    Composite result{.program = baked.compositeProgram(),
                     .size = baked.canvas.size,
                     .perceptual = isPerceptual(baked)};
    std::optional<std::vector<TileCoord>> changed;
    if (previous != nullptr && previous->size == result.size &&
        previous->perceptual == result.perceptual)
        changed = changedTiles(previous->program, result.program, result.size);
    if (!changed) {
        auto grid = compositeTiles(result.program, result.perceptual, canvasTiles(baked), device,
                                   store, progress);
        if (!grid) return std::unexpected(grid.error());
        result.tiles = *std::move(grid);
        return result;
    }
    result.tiles = previous->tiles;
    const TileClassifier classifier(result.program);
    const CompositeRun run(result.program, result.perceptual, device, store);
    const auto done = compositeInto(result.tiles, *changed, classifier, run, store, progress);
    if (!done) return std::unexpected(done.error());
    return result;
}

} // namespace ombrel
