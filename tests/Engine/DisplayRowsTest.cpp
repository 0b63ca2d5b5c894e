#include "Engine/Kernels/DisplayRows.h"

#include "Base/Half.h"
#include "Engine/Kernels/SimdTargets.h"
#include "TestSeed.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <random>

namespace ombrel {

TEST(DisplayRows, areTheSameOnEveryTargetAndEndWhereTheyAreTold) {
    std::mt19937 random(static_cast<std::uint32_t>(testSeed()));
    const auto unit = [&] { return static_cast<float>(random() >> 8) * 0x1p-24f; };
    std::vector<std::uint16_t> upper(400);
    std::vector<std::uint16_t> lower(upper.size());
    for (std::size_t i = 0; i < upper.size(); ++i) {
        upper[i] = toHalf(4 * unit() - 1).bits;
        lower[i] = toHalf(unit()).bits;
    }
    std::vector<float> light(400);
    for (float& value : light)
        value = 1.2f * unit() * unit();
    std::vector<std::int32_t> red(4096);
    std::iota(red.begin(), red.end(), 0);
    for (std::int32_t& value : red)
        value = value * 255 / 4095;
    const std::vector<std::int32_t> green(red.rbegin(), red.rend());
    const Kernels::DisplayTables tables{{red.data(), green.data(), red.data()}, 4096};
    const auto byteOf = [](const std::vector<std::int32_t>& table, float value) {
        const float root = std::sqrt(std::min(value, 1.0f));
        return static_cast<std::uint32_t>(table[static_cast<std::size_t>(root * 4095.0f + 0.5f)]);
    };
    for (const Kernels::SimdTarget& target : Kernels::simdTargets()) {
        const Kernels::SimdTargetOverride scope(target);
        for (const std::size_t count : {1u, 3u, 7u, 16u, 33u, 100u}) {
            SCOPED_TRACE(testing::Message() << target.name << " " << count);
            std::vector<float> mixed(count + 1, 77.0f);
            Kernels::mixRows(upper.data(), lower.data(), 0.3f, count, mixed.data());
            std::vector<std::uint32_t> rgb(count + 1, 77);
            Kernels::encodeForDisplay(light.data(), count, tables, rgb.data());
            EXPECT_EQ(mixed[count], 77.0f);
            EXPECT_EQ(rgb[count], 77u);
            for (std::size_t i = 0; i < count; ++i) {
                const float from = toFloat(Half{upper[i]});
                ASSERT_EQ(mixed[i], from + (toFloat(Half{lower[i]}) - from) * 0.3f) << i;
                const float* pixel = light.data() + 4 * i;
                ASSERT_EQ(rgb[i], 0xFF000000u | byteOf(red, pixel[0]) << 16 |
                                      byteOf(green, pixel[1]) << 8 | byteOf(red, pixel[2]))
                    << i;
            }
        }
    }
}

TEST(DisplayRows, aLineOverATileIsTheSameOnEveryTarget) {
    std::mt19937 random(static_cast<std::uint32_t>(testSeed()));
    std::vector<std::uint16_t> tile(4 * 65536);
    for (std::uint16_t& half : tile)
        half = toHalf(static_cast<float>(random() % 4096) / 2048.0f - 0.5f).bits;
    Kernels::TexelLine line{.texels = tile.data(),
                            .along = {1.3f, -0.7f},
                            .start = {-20.25f, 190.5f},
                            .corner = {3, -5},
                            .factor = {0.5f, 1},
                            .offset = {12, 0.5f},
                            .limits = {0.5f, 0.5f, 200.5f, 255.5f}};
    const auto expected = [&](int column, std::size_t channel) {
        std::array<int, 2> near{};
        std::array<int, 2> far{};
        std::array<float, 2> part{};
        for (std::size_t i = 0; i < 2; ++i) {
            const float local = line.along[i] * (static_cast<float>(column) + 0.5f) + line.start[i];
            float at = (local - line.corner[i]) * line.factor[i] + line.offset[i];
            if (line.isSmooth) at = std::clamp(at, line.limits[i], line.limits[i + 2]) - 0.5f;
            const auto whole = static_cast<int>(std::floor(at));
            near[i] = std::clamp(whole, 0, 255);
            far[i] = std::clamp(whole + 1, 0, 255);
            part[i] = at - std::floor(at);
        }
        const auto texel = [&](int x, int y) {
            return toFloat(Half{tile[4 * static_cast<std::size_t>(256 * y + x) + channel]});
        };
        const auto mix = [](float a, float b, float share) { return a + (b - a) * share; };
        if (!line.isSmooth) return texel(near[0], near[1]);
        return mix(mix(texel(near[0], near[1]), texel(far[0], near[1]), part[0]),
                   mix(texel(near[0], far[1]), texel(far[0], far[1]), part[0]), part[1]);
    };
    for (const Kernels::SimdTarget& target : Kernels::simdTargets()) {
        const Kernels::SimdTargetOverride scope(target);
        for (const bool isSmooth : {false, true}) {
            SCOPED_TRACE(testing::Message() << target.name << isSmooth);
            line.isSmooth = isSmooth;
            constexpr int first = 7;
            constexpr std::size_t count = 333; // off the tile on both sides
            std::vector<float> pixels(4 * count + 1, 77.0f);
            Kernels::sampleTexels(line, first, count, pixels.data());
            EXPECT_EQ(pixels.back(), 77.0f);
            for (std::size_t i = 0; i < 4 * count; ++i)
                ASSERT_EQ(pixels[i], expected(first + static_cast<int>(i / 4), i % 4)) << i;
        }
    }
}

} // namespace ombrel
