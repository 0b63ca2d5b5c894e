#include "IO/ByteSink.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace ombrel {

bool MemorySink::writeAt(std::uint64_t offset, std::span<const std::byte> bytes) {
    if (bytes.empty()) return true;
    const std::uint64_t end = offset + bytes.size();
    if (end > bytes_.size()) {
        try {
            if (end > bytes_.capacity()) {
                bytes_.reserve(
                    std::max<std::size_t>(end, bytes_.capacity() + bytes_.capacity() / 2));
            }
            bytes_.resize(end);
        } catch (const std::bad_alloc&) {
            return false;
        }
    }
    std::memcpy(bytes_.data() + offset, bytes.data(), bytes.size());
    return true;
}

std::size_t MemorySink::readAt(std::uint64_t offset, std::span<std::byte> out) {
    if (offset >= bytes_.size()) return 0;
    const std::size_t count = std::min<std::size_t>(out.size(), bytes_.size() - offset);
    std::memcpy(out.data(), bytes_.data() + offset, count);
    return count;
}

} // namespace ombrel
