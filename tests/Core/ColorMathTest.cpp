#include "Core/ColorMath.h"

#include "Core/TransferFunction.h"
#include "TestSeed.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace ombrel {

using ColorMath::DisplayRgb;
using ColorMath::Hsb;

TEST(ColorMath, coloursHaveTheirKnownHues) {
    struct Case {
        DisplayRgb rgb;
        Hsb hsb;
    };
    const std::array cases{
        Case{{0, 0, 0}, {0, 0, 0}},
        Case{{1, 1, 1}, {0, 0, 1}},
        Case{{0.5, 0.5, 0.5}, {0, 0, 0.5}},
        Case{{1, 0, 0}, {0, 1, 1}},
        Case{{1, 1, 0}, {60, 1, 1}},
        Case{{0, 1, 0}, {120, 1, 1}},
        Case{{0, 1, 1}, {180, 1, 1}},
        Case{{0, 0, 1}, {240, 1, 1}},
        Case{{1, 0, 1}, {300, 1, 1}},
        Case{{1, 0, 0.5}, {330, 1, 1}},
        Case{{0.5, 0.25, 0.25}, {0, 0.5, 0.5}},
        Case{{0.25, 0.5, 0.375}, {150, 0.5, 0.5}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(ColorMath::hsbOf(c.rgb), c.hsb) << c.hsb.hue;
        EXPECT_EQ(ColorMath::rgbOf(c.hsb), c.rgb) << c.hsb.hue;
    }
}

TEST(ColorMath, anyColourComesBack) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> unit(0, 1);
    for (int i = 0; i < 20000; ++i) {
        const DisplayRgb rgb{unit(random), unit(random), unit(random)};
        const Hsb hsb = ColorMath::hsbOf(rgb);
        ASSERT_GE(hsb.hue, 0);
        ASSERT_LT(hsb.hue, 360);
        const DisplayRgb back = ColorMath::rgbOf(hsb);
        ASSERT_NEAR(back.red, rgb.red, 1e-12);
        ASSERT_NEAR(back.green, rgb.green, 1e-12);
        ASSERT_NEAR(back.blue, rgb.blue, 1e-12);
    }
}

TEST(ColorMath, anythingIsBroughtIntoRange) {
    EXPECT_EQ(ColorMath::hsbOf({2, -1, 0}), (Hsb{0, 1, 1}));
    EXPECT_EQ(ColorMath::rgbOf({-120, 2, 1}), (DisplayRgb{0, 0, 1}));
    EXPECT_EQ(ColorMath::rgbOf({360, 1, 7}), (DisplayRgb{1, 0, 0}));
    EXPECT_EQ(ColorMath::rgbOf({840, 1, 1}), (DisplayRgb{0, 1, 0}));
    EXPECT_EQ(ColorMath::rgbOf({-1e-18, 1, 1}).red, 1); // lifted onto 360 exactly
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(ColorMath::rgbOf({infinity, 1, 1}), (DisplayRgb{1, 0, 0}));
    // Almost red from the blue side: the sector formula rounds up to the whole circle.
    EXPECT_LT(ColorMath::hsbOf({1, 0, 1e-18}).hue, 360);
}

TEST(ColorMath, aPickedColourIsDecodedAndPremultiplied) {
    const PremultipliedColor color = ColorMath::documentColorOf({0.5, 0.02, 1}, 0.5);
    EXPECT_FLOAT_EQ(color.red, TransferFunction::decode(0.5f) * 0.5f);
    EXPECT_FLOAT_EQ(color.green, 0.02f / 12.92f * 0.5f);
    EXPECT_EQ(color.blue, 0.5f);
    EXPECT_EQ(color.alpha, 0.5f);
}

} // namespace ombrel
