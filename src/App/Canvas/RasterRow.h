// One row of a picture in the making: pixels of premultiplied linear light of the display, over
// which tiles, squares and dots are laid. What it computes, the shaders of OpenGLPresenter compute
// in the same order. Used by RasterPresenter; a row belongs to one thread.
#pragma once

#include "App/Canvas/DisplayColors.h"
#include "App/Canvas/FrameLayout.h"

#include <cstdint>
#include <span>

namespace ombrel {

/// Red, green, blue, alpha.
using Float4 = float __attribute__((vector_size(16)));

/// A conversion as a row uses it.
struct RasterConversion {
    explicit RasterConversion(const ProfileConversion& conversion);

    Float4 apply(Float4 color) const;

    bool isIdentity;
    std::array<Float4, 3> columns;
};

/// A tile with all that does not depend on the row.
struct RasterTile {
    TilePlacement placement;
    const std::byte* bytes = nullptr; ///< null for one colour
    Float4 color{};                   ///< converted
};

class RasterRow {
public:
    /// `y` of the row's pixels; the pixels stay the caller's.
    RasterRow(const FrameLayout& layout, int y, std::span<Float4> pixels);

    void fill(Float4 color);
    void addDots(const DotPlacement& dots);
    void addChecks(const CheckPlacement& checks);
    void addTile(const RasterTile& tile, const RasterConversion& conversion, bool isSmooth);
    void encode(const DisplayColors& colors, std::uint32_t* rgb) const;

private:
    struct Span {
        int first;
        int end;
    };

    float localX(int x) const {
        return layout_.along()[0] * (static_cast<float>(x) + 0.5f) + startX_;
    }
    float localY(int x) const {
        return layout_.along()[1] * (static_cast<float>(x) + 0.5f) + startY_;
    }
    bool isInside(const LocalRect& area, int x) const;
    /// The pixels whose middles lie in an area; they are always in one piece.
    Span spanOf(const LocalRect& area) const;
    float coverageOf(const DotGrid& grid, const DotPlacement& dots, int x) const;

    const FrameLayout& layout_;
    float startX_;
    float startY_;
    std::span<Float4> pixels_;
};

} // namespace ombrel
