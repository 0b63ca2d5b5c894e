#include "Engine/ToneSurvey.h"

#include "Core/TileStore.h"
#include "Engine/Flattener.h"
#include "Engine/Kernels/CountTones.h"

#include <algorithm>
#include <limits>

namespace ombrel {

namespace {

constexpr std::int64_t mostSamples = 1 << 20;
constexpr int coarsestLevel = 6;        ///< as for previews
constexpr std::int64_t tilesAtOnce = 8; ///< composited between two looks at the time

/// How much of a tile lies on the canvas.
PixelSize partOf(TileCoord coord, PixelSize canvas) {
    return {std::min(tileSize, canvas.width - coord.x * tileSize),
            std::min(tileSize, canvas.height - coord.y * tileSize)};
}

} // namespace

ToneSurvey::Subject ToneSurvey::merged(const DocumentState& state) {
    return {state.compositeProgram(), state.canvas};
}

ToneSurvey::Subject ToneSurvey::layer(const PixelLayer& layer, const Canvas& canvas) {
    PixelLayer plain;
    plain.id = layer.id;
    plain.pixels = layer.pixels;
    plain.offset = layer.offset;
    return {{CompositeStep{LayerStep{plain}}}, canvas};
}

void ToneSurvey::begin(Subject subject, Detail detail) {
    subject_ = std::move(subject);
    detail_ = detail;
    counts_ = {};
    nextTile_ = 0;
    weights_ = luminanceWeightsOf(subject_.canvas.profile);
    if (detail == Detail::everyPixel) return;
    const PixelSize size = subject_.canvas.size;
    int level = 0;
    while (level < coarsestLevel && (size.width >> level) * (size.height >> level) > mostSamples)
        ++level;
    samples_.update(subject_.program, size, !subject_.canvas.blendUsingGamma1, level);
}

std::int64_t ToneSurvey::pixelsOfSample() const {
    return detail_ == Detail::everyPixel ? 1 : std::int64_t{1} << (2 * samples_.level());
}

std::expected<bool, EngineError> ToneSurvey::advance(Clock::duration time) {
    if (subject_.canvas.size.isEmpty()) return true;
    const Clock::time_point deadline = Clock::now() + time;
    return detail_ == Detail::samples ? advanceSamples(deadline) : advancePixels(deadline);
}

std::expected<bool, EngineError> ToneSurvey::advanceSamples(Clock::time_point deadline) {
    const PyramidGeometry& geometry = samples_.geometry();
    const TileRange range = geometry.tiles(0);
    const auto taken = samples_.refresh(std::vector<TileCoord>(range.begin(), range.end()),
                                        deadline, std::numeric_limits<std::int64_t>::max());
    if (!taken || !*taken) return taken;
    for (const TileCoord coord : range) {
        const CompositeCache::Content* content = samples_.content(coord);
        const PixelSize within = partOf(coord, geometry.canvas());
        if (content == nullptr || std::holds_alternative<EmptyTile>(*content)) {
            count(PremultipliedColor{}, within);
        } else if (const auto* color = std::get_if<PremultipliedColor>(content)) {
            count(*color, within);
        } else if (const auto* tile = std::get_if<Tile>(content)) {
            count(TilePin(*tile).bytes(), within);
        } else {
            count(std::get<CompositeCache::Owned>(*content)->bytes(), within);
        }
    }
    return true;
}

std::expected<bool, EngineError> ToneSurvey::advancePixels(Clock::time_point deadline) {
    const PixelSize size = subject_.canvas.size;
    const std::int64_t columns = (size.width + tileSize - 1) / tileSize;
    const std::int64_t tiles = columns * ((size.height + tileSize - 1) / tileSize);
    while (nextTile_ < tiles) {
        const std::int64_t x = nextTile_ % columns;
        const std::int64_t y = nextTile_ / columns;
        const TileRange range{x, y, std::min(x + tilesAtOnce, columns) - 1, y};
        const auto grid = Flattener::compositeTiles(
            subject_.program, !subject_.canvas.blendUsingGamma1, range, device_, store_);
        if (!grid) return std::unexpected(grid.error());
        for (const TileCoord coord : range) {
            const TileCell cell = grid->cell(coord);
            const PixelSize within = partOf(coord, size);
            if (cell.isPixels()) {
                count(TilePin(cell.tile()).bytes(), within);
            } else {
                count(cell.isSolid() ? cell.color() : PremultipliedColor{}, within);
            }
        }
        nextTile_ += range.maxX - range.minX + 1;
        if (Clock::now() >= deadline) break;
    }
    return nextTile_ >= tiles;
}

void ToneSurvey::count(const std::byte* bytes, PixelSize within) {
    const auto* halves = reinterpret_cast<const std::uint16_t*>(bytes);
    for (std::int64_t y = 0; y < within.height; ++y)
        Kernels::countTones(halves + y * tileSize * 4, static_cast<std::size_t>(within.width),
                            nullptr, weights_, counts_);
}

void ToneSurvey::count(const PremultipliedColor& color, PixelSize within) {
    std::array<std::uint16_t, 4> halves{};
    std::ranges::transform(color.halves(), halves.begin(), [](Half half) { return half.bits; });
    Kernels::countTones(halves.data(), 1, nullptr, weights_, counts_,
                        static_cast<std::uint64_t>(within.width * within.height));
}

} // namespace ombrel
