#include "Engine/Kernels/DisplayRows.h"

#include "Base/Half.h"
#include "Engine/Kernels/SimdTargets.h"
#include "TestSeed.h"

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

} // namespace ombrel
