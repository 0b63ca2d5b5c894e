// A brush tip made ready for sampling at any size: its coverage and all halvings of it down to one
// pixel, each with a border of nothing around. Made once a stroke; immutable; any thread.
#pragma once

#include "Engine/BrushTipImage.h"

#include <cstdint>
#include <span>
#include <vector>

namespace ombrel {

class BrushTipPyramid {
public:
    /// Bytes of nothing on each side of a level.
    static constexpr std::int32_t border = 4;

    struct Level {
        std::int32_t width = 0;
        std::int32_t height = 0;
        std::int32_t pitch = 0;          ///< bytes from row to row, borders included
        std::vector<std::uint8_t> bytes; ///< pixel (x, y) at (y + border) * pitch + x + border
    };

    /// The sides are above 0, and there are as many bytes as they say.
    explicit BrushTipPyramid(const BrushTipImage& image);

    std::span<const Level> levels() const { return levels_; } ///< the largest first

private:
    std::vector<Level> levels_;
};

} // namespace ombrel
