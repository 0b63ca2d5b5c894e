#include "Core/ToneCurve.h"

#include "Core/TransferFunction.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace ombrel {

namespace {

std::vector<std::uint16_t> sampledGamma(double gamma, std::size_t count) {
    std::vector<std::uint16_t> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        const double x = static_cast<double>(i) / static_cast<double>(count - 1);
        samples[i] = static_cast<std::uint16_t>(std::lround(std::pow(x, gamma) * 65535));
    }
    return samples;
}

struct NamedCurve {
    std::string name;
    ToneCurve curve;
    double exponent; ///< of its growth far above one
};

std::vector<NamedCurve> usableCurves() {
    return {
        {"identity", ToneCurve(), 1},
        {"sRGB", ToneCurve::sRGB(), 2.4},
        {"gamma 2.2", ToneCurve::parametric({.g = 2.2}).value(), 2.2},
        {"ProPhoto", ToneCurve::parametric({.g = 1.8, .c = 1.0 / 16, .d = 1.0 / 512}).value(), 1.8},
        {"CIE 122",
         ToneCurve::parametric({.g = 2, .a = 1.1, .b = -0.1, .c = 0, .d = 1 / 11.0}).value(), 2},
        {"sampled 2.2", ToneCurve::sampled(sampledGamma(2.2, 1024)).value(), 2.2},
        {"sampled 1.8", ToneCurve::sampled(sampledGamma(1.8, 65)).value(), 1.8},
        {"two samples", ToneCurve::sampled(std::vector<std::uint16_t>{0, 65535}).value(), 1},
    };
}

} // namespace

TEST(ToneCurve, neverFallsAndComesBackFromBelowZeroToAboveOne) {
    for (const NamedCurve& named : usableCurves()) {
        double last = -100;
        for (int i = -300; i <= 300; ++i) {
            const double x = i / 100.0;
            const double y = named.curve.linearised(x);
            ASSERT_GE(y, last) << named.name << " at " << x;
            last = y;
            if (std::fabs(y) < 1e-3) continue; // flat parts have no way back
            ASSERT_NEAR(named.curve.encoded(y), x, 1e-9) << named.name << " at " << x;
        }
    }
}

TEST(ToneCurve, isMirroredAtZero) {
    for (const NamedCurve& named : usableCurves()) {
        for (const double x : {0.01, 0.5, 1.0, 2.5}) {
            EXPECT_EQ(named.curve.linearised(-x), -named.curve.linearised(x)) << named.name;
            EXPECT_EQ(named.curve.encoded(-x), -named.curve.encoded(x)) << named.name;
        }
    }
}

TEST(ToneCurve, goesOnAboveOneAsItEnded) {
    for (const NamedCurve& named : usableCurves()) {
        if (!named.curve.isSampled()) continue;
        const double slope = (named.curve.linearised(1.01) - 1) / 0.01;
        EXPECT_NEAR(slope, named.exponent, 0.03) << named.name;
        EXPECT_NEAR(named.curve.linearised(4), std::pow(4, named.exponent),
                    0.03 * std::pow(4, named.exponent))
            << named.name;
    }
}

TEST(ToneCurve, sRGBIsTheCurveOfPerceptualBlending) {
    for (int i = -64; i <= 128; ++i) {
        const auto x = static_cast<float>(i) / 64;
        EXPECT_EQ(static_cast<float>(ToneCurve::sRGB().linearised(x)), TransferFunction::decode(x));
        EXPECT_NEAR(ToneCurve::sRGB().encoded(x), TransferFunction::encode(x), 1e-6);
    }
}

TEST(ToneCurve, samplesAreJoinedByLines) {
    const auto curve = ToneCurve::sampled(std::vector<std::uint16_t>{0, 6553, 65535}).value();
    EXPECT_DOUBLE_EQ(curve.linearised(0.25), 6553 / 65535.0 / 2);
    EXPECT_DOUBLE_EQ(curve.linearised(0.75), (6553 / 65535.0 + 1) / 2);
    EXPECT_DOUBLE_EQ(curve.encoded(6553 / 65535.0 / 2), 0.25);
}

TEST(ToneCurve, flatEndsGoBackToWhereTheyBegin) {
    const std::vector<std::uint16_t> samples{0, 0, 30000, 65535, 65535};
    const auto curve = ToneCurve::sampled(samples).value();
    EXPECT_EQ(curve.encoded(0), 0);
    EXPECT_DOUBLE_EQ(curve.encoded(1), 0.75);
    EXPECT_EQ(curve.encoded(3), 1); // nothing above reaches it
    EXPECT_EQ(curve.linearised(3), 1);
}

TEST(ToneCurve, smallDipsAreLevelledAndFallingCurvesRefused) {
    const auto dipped = ToneCurve::sampled(std::vector<std::uint16_t>{0, 30000, 29900, 65535});
    ASSERT_TRUE(dipped);
    EXPECT_DOUBLE_EQ(dipped->linearised(2 / 3.0), 30000 / 65535.0);

    EXPECT_FALSE(ToneCurve::sampled(std::vector<std::uint16_t>{65535, 0}));
    EXPECT_FALSE(ToneCurve::sampled(std::vector<std::uint16_t>{0, 65535, 20000, 65535}));
    EXPECT_FALSE(ToneCurve::sampled(std::vector<std::uint16_t>{9, 9, 9}));
    EXPECT_FALSE(ToneCurve::sampled(std::vector<std::uint16_t>{7}));
    EXPECT_FALSE(ToneCurve::sampled({}));
}

TEST(ToneCurve, formulasThatLeaveTheNumbersAreRefused) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_FALSE(ToneCurve::parametric({.g = nan}));
    EXPECT_FALSE(ToneCurve::parametric({.g = infinity}));
    EXPECT_FALSE(ToneCurve::parametric({.g = 0}));
    EXPECT_FALSE(ToneCurve::parametric({.g = -2.2}));
    EXPECT_FALSE(ToneCurve::parametric({.a = 0}));
    EXPECT_FALSE(ToneCurve::parametric({.a = -1}));
    EXPECT_FALSE(ToneCurve::parametric({.c = -1, .d = 0.5}));
    EXPECT_FALSE(ToneCurve::parametric({.g = 2.2, .a = 1e300}));
    EXPECT_FALSE(ToneCurve::parametric({.e = nan}));
    EXPECT_FALSE(ToneCurve::parametric({.c = 30, .d = 0.5})); // drops from 15 to 0.5
}

} // namespace ombrel
