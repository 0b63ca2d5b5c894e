// Where the parts of a frame lie, in single floats that both presenters compute with: points of
// the board relative to a whole point near the middle of the view, so that they are exact where it
// matters, and neighbouring tiles share their borders to the last bit. Values; any thread.
#pragma once

#include "Core/ProfileConversion.h"
#include "Engine/Frame.h"

#include <array>
#include <optional>
#include <span>

namespace ombrel {

struct LocalRect {
    float left = 0;
    float top = 0;
    float right = 0;
    float bottom = 0;
};

/// Which texel a local point shows: (point - corner of the area) * factor + offset.
struct TilePlacement {
    LocalRect area;
    std::array<float, 2> factor{};
    std::array<float, 2> offset{};
    LocalRect limits; ///< of texel coordinates where texels are interpolated
};

/// Squares of a fixed size on the screen that move and turn with the canvas.
struct CheckPlacement {
    LocalRect area;
    std::array<float, 2> corner{}; ///< of some pair of squares
    float squaresPerUnit = 0;
};

/// Dots at every whole number of spacings from the phase.
struct DotGrid {
    std::array<float, 2> phase{};
    float spacing = 0;
    float alpha = 0;
};

struct DotPlacement {
    std::array<DotGrid, 2> grids; ///< the finest that is seen, and the next
    float radius = 0;             ///< screen pixels
    float light = 0;              ///< gray, linear
};

class FrameLayout {
public:
    static constexpr float lightSquare = 1.0f;   ///< linear
    static constexpr float darkSquare = 0.6038f; ///< linear

    explicit FrameLayout(const Frame& frame);

    int width() const { return width_; } ///< screen pixels
    int height() const { return height_; }
    float scale() const { return static_cast<float>(scale_); } ///< screen pixels a board unit
    /// Local x is along[0] * x + across[0] * y + start[0] of a pixel's middle, y likewise.
    const std::array<float, 2>& along() const { return along_; }
    const std::array<float, 2>& across() const { return across_; }
    const std::array<float, 2>& start() const { return start_; }
    /// Whether rows of the screen are rows of the board.
    bool isStraight() const { return along_[1] == 0 && across_[0] == 0; }
    /// The way back; its numbers only choose which pixels are looked at.
    const AffineTransform& toPixels() const { return toPixels_; }

    LocalRect areaOf(const FrameNode& node) const;
    TilePlacement placementOf(const FrameNode& node, const FrameTile& tile) const;
    CheckPlacement checksOf(const FrameNode& node) const;
    std::optional<DotPlacement> dotsOf(const Frame& frame) const;

private:
    LocalRect local(RealPoint origin, const RealRect& rect) const;

    int width_ = 0;
    int height_ = 0;
    double scale_ = 1;
    double contentsScale_ = 1;
    RealPoint middle_;
    std::array<float, 2> along_{};
    std::array<float, 2> across_{};
    std::array<float, 2> start_{};
    AffineTransform toPixels_;
};

} // namespace ombrel
