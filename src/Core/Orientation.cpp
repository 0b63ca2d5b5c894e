#include "Core/Orientation.h"

#include <algorithm>
#include <array>

namespace ombrel {

namespace {

constexpr std::int64_t patch = 8; ///< of both block and tile: 8 cache lines each

/// What stored rows and columns step by in the upright tile, and where they begin.
struct Walk {
    std::int64_t origin;
    std::int64_t column;
    std::int64_t row;
};

Walk walkOf(Orientation orientation, std::int64_t width, std::int64_t height) {
    const std::int64_t columnStep = orientation.isTransposed ? tileSize : 1;
    const std::int64_t rowStep = orientation.isTransposed ? 1 : tileSize;
    Walk walk{0, columnStep, rowStep};
    if (orientation.reversesColumns()) {
        walk.origin += (width - 1) * columnStep;
        walk.column = -columnStep;
    }
    if (orientation.reversesRows()) {
        walk.origin += (height - 1) * rowStep;
        walk.row = -rowStep;
    }
    return walk;
}

} // namespace

Orientation Orientation::ofCode(int code) {
    static constexpr std::array<Orientation, 8> codes{{
        {false, false, false},
        {false, true, false},
        {false, true, true},
        {false, false, true},
        {true, false, false},
        {true, true, false},
        {true, true, true},
        {true, false, true},
    }};
    return code >= 1 && code <= 8 ? codes[static_cast<std::size_t>(code - 1)] : Orientation{};
}

void orientBlock(std::span<const PackedPixel> stored, std::int64_t width, std::int64_t height,
                 Orientation orientation, std::span<PackedPixel> out) {
    const Walk walk = walkOf(orientation, width, height);
    for (std::int64_t top = 0; top < height; top += patch) {
        const std::int64_t bottom = std::min(top + patch, height);
        for (std::int64_t left = 0; left < width; left += patch) {
            const std::int64_t right = std::min(left + patch, width);
            for (std::int64_t y = top; y < bottom; ++y) {
                for (std::int64_t x = left; x < right; ++x) {
                    out[static_cast<std::size_t>(walk.origin + x * walk.column + y * walk.row)] =
                        stored[static_cast<std::size_t>(y * tileSize + x)];
                }
            }
        }
    }
}

} // namespace ombrel
