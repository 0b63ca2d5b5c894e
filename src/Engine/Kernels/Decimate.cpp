#include "Engine/Kernels/Decimate.h"

#include "Base/Half.h"
#include "Engine/Kernels/QuadRows.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace ombrel::Kernels {

namespace {

/// One colour as a pixel of the format.
template <typename Pixel>
Pixel pixelOf(const GPUTileRef& ref, float background) {
    if constexpr (sizeof(Pixel) == 1) {
        return static_cast<Pixel>(std::lround(255 * maskValue(ref.solid, background)));
    } else {
        std::array<std::uint16_t, 4> halves{};
        std::ranges::transform(ref.solid, halves.begin(),
                               [](float value) { return toHalf(value).bits; });
        return std::bit_cast<Pixel>(halves);
    }
}

template <typename Pixel>
void decimate(const SampleJob& job, std::uint32_t firstRow, std::uint32_t rowCount) {
    Pixel* out = reinterpret_cast<Pixel*>(job.output) + std::size_t{firstRow} * tileEdge;
    for (std::uint32_t row = firstRow; row < firstRow + rowCount; ++row) {
        const std::uint32_t y = job.firstY + row * job.step;
        const GPUTileRef* cell = job.cells.data() + std::size_t{y / tileEdge} * job.cellsOfRow;
        std::uint32_t x = job.firstX;
        for (std::uint32_t left = tileEdge; left > 0; ++cell) {
            const std::uint32_t within = x % tileEdge;
            const std::uint32_t count =
                std::min(left, (tileEdge - within + job.step - 1) / job.step);
            if (cell->pixels == 0) {
                std::fill_n(out, count, pixelOf<Pixel>(*cell, job.background));
            } else {
                const Pixel* from = reinterpret_cast<const Pixel*>(cell->pixels) +
                                    std::size_t{y % tileEdge} * tileEdge + within;
                for (std::uint32_t i = 0; i < count; ++i)
                    out[i] = from[std::size_t{i} * job.step];
            }
            out += count;
            left -= count;
            x += count * job.step;
        }
    }
}

} // namespace

void decimateRows(const SampleJob& job, std::uint32_t firstRow, std::uint32_t rowCount) {
    return job.format == TileFormat::r8 ? decimate<std::uint8_t>(job, firstRow, rowCount)
                                        : decimate<std::uint64_t>(job, firstRow, rowCount);
}

} // namespace ombrel::Kernels
