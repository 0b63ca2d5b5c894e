// The palette formats that are binary, all of them big-endian.
#include "Core/ColorProfileReading.h"
#include "Core/ToneCurve.h"
#include "IO/SwatchReader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <optional>

namespace ombrel {

namespace {

using ColorMath::DisplayRgb;
using Result = SwatchReader::Result;

std::unexpected<SwatchError> error(SwatchError::Kind kind) {
    return std::unexpected(SwatchError{kind});
}

/// Takes numbers from the front. Once something was missing all that follows is 0.
class BigEndianReader {
public:
    explicit BigEndianReader(std::span<const std::byte> bytes) : bytes_(bytes) {}

    std::uint16_t word() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t longWord() { return number(4); }
    float real() { return std::bit_cast<float>(longWord()); }
    std::span<const std::byte> take(std::size_t count) {
        if (count > bytes_.size()) {
            isShort_ = true;
            bytes_ = {};
            return {};
        }
        const auto taken = bytes_.first(count);
        bytes_ = bytes_.subspan(count);
        return taken;
    }
    bool isShort() const { return isShort_; } ///< something was missing
    bool isAtEnd() const { return bytes_.empty(); }
    std::size_t left() const { return bytes_.size(); }

private:
    std::uint32_t number(std::size_t count) {
        std::uint32_t value = 0;
        for (const std::byte byte : take(count))
            value = value << 8 | std::to_integer<std::uint32_t>(byte);
        return value;
    }

    std::span<const std::byte> bytes_;
    bool isShort_ = false;
};

void append(std::string& text, char32_t code) {
    const auto add = [&](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (code < 0x80) {
        add(code);
    } else if (code < 0x800) {
        add(0xC0 | code >> 6);
        add(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        add(0xE0 | code >> 12);
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    } else {
        add(0xF0 | code >> 18);
        add(0x80 | (code >> 12 & 0x3F));
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    }
}

/// So many units of UTF-16, the last of them usually 0. Halves of pairs become U+FFFD.
std::string takeName(BigEndianReader& in, std::size_t units) {
    if (units > in.left() / 2) {
        in.take(in.left() + 1);
        return {};
    }
    std::string name;
    char32_t high = 0;
    for (std::size_t i = 0; i < units; ++i) {
        const char32_t unit = in.word();
        const bool isHigh = unit >= 0xD800 && unit < 0xDC00;
        const bool isLow = unit >= 0xDC00 && unit < 0xE000;
        if (high != 0 && isLow) {
            append(name, 0x10000 + ((high - 0xD800) << 10) + (unit - 0xDC00));
        } else {
            if (high != 0 || isLow) append(name, 0xFFFD);
            if (!isHigh && !isLow && unit >= 0x20) append(name, unit);
        }
        high = isHigh ? unit : 0;
    }
    return name;
}

double unitOf(double value) {
    return std::isfinite(value) ? std::clamp(value, 0.0, 1.0) : 0.0;
}

DisplayRgb rgbOf(double red, double green, double blue) {
    return {unitOf(red), unitOf(green), unitOf(blue)};
}

/// Inks, 0 to 1; without a profile the plain complement.
DisplayRgb rgbOfInks(double cyan, double magenta, double yellow, double black) {
    const auto light = [&](double ink) { return (1 - unitOf(ink)) * (1 - unitOf(black)); };
    return {light(cyan), light(magenta), light(yellow)};
}

/// CIE L*a*b* under D50 (CIE 15), as L 0 to 100.
DisplayRgb rgbOfLab(double lightness, double a, double b) {
    const auto inverse = [](double t) {
        constexpr double knee = 6.0 / 29;
        return t > knee ? t * t * t : 3 * knee * knee * (t - 4.0 / 29);
    };
    constexpr std::array<double, 3> white{0.9642, 1, 0.8249}; // D50, as ICC profiles have it
    const double y = (std::clamp(lightness, 0.0, 100.0) + 16) / 116;
    const std::array<double, 3> xyz{white[0] * inverse(y + std::clamp(a, -128.0, 128.0) / 500),
                                    white[1] * inverse(y),
                                    white[2] * inverse(y - std::clamp(b, -128.0, 128.0) / 200)};
    const Matrix3& matrix = linearSRGBFromXYZ();
    std::array<double, 3> rgb{};
    for (std::size_t i = 0; i < rgb.size(); ++i) {
        const double light = matrix[i][0] * xyz[0] + matrix[i][1] * xyz[1] + matrix[i][2] * xyz[2];
        rgb[i] = unitOf(ToneCurve::sRGB().encoded(light));
    }
    return {rgb[0], rgb[1], rgb[2]};
}

/// A record of an Adobe Color file; nothing of a model that is not known.
std::optional<DisplayRgb> takeAdobeColor(BigEndianReader& in) {
    const std::uint16_t model = in.word();
    std::array<double, 4> raw{};
    for (double& value : raw)
        value = in.word();
    const auto part = [&](std::size_t i) { return raw[i] / 65535; };
    const auto signedPart = [&](std::size_t i) {
        return static_cast<std::int16_t>(static_cast<std::uint16_t>(raw[i])) / 100.0;
    };
    switch (model) {
    case 0:
        return rgbOf(part(0), part(1), part(2));
    case 1:
        return ColorMath::rgbOf({360 * part(0), part(1), part(2)});
    case 2: // 0 is full ink
        return rgbOfInks(1 - part(0), 1 - part(1), 1 - part(2), 1 - part(3));
    case 7:
        return rgbOfLab(raw[0] / 100, signedPart(1), signedPart(2));
    case 8: { // 0 to 10000 is white to black
        const double gray = 1 - unitOf(raw[0] / 10'000);
        return DisplayRgb{gray, gray, gray};
    }
    case 9: // wide CMYK: hundredths of a percent of ink
        return rgbOfInks(raw[0] / 10'000, raw[1] / 10'000, raw[2] / 10'000, raw[3] / 10'000);
    default:
        return std::nullopt;
    }
}

std::expected<SwatchSet, SwatchError> takeAdobeSection(BigEndianReader& in) {
    const bool hasNames = in.word() == 2;
    const std::size_t count = in.word();
    SwatchSet set;
    for (std::size_t i = 0; i < count; ++i) {
        const auto color = takeAdobeColor(in);
        std::string name = hasNames ? takeName(in, in.longWord()) : std::string();
        if (in.isShort()) return error(SwatchError::Kind::truncated);
        if (color) set.swatches.push_back({std::move(name), *color});
    }
    return set;
}

std::string markOf(std::span<const std::byte> bytes) {
    std::string mark;
    for (const std::byte byte : bytes)
        mark.push_back(static_cast<char>(byte));
    return mark;
}

std::optional<DisplayRgb> takeExchangeColor(BigEndianReader& in) {
    const std::string model = markOf(in.take(4));
    const auto real = [&] { return static_cast<double>(in.real()); };
    if (model == "RGB ") {
        const double red = real();
        const double green = real();
        return rgbOf(red, green, real());
    }
    if (model == "CMYK") {
        const double cyan = real();
        const double magenta = real();
        const double yellow = real();
        return rgbOfInks(cyan, magenta, yellow, real());
    }
    if (model == "LAB ") {
        const double lightness = 100 * unitOf(real());
        const auto finite = [](double x) { return std::isfinite(x) ? x : 0.0; };
        const double a = finite(real());
        return rgbOfLab(lightness, a, finite(real()));
    }
    if (model == "Gray") {
        const double gray = unitOf(real());
        return DisplayRgb{gray, gray, gray};
    }
    return std::nullopt;
}

} // namespace

// Version 1, and after it the same colours once more with names as version 2, where there is one.
Result SwatchReader::readAdobeColor(std::span<const std::byte> bytes) {
    BigEndianReader in(bytes);
    auto set = takeAdobeSection(in);
    if (!set) return std::unexpected(set.error());
    if (in.left() >= 4) {
        auto named = takeAdobeSection(in);
        if (named && named->swatches.size() == set->swatches.size()) set = std::move(named);
    }
    return std::vector{*std::move(set)};
}

Result SwatchReader::readSwatchExchange(std::span<const std::byte> bytes) {
    enum Block : std::uint16_t { color = 0x0001, groupBegin = 0xC001, groupEnd = 0xC002 };
    BigEndianReader in(bytes);
    in.take(8); // the mark, and the version
    const std::uint32_t blocks = in.longWord();
    if (in.isShort()) return error(SwatchError::Kind::truncated);
    std::vector<SwatchSet> sets(1); // what is in no group comes first
    std::size_t open = 0;
    std::size_t total = 0;
    for (std::uint32_t i = 0; i < blocks; ++i) {
        const std::uint16_t kind = in.word();
        const std::uint32_t length = in.longWord();
        BigEndianReader block(in.take(length));
        if (in.isShort()) return error(SwatchError::Kind::truncated);
        if (kind == groupBegin) {
            if (sets.size() >= mostSwatches) return error(SwatchError::Kind::tooLarge);
            sets.push_back({takeName(block, block.word()), {}});
            open = sets.size() - 1;
        } else if (kind == groupEnd) {
            open = 0;
        } else if (kind == color) {
            std::string name = takeName(block, block.word());
            const auto found = takeExchangeColor(block);
            if (block.isShort()) return error(SwatchError::Kind::damaged);
            if (++total > mostSwatches) return error(SwatchError::Kind::tooLarge);
            if (found) sets[open].swatches.push_back({std::move(name), *found});
        }
    }
    return sets;
}

// 256 colours; with four more bytes, how many of them count (0 for all) and which is transparent.
Result SwatchReader::readColorTable(std::span<const std::byte> bytes) {
    BigEndianReader in(bytes);
    const auto colors = in.take(768);
    if (in.isShort()) return error(SwatchError::Kind::truncated);
    std::size_t count = in.isAtEnd() ? 256 : in.word();
    if (count == 0) count = 256;
    if (count > 256) return error(SwatchError::Kind::damaged);
    SwatchSet set;
    for (std::size_t i = 0; i < count; ++i) {
        const auto channel = [&](std::size_t c) {
            return std::to_integer<int>(colors[3 * i + c]) / 255.0;
        };
        set.swatches.push_back({{}, {channel(0), channel(1), channel(2)}});
    }
    return std::vector{std::move(set)};
}

} // namespace ombrel
