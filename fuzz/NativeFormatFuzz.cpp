#include "Core/TileStore.h"
#include "IO/Native/NativeFormat.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>

// Whatever the bytes are, reading them gives a document or one of the format's errors. A document
// that was read is written and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ombrel;
    static const auto store =
        TileStore::create({.residentBytes = 1 << 28, .compressedBytes = 1 << 28, .poolBytes = 0},
                          std::filesystem::temp_directory_path());
    const auto bytes = std::as_bytes(std::span(data, size));
    const auto board = NativeFormat::readBoard(bytes, *store);
    if (!board) return 0;
    const std::vector<std::byte> written = NativeFormat::write(*board);
    if (!NativeFormat::readBoard(written, *store)) std::abort();
    return 0;
}
