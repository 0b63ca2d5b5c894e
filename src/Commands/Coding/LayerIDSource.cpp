#include "Commands/Coding/LayerIDSource.h"

namespace ombrel {

LayerID LayerIDSource::next() {
    LayerID id;
    for (std::size_t half = 0; half < 2; ++half) {
        const std::uint64_t word = nextWord();
        for (std::size_t i = 0; i < 8; ++i)
            id.rawValue.bytes[8 * half + i] = static_cast<std::uint8_t>(word >> (8 * i));
    }
    auto& bytes = id.rawValue.bytes;
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40); // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80); // RFC 9562 variant
    return id;
}

std::uint64_t LayerIDSource::nextWord() {
    state_ += 0x9E3779B97F4A7C15ull;
    std::uint64_t z = state_;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
}

} // namespace ombrel
