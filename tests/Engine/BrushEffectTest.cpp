// What brushes do to the pixels that are there, against the formulas in double.
#include "Core/TransferFunction.h"
#include "Engine/KernelScene.h"
#include "Engine/Kernels/SimdTargets.h"
#include "Engine/StrokeScene.h"
#include "TestSeed.h"

#include <array>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

using Color = std::array<double, 4>;

Color colorOf(const PremultipliedColor& c) {
    return {static_cast<double>(c.red), static_cast<double>(c.green), static_cast<double>(c.blue),
            static_cast<double>(c.alpha)};
}

double encoded(double x) {
    return static_cast<double>(TransferFunction::encode(static_cast<float>(x)));
}
double decoded(double x) {
    return static_cast<double>(TransferFunction::decode(static_cast<float>(x)));
}

double lumaOf(const Color& c) {
    return 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2];
}

/// `change` of the straight encoded channels, back as premultiplied linear ones.
Color onEncoded(const Color& c, const std::function<void(Color&)>& change) {
    if (c[3] <= 0) return c;
    Color e = c;
    for (int i = 0; i < 3; ++i)
        e[i] = encoded(c[i] / c[3]);
    change(e);
    for (int i = 0; i < 3; ++i)
        e[i] = decoded(e[i]) * c[3];
    return e;
}

class EffectTest : public testing::Test {
protected:
    static constexpr float alpha = 0.6f;

    /// A tile of random pixels and one of a colour beside it, below a dab that covers both.
    EffectTest() : maker_(testSeed(), false) {
        TileBuffer buffer = scene.store->acquireBuffer(TileFormat::rgba16Float);
        std::memcpy(buffer.bytes(), maker_.tile().data(), buffer.size());
        scene.target.original.set({0, 0}, scene.store->makeTile(std::move(buffer)));
        scene.target.original.set({1, 0}, PremultipliedColor{0.5f, 0.25f, 0.125f, 0.75f});
        scene.target.bounds = {0, 0, 400, 300};
    }

    Color original(std::int64_t x, std::int64_t y) const {
        x = std::clamp<std::int64_t>(x, 0, 399);
        y = std::clamp<std::int64_t>(y, 0, 299);
        return colorOf(scene.target.original.color(x, y));
    }

    /// Pixels inside the dab against the judge, others against the original.
    void compare(const std::function<Color(std::int64_t, std::int64_t)>& judge, double tolerance) {
        SCOPED_TRACE(testSeed());
        for (const Kernels::SimdTarget& target : Kernels::simdTargets()) {
            SCOPED_TRACE(target.name);
            const Kernels::SimdTargetOverride scope(target);
            const TileGrid result =
                scene.painted({{.x = 250, .y = 60, .radius = 120, .hardness = 1, .alpha = alpha}});
            for (int i = 0; i < 2000; ++i) {
                const auto x = static_cast<std::int64_t>(maker_.below(400));
                const auto y = static_cast<std::int64_t>(maker_.below(i % 4 == 0 ? 4 : 300));
                const double distance =
                    std::hypot(static_cast<double>(x) - 249.5, static_cast<double>(y) - 59.5);
                if (std::fabs(distance - 120) < 1.5) continue;
                const Color expected = distance < 120 ? judge(x, y) : original(x, y);
                const Color found = colorOf(result.color(x, y));
                for (int c = 0; c < 4; ++c)
                    ASSERT_NEAR(found[c], expected[c], distance < 120 ? tolerance : 0)
                        << x << " " << y << " channel " << c;
            }
        }
    }

    StrokeScene scene;
    PixelMaker maker_;
};

double weightOf(ToneRange range, double y) {
    y = std::clamp(y, 0.0, 1.0);
    switch (range) {
    case ToneRange::shadows:
        return 1 - y * y * (3 - 2 * y);
    case ToneRange::midtones:
        return 16 * y * y * (1 - y) * (1 - y);
    case ToneRange::highlights:
        return y * y * (3 - 2 * y);
    }
    return 0;
}

} // namespace

TEST_F(EffectTest, dodgeAndBurnFollowTheirToneRange) {
    for (const ToneRange range : {ToneRange::shadows, ToneRange::midtones, ToneRange::highlights}) {
        for (const bool dodges : {true, false}) {
            if (dodges) {
                scene.style.effect = BrushEffect{BrushEffect::Dodge{range, 0.7f}};
            } else {
                scene.style.effect = BrushEffect{BrushEffect::Burn{range, 0.7f}};
            }
            compare(
                [&](std::int64_t x, std::int64_t y) {
                    return onEncoded(original(x, y), [&](Color& e) {
                        const double gain = 0.6 / 2 * 0.7 * weightOf(range, lumaOf(e));
                        for (int i = 0; i < 3; ++i)
                            e[i] += dodges ? gain * std::max(1 - e[i], 0.0)
                                           : -gain * std::max(e[i], 0.0);
                    });
                },
                0.0008);
        }
    }
}

TEST_F(EffectTest, spongeMovesSaturation) {
    for (const bool saturate : {false, true}) {
        for (const bool vibrance : {false, true}) {
            scene.style.effect = BrushEffect{BrushEffect::Sponge{saturate, vibrance}};
            compare(
                [&](std::int64_t x, std::int64_t y) {
                    return onEncoded(original(x, y), [&](Color& e) {
                        const double high = std::max({e[0], e[1], e[2]});
                        const double low = std::min({e[0], e[1], e[2]});
                        const double s = high > 1e-6 ? 1 - low / high : 0;
                        const double luma = lumaOf(e);
                        const double v = !vibrance ? 1 : saturate ? 1 - s : s;
                        double factor = saturate ? 1 + 0.6 * v : 1 - 0.6 * v;
                        if (saturate && high > low) {
                            const double most = std::min((1 - luma) / std::max(high - luma, 1e-6),
                                                         luma / std::max(luma - low, 1e-6));
                            factor = std::min(factor, std::max(most, 1.0));
                        }
                        for (int i = 0; i < 3; ++i)
                            e[i] = luma + (e[i] - luma) * factor;
                    });
                },
                0.0008);
        }
    }
}

namespace {

constexpr std::array<double, 5> binomial{1.0 / 16, 4.0 / 16, 6.0 / 16, 4.0 / 16, 1.0 / 16};

} // namespace

TEST_F(EffectTest, blurMixesInTheNeighbours) {
    scene.style.effect = BrushEffect{BrushEffect::Blur{0.75f}};
    compare(
        [&](std::int64_t x, std::int64_t y) {
            Color result = original(x, y);
            for (double& channel : result)
                channel *= 1 - 0.6 * 0.75;
            for (int j = 0; j < 5; ++j) {
                for (int i = 0; i < 5; ++i) {
                    const Color c = original(x + i - 2, y + j - 2);
                    for (std::size_t k = 0; k < 4; ++k)
                        result[k] += 0.6 * 0.75 * binomial[static_cast<std::size_t>(i)] *
                                     binomial[static_cast<std::size_t>(j)] * c[k];
                }
            }
            return result;
        },
        0.0008);
}

TEST_F(EffectTest, sharpeningStaysWithinWhatIsAround) {
    scene.style.effect = BrushEffect{BrushEffect::Sharpen{0.9f}};
    compare(
        [&](std::int64_t x, std::int64_t y) {
            const Color o = original(x, y);
            if (o[3] <= 0) return o;
            Color mean{};
            Color low;
            Color high;
            for (std::size_t k = 0; k < 3; ++k)
                low[k] = high[k] = o[k] / o[3];
            for (int j = 0; j < 5; ++j) {
                for (int i = 0; i < 5; ++i) {
                    const Color c = original(x + i - 2, y + j - 2);
                    for (std::size_t k = 0; k < 4; ++k)
                        mean[k] += binomial[static_cast<std::size_t>(i)] *
                                   binomial[static_cast<std::size_t>(j)] * c[k];
                    const bool isNear = i >= 1 && i <= 3 && j >= 1 && j <= 3;
                    for (std::size_t k = 0; isNear && c[3] > 0 && k < 3; ++k) {
                        low[k] = std::min(low[k], c[k] / c[3]);
                        high[k] = std::max(high[k], c[k] / c[3]);
                    }
                }
            }
            Color result = o;
            for (std::size_t k = 0; k < 3; ++k) {
                const double straight = o[k] / o[3];
                const double sharp = straight + (straight - mean[k] / mean[3]) * 0.6 * 0.9;
                result[k] = std::clamp(sharp, low[k], high[k]) * o[3];
            }
            return result;
        },
        0.0008);
}

TEST_F(EffectTest, cloneTakesThePixelAtItsOffset) {
    for (const auto& [dx, dy] : {std::pair{-37, 15}, {256, 0}, {5, -300}}) {
        scene.style.clone = CloneSource{.pixels = scene.target.original, .dx = dx, .dy = dy};
        const TileGrid& pixels = scene.style.clone->pixels;
        compare(
            [&, dx = dx, dy = dy](std::int64_t x, std::int64_t y) {
                const Color o = original(x, y);
                const Color c = colorOf(pixels.color(x + dx, y + dy));
                Color result;
                for (std::size_t k = 0; k < 4; ++k)
                    result[k] = 0.6 * c[k] + o[k] * (1 - 0.6 * c[3]);
                return result;
            },
            0.0008);
    }
}

} // namespace ombrel
