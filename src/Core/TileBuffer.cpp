#include "Core/TileBuffer.h"

#include "Base/Check.h"

#include <cstdlib>

namespace ombrel {

TileBuffer TileBuffer::allocate(TileFormat format) {
    void* const block = std::aligned_alloc(4096, bytesPerTile(format));
    OMBREL_CHECK(block != nullptr, "there is memory for a tile");
    return {format, static_cast<std::byte*>(block)};
}

TileBuffer::~TileBuffer() {
    std::free(bytes_);
}

} // namespace ombrel
