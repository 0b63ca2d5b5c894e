// A picture as one block of memory: premultiplied linear halves, rows from top to bottom without
// padding. Owns its bytes; movable.
#pragma once

#include "Core/Geometry.h"
#include "Core/PremultipliedColor.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>

namespace ombrel {

class FlatImage {
public:
    /// Contents undefined. Nothing where there is not enough memory.
    static std::optional<FlatImage> allocate(PixelSize size);

    PixelSize size() const { return size_; }
    std::int64_t bytesPerRow() const { return size_.width * 8; }
    std::int64_t byteCount() const { return bytesPerRow() * size_.height; }
    std::span<std::byte> bytes() { return {bytes_.get(), static_cast<std::size_t>(byteCount())}; }
    std::span<const std::byte> bytes() const {
        return {bytes_.get(), static_cast<std::size_t>(byteCount())};
    }
    /// Within the picture.
    PremultipliedColor pixel(std::int64_t x, std::int64_t y) const;

private:
    struct Free {
        void operator()(std::byte* bytes) const;
    };

    FlatImage(PixelSize size, std::byte* bytes) : size_(size), bytes_(bytes) {}

    PixelSize size_;
    std::unique_ptr<std::byte[], Free> bytes_;
};

} // namespace ombrel
