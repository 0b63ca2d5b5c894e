#include "IO/Codecs/Resolution.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ombrel {

namespace {

double clamped(double value, double low, double high) {
    return value >= low ? std::min(value, high) : low; // NaN becomes `low`
}

struct ExifField {
    std::uint16_t tag;
    std::uint16_t type; ///< 3 short, 5 fraction
    std::uint32_t value;
};

} // namespace

ResolutionFraction resolutionFraction(double pixelsPerInch) {
    const double value = clamped(pixelsPerInch, 1e-4, 400000);
    if (value == std::round(value)) return {static_cast<std::uint32_t>(value), 1};
    return {static_cast<std::uint32_t>(std::lround(value * 10000)), 10000};
}

std::uint32_t pixelsPerMetre(double pixelsPerInch) {
    return static_cast<std::uint32_t>(clamped(std::round(pixelsPerInch / 0.0254), 1, 2147483647));
}

std::vector<std::byte> exifOfResolution(double pixelsPerInch) {
    constexpr std::uint32_t headerLength = 8;
    constexpr std::size_t fieldCount = 4;
    constexpr std::uint32_t fractionsAt = headerLength + 2 + fieldCount * 12 + 4;
    constexpr std::array<ExifField, fieldCount> fields{{
        {0x0112, 3, 1}, // orientation: upright
        {0x011A, 5, fractionsAt},
        {0x011B, 5, fractionsAt + 8},
        {0x0128, 3, 2}, // resolution unit: inch
    }};

    std::vector<std::byte> bytes;
    const auto put = [&](std::uint32_t value, int length) {
        for (int i = 0; i < length; ++i)
            bytes.push_back(static_cast<std::byte>(value >> (8 * i)));
    };
    put(0x4949, 2); // "II"
    put(42, 2);
    put(headerLength, 4);
    put(fieldCount, 2);
    for (const ExifField& field : fields) {
        put(field.tag, 2);
        put(field.type, 2);
        put(1, 4);
        put(field.value, 4);
    }
    put(0, 4); // no further directory
    const ResolutionFraction fraction = resolutionFraction(pixelsPerInch);
    for (int axis = 0; axis < 2; ++axis) {
        put(fraction.numerator, 4);
        put(fraction.denominator, 4);
    }
    return bytes;
}

} // namespace ombrel
