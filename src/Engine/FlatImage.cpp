#include "Engine/FlatImage.h"

#include "Base/Check.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <sys/mman.h>

namespace ombrel {

namespace {

constexpr std::size_t hugePage = std::size_t{2} << 20;

} // namespace

std::optional<FlatImage> FlatImage::allocate(PixelSize size) {
    size = {std::max<std::int64_t>(size.width, 0), std::max<std::int64_t>(size.height, 0)};
    const std::int64_t most = std::numeric_limits<std::int64_t>::max() / 16;
    if (size.height > 0 && size.width > most / size.height) return std::nullopt;
    const auto count =
        static_cast<std::size_t>(std::max<std::int64_t>(size.width * size.height * 8, 1));
    if (count < hugePage)
        return FlatImage(size,
                         static_cast<std::byte*>(std::aligned_alloc(64, (count + 63) & ~63ull)));
    const std::size_t rounded = (count + hugePage - 1) / hugePage * hugePage;
    auto* bytes = static_cast<std::byte*>(std::aligned_alloc(hugePage, rounded));
    if (bytes == nullptr) return std::nullopt;
    // Large pages save most of the page faults of the first write. Refusal costs only time.
    static_cast<void>(::madvise(bytes, rounded, MADV_HUGEPAGE));
    return FlatImage(size, bytes);
}

void FlatImage::Free::operator()(std::byte* bytes) const {
    std::free(bytes);
}

PremultipliedColor FlatImage::pixel(std::int64_t x, std::int64_t y) const {
    OMBREL_CHECK(PixelRect::ofSize(size_).contains(x, y), "the pixel lies in the picture");
    std::array<Half, 4> halves;
    std::memcpy(halves.data(), bytes_.get() + y * bytesPerRow() + x * 8, sizeof halves);
    return {toFloat(halves[0]), toFloat(halves[1]), toFloat(halves[2]), toFloat(halves[3])};
}

} // namespace ombrel
