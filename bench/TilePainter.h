// Tiles as photographs are made of, for benchmarks: soft shapes and a little noise. Half of the
// pictures are opaque; the others have a soft hole (5% empty, 39% partly covered, the rest opaque).
#pragma once

#include "Base/Half.h"
#include "Core/Tile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>

namespace ombrel {

class TilePainter {
public:
    explicit TilePainter(std::uint32_t seed) : random_(seed) {}

    /// `tile` holds 256 rows of 256 pixels of halves.
    void paint(std::byte* tile, bool isOpaque) {
        auto* halves = reinterpret_cast<std::uint16_t*>(tile);
        const float phase = unit() * 6;
        for (std::size_t i = 0; i < pixelsPerTile; ++i) {
            const auto x = static_cast<float>(i % 256) / 256;
            const auto y = static_cast<float>(i / 256) / 256;
            const float wave = 0.5f + 0.4f * std::sin(phase + 7 * x + 5 * y * y);
            const float distance = std::hypot(x - 0.5f, y - 0.5f);
            const float alpha = isOpaque ? 1 : std::clamp(4 * distance - 0.5f, 0.0f, 1.0f);
            const float light = std::clamp(wave * wave + 0.05f * (unit() - 0.5f), 0.001f, 1.0f);
            const std::array<float, 4> color{light * alpha, light * light * alpha,
                                             (1 - 0.8f * light) * alpha, alpha};
            for (std::size_t c = 0; c < 4; ++c)
                halves[4 * i + c] = toHalf(color[c]).bits;
        }
    }

private:
    float unit() { return static_cast<float>(random_() >> 8) * 0x1p-24f; }

    std::mt19937 random_;
};

} // namespace ombrel
