// Draws the built-in tips: value noise over a lattice of 64 seeded values, cut by thresholds and a
// radial falloff. Pure functions, the same on every run; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace ombrel::BuiltInTips {

/// Of a tip by its place among the built-in ones: side times side bytes, row by row. The outermost
/// pixels are empty.
std::vector<std::uint8_t> coverage(std::size_t tip, std::int64_t side);

} // namespace ombrel::BuiltInTips
