// Palette files of other programs: Adobe Color (.aco, versions 1 and 2), Adobe Swatch Exchange
// (.ase), Adobe Color Table (.act), GIMP (.gpl), JASC (.pal) and plain lists of hexadecimal codes.
// The kind is told by the content, a color table by its size. Nothing of a file is trusted:
// whatever is wrong becomes an error in words. Colours of other models become the screen's: CMYK
// without a profile, as the formats have none, and Lab by its white D50. Pure functions; any
// thread.
#pragma once

#include "IO/Swatches.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ombrel {

struct SwatchError {
    enum class Kind : std::uint8_t {
        unknownFormat, ///< none of those above
        truncated,     ///< ends in the middle of something
        damaged,       ///< holds what cannot be
        empty,         ///< no colour that could be used
        tooLarge,
    };
    Kind kind = Kind::unknownFormat;

    std::string text() const; ///< for the user
    bool operator==(const SwatchError&) const = default;
};

namespace SwatchReader {

inline constexpr std::size_t mostBytes = 16 << 20;
inline constexpr std::size_t mostSwatches = 65'536;

/// One set, or several where the file has groups (.ase). A set without a name of its own gets
/// `fallbackName`.
std::expected<std::vector<SwatchSet>, SwatchError> read(std::span<const std::byte> bytes,
                                                        std::string_view fallbackName);

// Each format by itself; the bytes begin as the format does.
using Result = std::expected<std::vector<SwatchSet>, SwatchError>;
Result readAdobeColor(std::span<const std::byte> bytes);
Result readSwatchExchange(std::span<const std::byte> bytes);
Result readColorTable(std::span<const std::byte> bytes);
Result readGimpPalette(std::string_view text);
Result readJascPalette(std::string_view text);
Result readHexList(std::string_view text);

} // namespace SwatchReader

namespace SwatchWriter {

/// For GIMP and what reads its palettes.
std::string gimpPalette(const SwatchSet& set);

} // namespace SwatchWriter

} // namespace ombrel
