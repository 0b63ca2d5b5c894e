// A brush tip as a file: binary PGM with 8 bits, white where it paints most. Nothing in a file is
// trusted. Pure functions; any thread.
#pragma once

#include "Engine/BrushTipImage.h"

#include <optional>
#include <string>
#include <string_view>

namespace ombrel::BrushTipFile {

inline constexpr std::size_t largest = 4 << 20; ///< bytes

std::string textOf(const BrushTipImage& tip);
/// Nothing for what is damaged, has other than 8 bits or more than 2048 pixels a side.
std::optional<BrushTipImage> parse(std::string_view text, const Uuid& id);

} // namespace ombrel::BrushTipFile
