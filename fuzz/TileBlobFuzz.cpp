// Any bytes as the stored form of a tile: they decode to a whole tile or are told to be damaged.
// The first byte chooses the format. What decodes must come back the same after another round.
#include "Core/TileCompression.h"

#include <cstdint>
#include <cstdlib>

using namespace ombrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const TileFormat format = (data[0] & 1) != 0 ? TileFormat::rgba16Float : TileFormat::r8;
    // libFuzzer's block has the exact size, so the address sanitizer sees reads beyond the blob.
    const std::span<const std::byte> blob(reinterpret_cast<const std::byte*>(data) + 1, size - 1);
    static std::vector<std::byte> bytes;
    bytes.assign(bytesPerTile(format), std::byte{0xA5});
    if (!TileCompression::decode(blob, bytes, format)) return 0;
    std::vector<std::byte> again(bytes.size());
    TileCompression::decodeUnchecked(TileCompression::encode(bytes, format), again, format);
    if (again != bytes) std::abort();
    return 0;
}
