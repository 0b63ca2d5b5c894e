// How large an image may be, and how much memory a decoder may take for one: what stands between a
// file that claims to be huge and the machine.
#pragma once

#include "Core/Canvas.h"
#include "IO/ImageIOError.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <expected>
#include <memory>

namespace ombrel {

inline constexpr std::int64_t largestImageSide = largestCanvasSide;

/// imageTooLarge unless both sides are 1 to largestImageSide.
std::expected<void, ImageIOError> checkImageSize(PixelSize size);

/// What a decoder that must hold a whole frame may allocate for it: half of the physical memory.
std::uint64_t largestFrameBytes();

struct FreeMemory {
    void operator()(std::byte* bytes) const { std::free(bytes); }
};
/// Bytes of undefined content. Pages count against the machine only once they are written to, so a
/// frame costs what a file really fills of it.
using RawBytes = std::unique_ptr<std::byte[], FreeMemory>;

/// Null beyond largestFrameBytes() or without memory.
RawBytes allocateFrame(std::uint64_t byteCount);

} // namespace ombrel
