#include "Core/TileStore.h"
#include "IO/Native/NativeFormat.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <optional>

using namespace ombrel;

namespace {

constexpr std::size_t headerSize = 24;
constexpr std::size_t lengthOffset = 16;

/// The size of the JSON object at the start; zero where it has no end.
std::size_t objectSize(std::span<const std::byte> bytes) {
    int depth = 0;
    bool isText = false;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const char c = static_cast<char>(bytes[i]);
        if (isText) {
            if (c == '\\') ++i;
            if (c == '"') isText = false;
        } else if (c == '"') {
            isText = true;
        } else if (c == '{') {
            ++depth;
        } else if (c == '}' && --depth <= 0) {
            return depth == 0 ? i + 1 : 0;
        }
    }
    return 0;
}

/// The file with the size of its manifest in the header: most changes to a manifest change its
/// size, and would end at that number otherwise.
std::optional<std::vector<std::byte>> mended(std::span<const std::byte> file) {
    if (file.size() < headerSize) return std::nullopt;
    const std::size_t size = objectSize(file.subspan(headerSize));
    std::vector<std::byte> result(file.begin(), file.end());
    for (std::size_t i = 0; i < 8; ++i)
        result[lengthOffset + i] = static_cast<std::byte>(std::uint64_t{size} >> (8 * i));
    if (size == 0 || std::equal(result.begin(), result.end(), file.begin())) return std::nullopt;
    return result;
}

void readAndWrite(std::span<const std::byte> file, TileStore& store) {
    const auto board = NativeFormat::readBoard(file, store);
    if (!board) return;
    const std::vector<std::byte> written = NativeFormat::write(*board);
    if (!NativeFormat::readBoard(written, store)) std::abort();
}

} // namespace

// Whatever the bytes are, reading them gives a document or one of the format's errors. A document
// that was read is written and read again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const auto store =
        TileStore::create({.residentBytes = 1 << 28, .compressedBytes = 1 << 28, .poolBytes = 0},
                          std::filesystem::temp_directory_path());
    const auto file = std::as_bytes(std::span(data, size));
    readAndWrite(file, *store);
    if (const auto other = mended(file)) readAndWrite(*other, *store);
    return 0;
}
