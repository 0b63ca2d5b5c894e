#include "Core/BlendMath.h"

#include "TestSeed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace ombrel {

namespace {

using BlendMath::Rgb;
using Random = std::mt19937_64;

constexpr PremultipliedColor nothing;

std::array<float, 4> channels(const PremultipliedColor& c) {
    return {c.red, c.green, c.blue, c.alpha};
}

// The formulas once more, in double and on all three channels at once.
using Wide = std::array<double, 3>;

double wideLum(const Wide& c) {
    return 0.3 * c[0] + 0.59 * c[1] + 0.11 * c[2];
}

Wide wideClip(Wide c) {
    const double l = wideLum(c);
    const auto [low, high] = std::minmax({c[0], c[1], c[2]});
    for (double& v : c) {
        if (low < 0) v = l + (v - l) * l / std::max(l - low, 1e-6);
    }
    for (double& v : c) {
        if (high > 1) v = l + (v - l) * (1 - l) / std::max(high - l, 1e-6);
    }
    return c;
}

Wide wideWithLum(Wide c, double l) {
    const double shift = l - wideLum(c);
    for (double& v : c)
        v += shift;
    return wideClip(c);
}

double wideSat(const Wide& c) {
    return std::max({c[0], c[1], c[2]}) - std::min({c[0], c[1], c[2]});
}

Wide wideWithSat(const Wide& c, double saturation) {
    const double low = std::min({c[0], c[1], c[2]});
    const double range = wideSat(c);
    if (range <= 0) return {0, 0, 0};
    return {(c[0] - low) / range * saturation, (c[1] - low) / range * saturation,
            (c[2] - low) / range * saturation};
}

double wideBurn(double b, double s) {
    return b >= 1 ? 1 : s <= 0 ? 0 : std::max(0.0, 1 - (1 - b) / std::max(s, 1e-6));
}

double wideDodge(double b, double s) {
    return b <= 0 ? 0 : s >= 1 ? 1 : std::min(1.0, b / std::max(1 - s, 1e-6));
}

double wideHardLight(double b, double s) {
    return s <= 0.5 ? 2 * b * s : 1 - 2 * (1 - b) * (1 - s);
}

double wideSoftLight(double b, double s) {
    const double d = b <= 0.25 ? 16 * b * b * b - 12 * b * b + 4 * b : std::sqrt(b);
    return s <= 0.5 ? b - (1 - 2 * s) * b * (1 - b) : b + (2 * s - 1) * (d - b);
}

double wideChannel(BlendMode mode, double b, double s) {
    switch (mode) {
    case BlendMode::darken:
        return std::min(b, s);
    case BlendMode::multiply:
        return b * s;
    case BlendMode::colorBurn:
        return wideBurn(b, s);
    case BlendMode::linearBurn:
        return std::max(0.0, b + s - 1);
    case BlendMode::lighten:
        return std::max(b, s);
    case BlendMode::screen:
        return 1 - (1 - b) * (1 - s);
    case BlendMode::colorDodge:
        return wideDodge(b, s);
    case BlendMode::linearDodge:
        return std::min(1.0, b + s);
    case BlendMode::overlay:
        return wideHardLight(s, b);
    case BlendMode::softLight:
        return wideSoftLight(b, s);
    case BlendMode::hardLight:
        return wideHardLight(b, s);
    case BlendMode::vividLight:
        return s <= 0.5 ? wideBurn(b, 2 * s) : wideDodge(b, 2 * s - 1);
    case BlendMode::linearLight:
        return std::clamp(b + 2 * s - 1, 0.0, 1.0);
    case BlendMode::pinLight:
        return s <= 0.5 ? std::min(b, 2 * s) : std::max(b, 2 * s - 1);
    case BlendMode::difference:
        return std::abs(b - s);
    case BlendMode::exclusion:
        return b * (1 - s) + s * (1 - b);
    case BlendMode::subtract:
        return std::max(0.0, b - s);
    case BlendMode::divide:
        return s > 0 ? std::min(1.0, b / s) : b > 0 ? 1 : 0;
    default:
        return s;
    }
}

Wide wideBlend(BlendMode mode, const Wide& b, const Wide& s) {
    switch (mode) {
    case BlendMode::hue:
        return wideWithLum(wideWithSat(s, wideSat(b)), wideLum(b));
    case BlendMode::saturation:
        return wideWithLum(wideWithSat(b, wideSat(s)), wideLum(b));
    case BlendMode::color:
        return wideWithLum(s, wideLum(b));
    case BlendMode::luminosity:
        return wideWithLum(b, wideLum(s));
    default:
        return {wideChannel(mode, b[0], s[0]), wideChannel(mode, b[1], s[1]),
                wideChannel(mode, b[2], s[2])};
    }
}

float randomUnit(Random& random) {
    // Ends and the middle, where formulas branch, come up often.
    constexpr std::array<float, 6> marked{0, 0.25f, 0.5f, 1, 1e-7f, 0.99999994f};
    const std::uint64_t draw = random();
    if (draw % 8 == 0) return marked[(draw >> 8) % marked.size()];
    return static_cast<float>(draw >> 40) * 0x1p-24f;
}

Rgb randomRgb(Random& random) {
    const float gray = randomUnit(random);
    if (random() % 16 == 0) return {gray, gray, gray};
    return {gray, randomUnit(random), randomUnit(random)};
}

// Mostly ordinary colours, some outside of the gamut, some transparent.
PremultipliedColor randomColor(Random& random) {
    const Rgb rgb = randomRgb(random);
    const float alpha = randomUnit(random);
    const float gain = random() % 8 == 0 ? 6.0f : 1.0f;
    const float offset = random() % 8 == 0 ? -0.5f : 0.0f;
    return {(rgb[0] * gain + offset) * alpha, rgb[1] * gain * alpha,
            (rgb[2] + offset) * gain * alpha, alpha};
}

BlendMode randomMode(Random& random) {
    return static_cast<BlendMode>(random() % blendModeCount);
}

} // namespace

TEST(BlendMath, everyModeFollowsItsFormula) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Random random(seed);
    for (const BlendModeName& name : blendModeNames) {
        for (int round = 0; round < 20000; ++round) {
            const Rgb b = randomRgb(random);
            const Rgb s = randomRgb(random);
            const Rgb result = BlendMath::blend(name.mode, b, s);
            const Wide expected = wideBlend(name.mode, {b[0], b[1], b[2]}, {s[0], s[1], s[2]});
            for (std::size_t i = 0; i < 3; ++i) {
                ASSERT_NEAR(result[i], expected[i], 2e-6)
                    << name.rawValue << " channel " << i << " of (" << b[0] << ", " << b[1] << ", "
                    << b[2] << ") under (" << s[0] << ", " << s[1] << ", " << s[2] << ")";
            }
        }
    }
}

TEST(BlendMath, branchesAtTheEndsOfTheRangeAreExact) {
    struct Case {
        BlendMode mode;
        float backdrop;
        float source;
        float result;
    };
    constexpr std::array cases{
        Case{BlendMode::divide, 0, 0, 0},
        Case{BlendMode::divide, 0.5f, 0, 1},
        Case{BlendMode::divide, 0, 0.5f, 0},
        Case{BlendMode::divide, 0.25f, 0.5f, 0.5f},
        Case{BlendMode::colorBurn, 1, 0, 1},
        Case{BlendMode::colorBurn, 0.99f, 0, 0},
        Case{BlendMode::colorBurn, 0.75f, 0.5f, 0.5f},
        Case{BlendMode::colorDodge, 0, 1, 0},
        Case{BlendMode::colorDodge, 0.01f, 1, 1},
        Case{BlendMode::colorDodge, 0.25f, 0.5f, 0.5f},
        Case{BlendMode::linearBurn, 0.25f, 0.5f, 0},
        Case{BlendMode::linearDodge, 0.75f, 0.5f, 1},
        Case{BlendMode::linearLight, 0, 0, 0},
        Case{BlendMode::linearLight, 1, 1, 1},
        Case{BlendMode::subtract, 0.25f, 0.5f, 0},
        Case{BlendMode::overlay, 0.5f, 0.75f, 0.75f},
        Case{BlendMode::hardLight, 0.75f, 0.5f, 0.75f},
        Case{BlendMode::softLight, 0.25f, 1, 0.5f},
        Case{BlendMode::softLight, 0.75f, 0.5f, 0.75f},
        Case{BlendMode::vividLight, 0, 1, 0},
        Case{BlendMode::vividLight, 1, 0, 1},
        Case{BlendMode::vividLight, 0.75f, 0.25f, 0.5f},
        Case{BlendMode::pinLight, 0.75f, 0.25f, 0.5f},
        Case{BlendMode::pinLight, 0.25f, 0.75f, 0.5f},
        Case{BlendMode::difference, 0.25f, 1, 0.75f},
        Case{BlendMode::exclusion, 1, 1, 0},
        Case{BlendMode::screen, 0.5f, 0.5f, 0.75f},
    };
    for (const Case& c : cases) {
        const Rgb result = BlendMath::blend(c.mode, {c.backdrop, c.backdrop, c.backdrop},
                                            {c.source, c.source, c.source});
        EXPECT_EQ(result, (Rgb{c.result, c.result, c.result}))
            << rawValueOf(c.mode) << " of " << c.backdrop << " under " << c.source;
    }
}

TEST(BlendMath, hueOfAGraySourceLeavesAGrayOfTheBackdropsLuminosity) {
    const Rgb result = BlendMath::blend(BlendMode::hue, {0.9f, 0.2f, 0.4f}, {0.3f, 0.3f, 0.3f});
    const float lum = 0.3f * 0.9f + 0.59f * 0.2f + 0.11f * 0.4f;
    for (const float channel : result)
        EXPECT_FLOAT_EQ(channel, lum);
}

TEST(BlendMath, clippingAColourDoesNotLookAgainAtItsLargestChannel) {
    // The shift to luminosity 0.5 makes 2.38, -0.62 and 1.38: both limits are passed at once. The
    // first step scales by l / (l - low), the second by (1 - l) / (high - l) with the same high.
    const Rgb source{2, -1, 1};
    const double shift = 0.5 - (0.6 - 0.59 + 0.11);
    const double low = -1 + shift;
    const double high = 2 + shift;
    const double both = 0.5 / (0.5 - low) * 0.5 / (high - 0.5);
    const Rgb result = BlendMath::blend(BlendMode::color, {0.5f, 0.5f, 0.5f}, source);
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_NEAR(result[i], 0.5 + (source[i] + shift - 0.5) * both, 1e-6);
    }
}

TEST(BlendMath, anEmptySourceLeavesTheBackdropInEveryMode) {
    for (const BlendModeName& name : blendModeNames) {
        for (const PremultipliedColor& backdrop : {PremultipliedColor{0.1f, 0.2f, 0.3f, 0.4f},
                                                   PremultipliedColor{7, -2, 0, 1}, nothing}) {
            EXPECT_EQ(BlendMath::composite(name.mode, backdrop, nothing), backdrop)
                << name.rawValue;
        }
    }
}

TEST(BlendMath, compositingJoinsCoverageAsAreasDo) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    Random random(seed);
    for (int round = 0; round < 50000; ++round) {
        const BlendMode mode = randomMode(random);
        const PremultipliedColor b = randomColor(random);
        const PremultipliedColor s = randomColor(random);
        const PremultipliedColor result = BlendMath::composite(mode, b, s);
        ASSERT_NEAR(result.alpha, 1 - (1.0 - s.alpha) * (1.0 - b.alpha), 2e-7);
        Wide blended{};
        if (mode != BlendMode::normal && s.alpha > 0) {
            Wide bc{};
            Wide sc{};
            for (std::size_t i = 0; i < 3; ++i) {
                if (b.alpha > 0) bc[i] = std::clamp(channels(b)[i] / b.alpha, 0.0f, 1.0f);
                sc[i] = std::clamp(channels(s)[i] / s.alpha, 0.0f, 1.0f);
            }
            blended = wideBlend(mode, bc, sc);
        }
        for (std::size_t i = 0; i < 3; ++i) {
            const double cs = channels(s)[i];
            const double cb = channels(b)[i];
            const double expected =
                mode == BlendMode::normal || s.alpha <= 0
                    ? cs + cb * (1.0 - s.alpha)
                    : blended[i] * b.alpha * s.alpha + cs * (1.0 - b.alpha) + cb * (1.0 - s.alpha);
            ASSERT_NEAR(channels(result)[i], expected, 4e-6) << rawValueOf(mode);
        }
    }
}

TEST(BlendMath, whatIsNoNumberIsCutToZero) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    const Rgb half{0.5f, 0.5f, 0.5f};
    EXPECT_EQ(BlendMath::blend(BlendMode::linearLight, half, {nan, infinity, -infinity}),
              (Rgb{0, 1, 0}));
}

TEST(BlendMath, dissolveNoiseIsFixedForAPixelAndAnIndex) {
    struct Case {
        std::int32_t x;
        std::int32_t y;
        std::uint32_t index;
        std::uint32_t bits;
    };
    constexpr std::array cases{
        Case{0, 0, 0, 0},
        Case{1, 0, 0, 0xB0EEDB},
        Case{0, 1, 0, 0x7ACFE7},
        Case{0, 0, 1, 0x6D8754},
        Case{255, 255, 3, 0xF1F238},
        Case{-1, -7, 2, 0xD198E3},
        Case{299999, 123456, 40, 0x83EBFE},
        Case{std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(),
             0xFFFFFFFF, 0x2C81D2},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(BlendMath::dissolveNoise(c.x, c.y, c.index),
                  static_cast<float>(c.bits) / 16777216.0f)
            << c.x << ", " << c.y << ", " << c.index;
    }
}

TEST(BlendMath, dissolveKeepsTheShareOfPixelsThatAlphaNames) {
    for (const float alpha : {0.1f, 0.5f, 0.9f}) {
        int kept = 0;
        for (std::int32_t y = 0; y < 256; ++y) {
            for (std::int32_t x = 0; x < 256; ++x) {
                const PremultipliedColor c =
                    BlendMath::dissolve({alpha, 0.5f * alpha, 0, alpha}, x, y, 5);
                if (c.alpha == 0) {
                    EXPECT_EQ(c, nothing);
                    continue;
                }
                ++kept;
                EXPECT_EQ(c, (PremultipliedColor{1, 0.5f, 0, 1}));
            }
        }
        EXPECT_NEAR(kept / 65536.0, alpha, 0.01);
    }
    EXPECT_EQ(BlendMath::dissolve({1, 1, 1, 0}, 0, 0, 0), nothing);
    EXPECT_EQ(BlendMath::dissolve({1, 1, 1, -1}, 0, 0, 0), nothing);
    EXPECT_EQ(BlendMath::dissolve({1, 1, 1, 1}, 1, 0, 0).alpha, 1);
}

} // namespace ombrel
