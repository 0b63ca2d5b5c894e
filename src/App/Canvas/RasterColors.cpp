#include "App/Canvas/RasterColors.h"

#include <algorithm>
#include <cstddef>

namespace ombrel {

namespace {

constexpr std::size_t halfCount = 65536;
constexpr std::uint64_t opaqueHalf = 0x3C00;

} // namespace

RasterConversion::RasterConversion(const ProfileConversion& conversion)
    : isIdentity(conversion.isIdentity()) {
    for (std::size_t i = 0; i < 3; ++i) {
        const std::array<float, 3>& column = conversion.columns[i];
        columns[i] = Float4{column[0], column[1], column[2], 0};
    }
}

RasterEncoding::RasterEncoding(const DisplayColors& colors) {
    const auto& curves = colors.curves();
    for (std::size_t i = 0; i < curves.size(); ++i) {
        tableOf_[i] =
            static_cast<std::size_t>(std::ranges::find(curves, curves[i]) - curves.begin());
        if (tableOf_[i] == i) bytes_[i].assign(curves[i].begin(), curves[i].end());
    }
    // Every half in all three channels at once.
    std::vector<Float4> lights;
    lights.reserve(halfCount);
    for (std::uint64_t half = 0; half < halfCount; ++half) {
        const std::uint64_t texel = half | half << 16 | half << 32 | opaqueHalf << 48;
        lights.push_back(RasterConversion::cut(lightOf(texel)));
    }
    std::vector<std::uint32_t> pixels(halfCount);
    encode(lights, pixels.data());
    for (std::size_t i = 0; i < halves_.size(); ++i) {
        if (tableOf_[i] != i) continue;
        for (const std::uint32_t pixel : pixels)
            halves_[i].push_back(static_cast<std::uint8_t>(pixel >> (16 - 8 * i)));
    }
}

std::shared_ptr<const RasterEncoding> RasterEncoding::forSRGB() {
    static const auto encoding = std::make_shared<const RasterEncoding>(DisplayColors());
    return encoding;
}

Kernels::DisplayTables RasterEncoding::tables() const {
    Kernels::DisplayTables tables{.steps = DisplayColors::steps};
    for (std::size_t i = 0; i < tables.bytes.size(); ++i)
        tables.bytes[i] = bytes_[tableOf_[i]].data();
    return tables;
}

std::uint32_t RasterEncoding::encoded(Float4 color) const {
    std::uint32_t rgb = 0;
    encode(std::span(&color, 1), &rgb);
    return rgb;
}

} // namespace ombrel
