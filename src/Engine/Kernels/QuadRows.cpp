#include "Engine/Kernels/QuadRows.h"

#include <algorithm>
#include <cstring>

namespace ombrel::Kernels {

namespace {

constexpr std::array<float, 256> unitOfByte = [] {
    std::array<float, 256> table{};
    for (std::size_t i = 0; i < 256; ++i)
        table[i] = static_cast<float>(i) / 255.0f;
    return table;
}();

template <typename Pixel>
const Pixel* pixelsOf(const GPUTileRef& ref) {
    return reinterpret_cast<const Pixel*>(ref.pixels);
}

void include(QuadRowsContent& content, const GPUTileRef& ref, bool isFirst) {
    if (ref.pixels != 0) {
        content.hasPixels = true;
        content.isOneColor = false;
        return;
    }
    content.hasSolid = content.hasSolid || !isNothing(ref);
    if (isFirst) content.color = ref.solid;
    if (ref.solid != content.color) content.isOneColor = false;
}

/// `count` pixels from `column` on.
void copySpan(const GPUTileRef& ref, std::uint32_t row, std::uint32_t column, std::uint32_t count,
              std::uint16_t* out) {
    if (ref.pixels == 0) {
        std::fill_n(out, 4 * count, std::uint16_t{0});
        return;
    }
    const std::size_t first = 4 * (std::size_t{row} * tileEdge + column);
    std::memcpy(out, pixelsOf<std::uint16_t>(ref) + first, 8 * std::size_t{count});
}

void maskSpan(const GPUTileRef& ref, std::uint32_t row, std::uint32_t column, std::uint32_t count,
              float background, float opacity, float* out) {
    if (ref.pixels == 0) {
        std::fill_n(out, count, opacity * maskValue(ref.solid, background));
        return;
    }
    const std::uint8_t* bytes = pixelsOf<std::uint8_t>(ref) + std::size_t{row} * tileEdge + column;
    for (std::uint32_t i = 0; i < count; ++i)
        out[i] = opacity * unitOfByte[bytes[i]];
}

} // namespace

QuadRowsContent contentOfRows(const Quad& quad, std::uint32_t firstRow, std::uint32_t rowCount) {
    QuadRowsContent content;
    // Rows between the first and the last lie in the same tiles as one of the two.
    for (const std::uint32_t y : {firstRow, firstRow + rowCount - 1}) {
        const QuadRow row = quad.row(y);
        include(content, *row.right, y == firstRow);
        if (row.split != 0) include(content, *row.left, false);
    }
    return content;
}

void copyHalves(const QuadRow& row, std::uint16_t* out) {
    copySpan(*row.left, row.row, tileEdge - row.split, row.split, out);
    copySpan(*row.right, row.row, 0, tileEdge - row.split, out + 4 * std::size_t{row.split});
}

float maskValue(const std::array<float, 4>& color, float background) {
    const float value = color[0] + (1 - color[3]) * background;
    return std::clamp(value, 0.0f, 1.0f);
}

void maskFactors(const QuadRow& row, float background, float opacity, float* out) {
    maskSpan(*row.left, row.row, tileEdge - row.split, row.split, background, opacity, out);
    maskSpan(*row.right, row.row, 0, tileEdge - row.split, background, opacity, out + row.split);
}

} // namespace ombrel::Kernels
