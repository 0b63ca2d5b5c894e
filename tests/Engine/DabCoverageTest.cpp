#include "Engine/Kernels/BrushAccumulate.h"

#include "Engine/DabReference.h"
#include "Engine/Kernels/SimdTargets.h"
#include "TestSeed.h"

#include <array>
#include <fmt/core.h>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace ombrel {

using namespace Kernels;

namespace {

class Mask {
public:
    explicit Mask(std::int32_t originX = 0, std::int32_t originY = 0)
        : values_(static_cast<float*>(::operator new(sizeof(float) * 65536, std::align_val_t{64}))),
          originX_(originX), originY_(originY) {
        std::fill_n(values_, 65536, 0.0f);
    }
    ~Mask() { ::operator delete(values_, std::align_val_t{64}); }
    Mask(const Mask&) = delete;
    Mask& operator=(const Mask&) = delete;

    void lay(const GPUDab& dab, float spacingFactor = 0) {
        BrushPassParams params;
        params.spacingFactor = spacingFactor;
        const GPUBrushTile tile{.mask = reinterpret_cast<std::uintptr_t>(values_),
                                .origin = {originX_, originY_},
                                .dabStart = 0,
                                .dabCount = 1};
        std::array<ColumnSpan, 256> touched{};
        accumulateRows({.params = &params, .tile = &tile, .dabs = {&dab, 1}, .touched = touched});
    }
    float at(int x, int y) const { return values_[y * 256 + x]; }

private:
    float* values_;
    std::int32_t originX_;
    std::int32_t originY_;
};

struct Worst {
    double error = 0;
    std::string where;

    void add(double found, double expected, const GPUDab& dab, int x, int y) {
        const double distance = std::fabs(found - expected);
        if (distance <= error) return;
        error = distance;
        where =
            fmt::format("({}, {}) is {} instead of {}; radius {} hardness {} roundness {} angle "
                        "{} at ({}, {})",
                        x, y, found, expected, dab.radius, dab.hardness, dab.roundness, dab.angle,
                        dab.center[0], dab.center[1]);
    }
};

class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    float between(float low, float high) {
        return low + (high - low) * static_cast<float>(engine_() >> 40) * 0x1p-24f;
    }
    int below(int n) { return static_cast<int>(engine_() % static_cast<std::uint64_t>(n)); }

private:
    std::mt19937_64 engine_;
};

/// Pixels around the dab's edges, where there is something to get wrong.
void comparePixels(const Mask& mask, const GPUDab& dab, int count, Random& random, Worst& worst) {
    const DabReference reference{dab};
    for (int i = 0; i < count; ++i) {
        const float angle = random.between(0, 6.2832f);
        const float t = random.between(0, 1) + 0.5f / dab.radius;
        const float along = t * dab.radius * std::cos(angle);
        const float across = t * dab.radius * dab.roundness * std::sin(angle);
        const float cosine = std::cos(dab.angle);
        const float sine = std::sin(dab.angle);
        const float jitter = random.between(-2, 2);
        const int x =
            static_cast<int>(std::floor(dab.center[0] + along * cosine - across * sine + jitter));
        const int y =
            static_cast<int>(std::floor(dab.center[1] + along * sine + across * cosine - jitter));
        if (x < 0 || y < 0 || x > 255 || y > 255) continue;
        worst.add(static_cast<double>(mask.at(x, y)), reference.coverage(x, y, 32), dab, x, y);
    }
}

GPUDab randomDab(Random& random) {
    const float radius = std::exp2(random.between(-1.7f, 9));
    const float reach = std::min(radius, 120.0f);
    const float hardness = random.below(4) == 0 ? 1 : random.between(0, 1);
    return {.center = {128 + random.between(-reach, reach), 128 + random.between(-reach, reach)},
            .radius = radius,
            .hardness = random.below(6) == 0 ? 0 : hardness,
            .alpha = 1};
}

template <typename Body>
void onEveryTarget(Body body) {
    for (const SimdTarget& target : simdTargets()) {
        SCOPED_TRACE(target.name);
        const SimdTargetOverride scope(target);
        body();
    }
}

} // namespace

TEST(DabCoverage, isTheMeanOfTheProfileOverEachPixel) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    onEveryTarget([&] {
        Random random(seed);
        Worst worst;
        for (int i = 0; i < 150; ++i) {
            const GPUDab dab = randomDab(random);
            Mask mask;
            mask.lay(dab);
            comparePixels(mask, dab, 60, random, worst);
        }
        EXPECT_LT(worst.error, 0.012) << worst.where;
    });
}

TEST(DabCoverage, isThatOfTheTurnedEllipse) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    onEveryTarget([&] {
        Random random(seed);
        Worst worst;
        for (int i = 0; i < 150; ++i) {
            GPUDab dab = randomDab(random);
            dab.roundness = random.between(0.05f, 1);
            dab.angle = random.between(-7, 7);
            Mask mask;
            mask.lay(dab);
            comparePixels(mask, dab, 60, random, worst);
        }
        EXPECT_LT(worst.error, 0.03) << worst.where;
    });
}

} // namespace ombrel
