#include "IO/ImageLimits.h"

#include <unistd.h>

namespace ombrel {

std::expected<void, ImageIOError> checkImageSize(PixelSize size) {
    const auto fits = [](std::int64_t side) { return side >= 1 && side <= largestImageSide; };
    if (!fits(size.width) || !fits(size.height)) {
        return std::unexpected(ImageIOError::imageTooLarge(size));
    }
    return {};
}

std::uint64_t largestFrameBytes() {
    static const std::uint64_t limit = [] {
        const long pages = ::sysconf(_SC_PHYS_PAGES);
        const long pageSize = ::sysconf(_SC_PAGESIZE);
        if (pages <= 0 || pageSize <= 0) return std::uint64_t{1} << 31;
        return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize) / 2;
    }();
    return limit;
}

RawBytes allocateFrame(std::uint64_t byteCount) {
    if (byteCount > largestFrameBytes()) return nullptr;
    const std::size_t size = byteCount == 0 ? 1 : static_cast<std::size_t>(byteCount);
    return RawBytes(static_cast<std::byte*>(std::malloc(size)));
}

} // namespace ombrel
