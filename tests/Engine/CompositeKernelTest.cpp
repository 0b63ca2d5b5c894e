#include "Engine/Kernels/CompositeKernel.h"

#include "Engine/KernelScene.h"
#include "Engine/Kernels/SimdTargets.h"
#include "TestSeed.h"

#include <gtest/gtest.h>

namespace ombrel {

using namespace Kernels;

namespace {

template <typename Body>
void onEveryTarget(Body body) {
    ASSERT_FALSE(simdTargets().empty());
    for (const SimdTarget& target : simdTargets()) {
        SCOPED_TRACE(target.name);
        const SimdTargetOverride scope(target);
        body();
    }
}

} // namespace

TEST(CompositeKernel, passesEveryHalfThroughUnchanged) {
    PixelTile tile(4 * pixelsPerTile);
    for (std::uint32_t i = 0; i < pixelsPerTile; ++i) {
        tile[4 * i] = static_cast<std::uint16_t>(i);
        tile[4 * i + 3] = toHalf(1).bits;
    }
    onEveryTarget([&] {
        KernelScene scene;
        GPULayerInput input;
        input.quad[0] = scene.refTo(tile);
        scene.add({}, input);
        const PixelTile output = composited(scene, false);
        for (std::uint32_t i = 0; i < pixelsPerTile; ++i) {
            const Half half{static_cast<std::uint16_t>(i)};
            ASSERT_EQ(orderOf(Half{output[4 * i]}), orderOf(half)) << i;
        }
    });
}

TEST(CompositeKernel, equalsTheJudgeInEveryModeToTheLastBitWhereLinear) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    onEveryTarget([&] {
        for (const BlendModeName& name : blendModeNames) {
            for (const bool clips : {false, true}) {
                PixelMaker maker(seed, true);
                const KernelScene scene = stackOf(name.mode, maker, 4, clips);
                const Comparison result = compared(scene, composited(scene, false), false, 7);
                EXPECT_EQ(result.worst, 0) << name.rawValue << " " << result.where;
            }
        }
    });
}

TEST(CompositeKernel, staysWithinOneHalfOfTheJudgeInEveryModeWherePerceptual) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    onEveryTarget([&] {
        for (const BlendModeName& name : blendModeNames) {
            for (const bool outOfGamut : {false, true}) {
                for (const bool clips : {false, true}) {
                    PixelMaker maker(seed, outOfGamut);
                    const KernelScene scene = stackOf(name.mode, maker, 4, clips);
                    const Comparison result = compared(scene, composited(scene, true), true, 5);
                    EXPECT_LE(result.worst, 1) << name.rawValue << " " << result.where << "; "
                                               << result.further << " pixels further than one";
                }
            }
        }
    });
}

TEST(CompositeKernel, runsRandomProgramsAsTheJudgeDoes) {
    const std::uint64_t seed = testSeed();
    onEveryTarget([&] {
        for (std::uint64_t round = 0; round < 12; ++round) {
            SCOPED_TRACE(seed + round);
            PixelMaker maker(seed + round, round % 2 == 0);
            const KernelScene scene = randomScene(maker, 4 + maker.below(24));
            const Comparison linear = compared(scene, composited(scene, false), false, 7);
            EXPECT_EQ(linear.worst, 0) << linear.where;
            const Comparison perceptual = compared(scene, composited(scene, true), true, 7);
            EXPECT_LE(perceptual.worst, 1)
                << perceptual.where << "; " << perceptual.further << " pixels further than one";
        }
    });
}

} // namespace ombrel
