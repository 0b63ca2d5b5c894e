// From a viewport to numbers: where board points lie on the screen, what of the board is seen.
#pragma once

#include "Engine/BoardScene.h"

#include <array>
#include <cstdint>

namespace ombrel {

/// Screen pixels a canvas pixel.
double screenScale(const Viewport& viewport);
RealSize screenSize(const Viewport& viewport);
AffineTransform boardToScreen(const Viewport& viewport);
/// The smallest upright rectangle of the board around what is seen, however the view is turned.
RealRect visibleRect(const Viewport& viewport);
/// 0xRRGGBB, encoded as sRGB, to linear light.
std::array<float, 3> linearColor(std::uint32_t rgb);

} // namespace ombrel
