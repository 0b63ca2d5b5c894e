#include "Engine/BrushTipPyramid.h"

#include "Base/Check.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

using Level = BrushTipPyramid::Level;

Level blankLevel(std::int32_t width, std::int32_t height) {
    constexpr std::int32_t border = BrushTipPyramid::border;
    Level level{.width = width, .height = height, .pitch = width + 2 * border, .bytes = {}};
    // Kernels read four bytes at once.
    level.bytes.resize(
        static_cast<std::size_t>(level.pitch) * static_cast<std::size_t>(height + 2 * border) + 4);
    return level;
}

std::size_t placeIn(const Level& level, std::int32_t x, std::int32_t y) {
    return static_cast<std::size_t>(y + BrushTipPyramid::border) *
               static_cast<std::size_t>(level.pitch) +
           static_cast<std::size_t>(x + BrushTipPyramid::border);
}

/// Calls use(index, weight) for what a pixel of a halved axis covers; the weights add up to 1.
template <typename Use>
void forCovered(std::int32_t i, std::int32_t from, std::int32_t to, Use use) {
    if (from == 2 * to) {
        use(2 * i, 0.5f);
        use(2 * i + 1, 0.5f);
        return;
    }
    const double ratio = static_cast<double>(from) / to;
    const double begin = i * ratio;
    const double end = (i + 1) * ratio;
    const auto first = static_cast<std::int32_t>(begin);
    const auto last = std::min(static_cast<std::int32_t>(std::ceil(end)), from);
    for (std::int32_t k = first; k < last; ++k) {
        const double covered = std::min<double>(k + 1, end) - std::max<double>(k, begin);
        if (covered > 0) use(k, static_cast<float>(covered / ratio));
    }
}

Level halved(const Level& from) {
    Level to = blankLevel(std::max(from.width / 2, 1), std::max(from.height / 2, 1));
    std::vector<float> line(static_cast<std::size_t>(from.width));
    for (std::int32_t y = 0; y < to.height; ++y) {
        std::ranges::fill(line, 0.0f);
        forCovered(y, from.height, to.height, [&](std::int32_t row, float weight) {
            const std::uint8_t* bytes = from.bytes.data() + placeIn(from, 0, row);
            for (std::size_t k = 0; k < line.size(); ++k)
                line[k] += weight * static_cast<float>(bytes[k]);
        });
        for (std::int32_t x = 0; x < to.width; ++x) {
            float sum = 0.5f; // for rounding
            forCovered(x, from.width, to.width, [&](std::int32_t column, float weight) {
                sum += weight * line[static_cast<std::size_t>(column)];
            });
            to.bytes[placeIn(to, x, y)] = static_cast<std::uint8_t>(std::min(sum, 255.0f));
        }
    }
    return to;
}

} // namespace

BrushTipPyramid::BrushTipPyramid(const BrushTipImage& image) {
    OMBREL_CHECK(image.width > 0 && image.height > 0 &&
                     static_cast<std::int64_t>(image.bytes.size()) == image.width * image.height,
                 "a brush tip has a byte for each of its pixels");
    Level level =
        blankLevel(static_cast<std::int32_t>(image.width), static_cast<std::int32_t>(image.height));
    for (std::int32_t y = 0; y < level.height; ++y) {
        std::copy_n(image.bytes.begin() + y * image.width, image.width,
                    level.bytes.begin() + static_cast<std::ptrdiff_t>(placeIn(level, 0, y)));
    }
    levels_.push_back(std::move(level));
    while (levels_.back().width > 1 || levels_.back().height > 1)
        levels_.push_back(halved(levels_.back()));
}

} // namespace ombrel
