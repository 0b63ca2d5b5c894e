// Rows of the tiles around a batch, as four planes of floats: what clones, blurs and sharpening
// read. Rows may begin anywhere; beyond the window there is nothing.

#if defined(OMBREL_NEIGHBOUR_ROWS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_NEIGHBOUR_ROWS_INL_H
#undef OMBREL_NEIGHBOUR_ROWS_INL_H
#else
#define OMBREL_NEIGHBOUR_ROWS_INL_H
#endif

#include "Base/Half.h"
#include "Engine/BrushBatch.h"
#include "Engine/Kernels/PixelVectors-inl.h"

#include <algorithm>
#include <array>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

/// Up to 288 pixels of a row, a plane a channel.
struct PlanarRow {
    static constexpr std::size_t capacity = 288;
    HWY_ALIGN float channels[4][capacity];

    void set(std::size_t i, const std::array<float, 4>& color) {
        for (std::size_t c = 0; c < 4; ++c)
            channels[c][i] = color[c];
    }
    void copyPixel(std::size_t to, std::size_t from) {
        for (auto& channel : channels)
            channel[to] = channel[from];
    }
    HWY_INLINE PixelVector at(std::size_t i) const {
        const FloatTag d;
        return {hn::LoadU(d, channels[0] + i), hn::LoadU(d, channels[1] + i),
                hn::LoadU(d, channels[2] + i), hn::LoadU(d, channels[3] + i)};
    }
    HWY_INLINE void put(std::size_t i, const PixelVector& c) {
        const FloatTag d;
        hn::StoreU(c.red, d, channels[0] + i);
        hn::StoreU(c.green, d, channels[1] + i);
        hn::StoreU(c.blue, d, channels[2] + i);
        hn::StoreU(c.alpha, d, channels[3] + i);
    }
};

class Neighbourhood {
public:
    explicit Neighbourhood(const BrushBatch& batch) : batch_(batch) {}

    /// `count` pixels from (x, y) of the document.
    void read(std::int64_t x, std::int64_t y, std::size_t count, PlanarRow& row) const {
        for (std::size_t done = 0; done < count;) {
            const std::int64_t at = x + static_cast<std::int64_t>(done);
            const auto column = static_cast<std::size_t>(at & 255);
            const std::size_t part = std::min(count - done, 256 - column);
            readPart(tileAt(at >> 8, y >> 8), static_cast<std::size_t>(y & 255) * 256 + column,
                     part, row, done);
            done += part;
        }
    }

private:
    const GPUTileRef* tileAt(std::int64_t tileX, std::int64_t tileY) const {
        const auto& origin = batch_.params.neighbourOrigin;
        const auto& size = batch_.params.neighbourSize;
        const std::int64_t x = tileX - origin[0];
        const std::int64_t y = tileY - origin[1];
        if (x < 0 || y < 0 || x >= size[0] || y >= size[1]) return nullptr;
        return &batch_.neighbourhood[static_cast<std::size_t>(y * size[0] + x)];
    }

    void readPart(const GPUTileRef* tile, std::size_t pixel, std::size_t count, PlanarRow& row,
                  std::size_t to) const {
        if (tile == nullptr || tile->pixels == 0) {
            const std::array<float, 4> color =
                tile != nullptr ? tile->solid : std::array<float, 4>{};
            for (std::size_t i = 0; i < count; ++i)
                row.set(to + i, color);
        } else if (batch_.neighbourFormat == TileFormat::r8) {
            const auto* bytes = reinterpret_cast<const std::uint8_t*>(tile->pixels) + pixel;
            for (std::size_t i = 0; i < count; ++i) {
                const float value = static_cast<float>(bytes[i]) / 255;
                row.set(to + i, {value, value, value, 1});
            }
        } else {
            readHalves(reinterpret_cast<const std::uint16_t*>(tile->pixels) + 4 * pixel, count, row,
                       to);
        }
    }

    static void readHalves(const std::uint16_t* halves, std::size_t count, PlanarRow& row,
                           std::size_t to) {
        std::size_t i = 0;
        for (; i + laneCount() <= count; i += laneCount())
            row.put(to + i, loadPixels(halves + 4 * i));
        for (; i < count; ++i) {
            const std::uint16_t* pixel = halves + 4 * i;
            row.set(to + i, {toFloat(Half{pixel[0]}), toFloat(Half{pixel[1]}),
                             toFloat(Half{pixel[2]}), toFloat(Half{pixel[3]})});
        }
    }

    const BrushBatch& batch_;
};

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
