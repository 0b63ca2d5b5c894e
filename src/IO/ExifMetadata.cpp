#include "IO/ExifMetadata.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace ombrel {

namespace {

constexpr std::size_t entryLength = 12;

enum Tag : std::uint16_t { orientationTag = 0x0112, xResolutionTag = 0x011A, unitTag = 0x0128 };
enum Type : std::uint16_t { shortType = 3, longType = 4, rationalType = 5 };

/// Reads integers in the block's byte order; beyond its end they are 0.
class Reader {
public:
    Reader(std::span<const std::byte> bytes, bool isBigEndian)
        : bytes_(bytes), isBigEndian_(isBigEndian) {}

    std::uint32_t unsignedAt(std::uint64_t offset, std::size_t length) const {
        if (offset > bytes_.size() || bytes_.size() - offset < length) return 0;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < length; ++i) {
            const std::size_t index = isBigEndian_ ? i : length - 1 - i;
            value = (value << 8) | std::to_integer<std::uint32_t>(bytes_[offset + index]);
        }
        return value;
    }
    std::uint16_t shortAt(std::uint64_t offset) const {
        return static_cast<std::uint16_t>(unsignedAt(offset, 2));
    }
    std::uint32_t longAt(std::uint64_t offset) const { return unsignedAt(offset, 4); }

private:
    std::span<const std::byte> bytes_;
    bool isBigEndian_;
};

bool beginsWith(std::span<const std::byte> bytes, std::span<const char> text) {
    return bytes.size() >= text.size() &&
           std::equal(text.begin(), text.end(), bytes.begin(), [](char character, std::byte byte) {
               return static_cast<std::byte>(character) == byte;
           });
}

std::uint32_t integerOf(const Reader& reader, std::uint64_t entry) {
    return reader.shortAt(entry + 2) == longType ? reader.longAt(entry + 8)
                                                 : reader.shortAt(entry + 8);
}

} // namespace

std::optional<double> resolutionPerInch(double value, int unit) {
    const double perInch = unit == 2 ? value : unit == 3 ? value * 2.54 : 0;
    if (!std::isfinite(perInch) || perInch <= 0 || perInch > 1e6) return std::nullopt;
    return perInch;
}

ExifMetadata readExif(std::span<const std::byte> block) {
    static constexpr std::array<char, 6> prefix{'E', 'x', 'i', 'f', 0, 0};
    static constexpr std::array<char, 4> bigEndianMark{'M', 'M', 0, 42};
    static constexpr std::array<char, 4> littleEndianMark{'I', 'I', 42, 0};
    if (beginsWith(block, prefix)) block = block.subspan(prefix.size());
    const bool isBigEndian = beginsWith(block, bigEndianMark);
    if (!isBigEndian && !beginsWith(block, littleEndianMark)) return {};

    const Reader reader(block, isBigEndian);
    const std::uint64_t directory = reader.longAt(4);
    const std::uint16_t entryCount = reader.shortAt(directory);
    ExifMetadata metadata;
    double resolution = 0;
    int unit = 2;
    for (std::uint16_t i = 0; i < entryCount; ++i) {
        const std::uint64_t entry = directory + 2 + i * entryLength;
        switch (reader.shortAt(entry)) {
        case orientationTag: {
            const std::uint32_t value = integerOf(reader, entry);
            if (value >= 1 && value <= 8) metadata.orientation = static_cast<int>(value);
            break;
        }
        case xResolutionTag: {
            if (reader.shortAt(entry + 2) != rationalType) break;
            const std::uint64_t value = reader.longAt(entry + 8);
            const std::uint32_t denominator = reader.longAt(value + 4);
            if (denominator != 0)
                resolution = static_cast<double>(reader.longAt(value)) / denominator;
            break;
        }
        case unitTag:
            unit = static_cast<int>(integerOf(reader, entry) & 0xFFFF);
            break;
        default:
            break;
        }
    }
    metadata.resolution = resolutionPerInch(resolution, unit);
    return metadata;
}

} // namespace ombrel
