#include "Core/TransferFunction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace ombrel {

namespace {

long double encodedExactly(long double x) {
    return x <= 0.0031308L ? 12.92L * x : 1.055L * std::pow(x, 1 / 2.4L) - 0.055L;
}

long double decodedExactly(long double x) {
    return x <= 0.04045L ? x / 12.92L : std::pow((x + 0.055L) / 1.055L, 2.4L);
}

} // namespace

TEST(TransferFunction, blackAndWhiteAreFixed) {
    for (const float end : {0.0f, 1.0f, -1.0f}) {
        EXPECT_EQ(TransferFunction::encode(end), end);
        EXPECT_EQ(TransferFunction::decode(end), end);
    }
}

TEST(TransferFunction, everyHalfIsWithinAMillionthOfTheStandardsCurve) {
    for (std::uint32_t bits = 0; bits < 0x7C00; ++bits) {
        const float x = toFloat(Half{static_cast<std::uint16_t>(bits)});
        const long double encoded = encodedExactly(x);
        const long double decoded = decodedExactly(x);
        ASSERT_NEAR(TransferFunction::encode(x), encoded, 1e-6L * encoded + 1e-12L) << x;
        ASSERT_NEAR(TransferFunction::decode(x), decoded, 1e-6L * decoded + 1e-12L) << x;
        ASSERT_EQ(TransferFunction::encode(-x), -TransferFunction::encode(x)) << x;
        ASSERT_EQ(TransferFunction::decode(-x), -TransferFunction::decode(x)) << x;
        ASSERT_NEAR(TransferFunction::decode(TransferFunction::encode(x)), x, 2e-6f * x) << x;
    }
}

TEST(TransferFunction, neitherCurveEverFalls) {
    float lastEncoded = -1;
    float lastDecoded = -1;
    for (std::uint32_t i = 0; i <= 100000; ++i) {
        const float x = static_cast<float>(i) * 2e-5f;
        const float encoded = TransferFunction::encode(x);
        const float decoded = TransferFunction::decode(x);
        ASSERT_GT(encoded, lastEncoded) << x;
        ASSERT_GT(decoded, lastDecoded) << x;
        lastEncoded = encoded;
        lastDecoded = decoded;
    }
}

TEST(TransferFunction, worksOnStraightValuesAndKeepsAlpha) {
    const PremultipliedColor linear{0.25f * 0.5f, -0.25f * 0.5f, 4 * 0.5f, 0.5f};
    const PremultipliedColor encoded = TransferFunction::encode(linear);
    EXPECT_FLOAT_EQ(encoded.red, TransferFunction::encode(0.25f) * 0.5f);
    EXPECT_FLOAT_EQ(encoded.green, -encoded.red);
    EXPECT_FLOAT_EQ(encoded.blue, TransferFunction::encode(4.0f) * 0.5f);
    EXPECT_EQ(encoded.alpha, 0.5f);
    const PremultipliedColor back = TransferFunction::decode(encoded);
    EXPECT_NEAR(back.red, linear.red, 1e-6f);
    EXPECT_NEAR(back.green, linear.green, 1e-6f);
    EXPECT_NEAR(back.blue, linear.blue, 1e-5f);
}

TEST(TransferFunction, nothingHasNoColour) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (const float alpha : {0.0f, -0.0f, -1.0f, nan}) {
        EXPECT_EQ(TransferFunction::encode(PremultipliedColor{1, 2, 3, alpha}),
                  PremultipliedColor{});
        EXPECT_EQ(TransferFunction::decode(PremultipliedColor{1, 2, 3, alpha}),
                  PremultipliedColor{});
    }
}

} // namespace ombrel
