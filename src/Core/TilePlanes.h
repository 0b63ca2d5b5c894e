// The byte shuffle of the stored form of tiles. Splitting sorts 16-bit values into all low bytes,
// then all high bytes; joining undoes it. Runs at the speed of memory. Any thread.
#pragma once

#include <cstddef>
#include <span>

namespace ombrel::TilePlanes {

/// `planes` is as long as `values`; both hold a multiple of 32 bytes and do not overlap.
void split(std::span<const std::byte> values, std::span<std::byte> planes);
void join(std::span<const std::byte> planes, std::span<std::byte> values);

} // namespace ombrel::TilePlanes
