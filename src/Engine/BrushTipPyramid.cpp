#include "Engine/BrushTipPyramid.h"

#include "Base/Check.h"
#include "Engine/ReducedCoverage.h"

#include <algorithm>

namespace ombrel {

namespace {

using Level = BrushTipPyramid::Level;

std::ptrdiff_t placeIn(const Level& level, std::int32_t x, std::int32_t y) {
    return std::ptrdiff_t{y + BrushTipPyramid::border} * level.pitch + x + BrushTipPyramid::border;
}

/// With its borders around.
Level levelOf(const std::vector<std::uint8_t>& bytes, std::int64_t width, std::int64_t height) {
    constexpr std::int32_t border = BrushTipPyramid::border;
    Level level{.width = static_cast<std::int32_t>(width),
                .height = static_cast<std::int32_t>(height),
                .pitch = static_cast<std::int32_t>(width) + 2 * border,
                .bytes = {}};
    // Kernels read four bytes at once.
    level.bytes.resize(
        static_cast<std::size_t>(level.pitch) * static_cast<std::size_t>(height + 2 * border) + 4);
    for (std::int32_t y = 0; y < level.height; ++y)
        std::copy_n(bytes.begin() + y * width, width, level.bytes.begin() + placeIn(level, 0, y));
    return level;
}

Level halved(const Level& from) {
    const PixelSize size{std::max(from.width / 2, 1), std::max(from.height / 2, 1)};
    const CoverageView view{
        from.bytes.data() + placeIn(from, 0, 0), {from.width, from.height}, from.pitch};
    return levelOf(reducedCoverage(view, size), size.width, size.height);
}

} // namespace

BrushTipPyramid::BrushTipPyramid(const BrushTipImage& image) {
    OMBREL_CHECK(image.width > 0 && image.height > 0 &&
                     static_cast<std::int64_t>(image.bytes.size()) == image.width * image.height,
                 "a brush tip has a byte for each of its pixels");
    levels_.push_back(levelOf(image.bytes, image.width, image.height));
    while (levels_.back().width > 1 || levels_.back().height > 1)
        levels_.push_back(halved(levels_.back()));
}

} // namespace ombrel
