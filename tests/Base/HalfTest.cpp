#include "Base/Half.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace ombrel {
namespace {

/// The value by the definition of the format.
double valueOf(std::uint16_t bits) {
    const double sign = (bits & 0x8000) != 0 ? -1 : 1;
    const int exponent = (bits >> 10) & 31;
    const int fraction = bits & 0x3FF;
    if (exponent == 0) return sign * std::ldexp(fraction, -24);
    return sign * std::ldexp(1024 + fraction, exponent - 25);
}

bool isFinite(std::uint16_t bits) {
    return (bits & 0x7C00) != 0x7C00;
}

TEST(Half, everyValueBecomesItsFloatAndComesBack) {
    for (std::uint32_t i = 0; i < 65536; ++i) {
        const auto bits = static_cast<std::uint16_t>(i);
        const float asFloat = toFloat({bits});
        if (isFinite(bits)) {
            ASSERT_EQ(static_cast<double>(asFloat), valueOf(bits)) << bits;
            ASSERT_EQ(std::signbit(asFloat), (bits & 0x8000) != 0) << bits;
            ASSERT_EQ(toHalf(asFloat).bits, bits);
        } else if ((bits & 0x3FF) == 0) {
            ASSERT_EQ(asFloat, (bits & 0x8000) != 0 ? -INFINITY : INFINITY);
            ASSERT_EQ(toHalf(asFloat).bits, bits);
        } else {
            ASSERT_TRUE(std::isnan(asFloat)) << bits;
            ASSERT_EQ(toHalf(asFloat).bits, bits | 0x0200) << "the payload stays, made quiet";
        }
    }
}

TEST(Half, whatLiesBetweenTwoValuesGoesToTheNearerAndTiesToEven) {
    for (std::uint32_t i = 0; i < 0x7BFF; ++i) {
        const auto below = static_cast<std::uint16_t>(i);
        const auto above = static_cast<std::uint16_t>(i + 1);
        const auto middle = static_cast<float>((valueOf(below) + valueOf(above)) / 2); // exact
        const std::uint16_t even = (below & 1) == 0 ? below : above;
        for (const std::uint16_t sign : {0x0000, 0x8000}) {
            const float signedMiddle = sign != 0 ? -middle : middle;
            const float inner = std::nextafter(signedMiddle, 0.0f);
            const float outer = std::nextafter(signedMiddle, sign != 0 ? -INFINITY : INFINITY);
            ASSERT_EQ(toHalf(signedMiddle).bits, even | sign) << middle;
            ASSERT_EQ(toHalf(inner).bits, below | sign) << middle;
            ASSERT_EQ(toHalf(outer).bits, above | sign) << middle;
        }
    }
}

TEST(Half, valuesBeyondTheLargestBecomeInfinite) {
    EXPECT_EQ(toHalf(65504.0f).bits, 0x7BFF);
    EXPECT_EQ(toHalf(std::nextafter(65520.0f, 0.0f)).bits, 0x7BFF);
    EXPECT_EQ(toHalf(65520.0f).bits, 0x7C00);
    EXPECT_EQ(toHalf(-65520.0f).bits, 0xFC00);
    EXPECT_EQ(toHalf(std::numeric_limits<float>::max()).bits, 0x7C00);
    EXPECT_EQ(toHalf(std::numeric_limits<float>::denorm_min()).bits, 0);
    EXPECT_EQ(toHalf(-std::numeric_limits<float>::denorm_min()).bits, 0x8000);
    // The smallest NaN has its payload below the bits that are kept: it must not become infinite.
    EXPECT_EQ(toHalf(std::bit_cast<float>(0x7F800001u)).bits, 0x7E00);
    static_assert(toHalf(1.0f).bits == 0x3C00 && toFloat({0x3C00}) == 1.0f);
}

} // namespace
} // namespace ombrel
