#include "IO/Codecs/PngChunks.h"

#include "IO/Codecs/BufferedReader.h"

#include <array>
#include <string_view>
#include <vector>

namespace ombrel {

namespace {

constexpr std::uint64_t signatureLength = 8;
constexpr std::uint32_t largestExif = 1 << 20;

std::uint32_t bigEndian(std::span<const std::byte, 4> bytes) {
    std::uint32_t value = 0;
    for (const std::byte byte : bytes)
        value = (value << 8) | std::to_integer<std::uint32_t>(byte);
    return value;
}

std::vector<std::byte> readPayload(BufferedReader& reader, std::uint32_t length) {
    std::vector<std::byte> payload(length);
    payload.resize(reader.read(payload));
    return payload;
}

} // namespace

PngChunks scanPngChunks(ByteSource& source) {
    PngChunks chunks;
    BufferedReader reader(source);
    reader.seek(signatureLength);
    while (true) {
        std::array<std::byte, 8> head;
        if (reader.read(head) < head.size()) return chunks;
        const std::uint32_t length = bigEndian(std::span(head).first<4>());
        const std::string_view type(reinterpret_cast<const char*>(head.data()) + 4, 4);
        if (type == "IEND") return chunks;
        const std::uint64_t next = reader.position() + length + 4; // behind the checksum
        if (type == "IDAT") {
            chunks.imageDataBytes += length;
        } else if (type == "eXIf" && length <= largestExif) {
            chunks.exif = readExif(readPayload(reader, length));
        } else if (type == "cICP" && length == 4) {
            const std::vector<std::byte> payload = readPayload(reader, length);
            if (payload.size() == length) {
                chunks.codedColor = {std::to_integer<int>(payload[0]),
                                     std::to_integer<int>(payload[1])};
            }
        }
        reader.skip(next - reader.position());
    }
}

} // namespace ombrel
