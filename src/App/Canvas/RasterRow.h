// One row of a picture in the making: pixels of premultiplied linear light of the display, over
// which tiles, squares and dots are laid. What it computes, the shaders of OpenGLPresenter compute
// in the same order. Used by RasterPresenter; a row belongs to one thread.
#pragma once

#include "App/Canvas/FrameLayout.h"
#include "App/Canvas/RasterColors.h"

#include <cstdint>
#include <span>

namespace ombrel {

/// Pixels of a row, or rows: from the first up to the end.
struct PixelSpan {
    int first = 0;
    int end = 0;

    bool contains(int at) const { return at >= first && at < end; }
    std::size_t count() const { return static_cast<std::size_t>(end - first); }
};

/// A tile with all that does not depend on the row.
struct RasterTile {
    TilePlacement placement;
    const std::byte* bytes = nullptr; ///< null for one colour
    Float4 color{};                   ///< converted
    PixelSpan rows = {};              ///< of the screen, that it may touch
};

class RasterRow {
public:
    /// `y` of the row's pixels; the pixels stay the caller's.
    RasterRow(const FrameLayout& layout, int y, std::span<Float4> pixels);

    void fill(PixelSpan span, Float4 color);
    void addDots(PixelSpan span, const DotPlacement& dots);
    void addChecks(const CheckPlacement& checks);
    void addTile(const RasterTile& tile, const RasterConversion& conversion, bool isSmooth);

private:
    float localX(int x) const {
        return layout_.along()[0] * (static_cast<float>(x) + 0.5f) + startX_;
    }
    float localY(int x) const {
        return layout_.along()[1] * (static_cast<float>(x) + 0.5f) + startY_;
    }
    bool isInside(const LocalRect& area, int x) const;
    /// The pixels whose middles lie in an area; they are always in one piece.
    PixelSpan spanOf(const LocalRect& area) const;
    /// How far a pixel's middle is from the nearest row of dots, in screen pixels.
    float farFromDots(const DotGrid& grid, int x) const;
    float coverageOf(const DotGrid& grid, const DotPlacement& dots, int x) const;

    const FrameLayout& layout_;
    float startX_;
    float startY_;
    std::span<Float4> pixels_;
};

} // namespace ombrel
