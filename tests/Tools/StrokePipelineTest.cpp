#include "TestSeed.h"
#include "Tools/BrushDabGenerator.h"
#include "Tools/StrokeInterpolator.h"
#include "Tools/StrokeSmoother.h"

#include <array>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace ombrel {

namespace {

using Points = std::vector<StrokePoint>;
using Dabs = std::vector<BrushDab>;

template <typename T>
void append(std::vector<T>& all, const std::vector<T>& more) {
    all.insert(all.end(), more.begin(), more.end());
}

StrokePoint at(double x, double y, float pressure = 1) {
    return {{x, y}, pressure, {}};
}

double distance(const StrokePoint& a, const StrokePoint& b) {
    return std::hypot(b.position.x - a.position.x, b.position.y - a.position.y);
}

Points interpolated(StrokeInterpolator interpolator, const Points& through) {
    Points all;
    for (const StrokePoint& point : through)
        append(all, interpolator.add(point));
    append(all, interpolator.finish());
    return all;
}

Dabs dabsOf(const BrushTip& tip, std::uint64_t seed, const Points& points) {
    return BrushDabGenerator(tip, seed).dabs(points);
}

/// A whole stroke as a tool drives it.
Dabs strokeDabs(const BrushTip& tip, std::uint64_t seed, double spacing, double smoothing,
                const Points& samples) {
    StrokeSmoother smoother(smoothing);
    StrokeInterpolator interpolator(spacing);
    BrushDabGenerator generator(tip, seed);
    Dabs all = generator.dabs(interpolator.start(smoother.begin(samples.front())));
    for (std::size_t i = 1; i < samples.size(); ++i)
        if (const auto point = smoother.add(samples[i]))
            append(all, generator.dabs(interpolator.add(*point)));
    if (const auto end = smoother.finish()) append(all, generator.dabs(interpolator.add(*end)));
    append(all, generator.dabs(interpolator.finish()));
    return all;
}

BrushTip everythingVaries() {
    BrushTip tip;
    tip.diameter = 20;
    tip.flow = 0.9;
    tip.angle = 30;
    tip.roundness = 0.7;
    tip.pressureControlsOpacity = true;
    tip.shape = {.enabled = true,
                 .sizeJitter = 0.4,
                 .sizeControl = DynamicsControl::penPressure,
                 .minimumDiameter = 0.2,
                 .angleJitter = 0.3,
                 .angleControl = DynamicsControl::direction,
                 .roundnessJitter = 0.5,
                 .roundnessControl = DynamicsControl::penTilt,
                 .minimumRoundness = 0.25,
                 .fadeSteps = 25};
    tip.scattering = {
        .enabled = true, .amount = 0.8, .bothAxes = true, .count = 3, .countJitter = 0.6};
    tip.transfer = {.enabled = true,
                    .opacityJitter = 0.3,
                    .flowJitter = 0.4,
                    .flowControl = DynamicsControl::fade};
    return tip;
}

/// FNV-1a over the floats of dabs that vary, little-endian.
std::uint64_t digestOf(const Dabs& dabs) {
    std::uint64_t digest = 0xcbf29ce484222325;
    for (const BrushDab& dab : dabs)
        for (const float value :
             {dab.x, dab.y, dab.radius, dab.hardness, dab.alpha, dab.angle, dab.roundness})
            for (int byte = 0; byte < 4; ++byte)
                digest = (digest ^ ((std::bit_cast<std::uint32_t>(value) >> (8 * byte)) & 0xFF)) *
                         0x100000001b3;
    return digest;
}

Points randomSamples(std::mt19937_64& random, int count) {
    std::uniform_real_distribution<double> step(-15, 15);
    std::uniform_real_distribution<float> pressure(0, 1);
    std::uniform_real_distribution<double> tilt(-1, 1);
    Points samples{at(0, 0, pressure(random))};
    for (int i = 1; i < count; ++i) {
        const RealPoint before = samples.back().position;
        samples.push_back({{before.x + step(random), before.y + step(random)},
                           pressure(random),
                           {tilt(random), tilt(random)}});
    }
    return samples;
}

} // namespace

// The numbers here were computed by another program, written apart from this one.

TEST(BrushRandom, drawsTheSequenceThatIsPublished) {
    BrushRandom random{1234567};
    for (const std::uint64_t expected :
         {6457827717110365317ULL, 3203168211198807973ULL, 9817491932198370423ULL,
          4593380528125082431ULL, 16408922859458223821ULL})
        EXPECT_EQ(random.nextBits(), expected);
    random = {0};
    for (const double expected : {0x1.c4415072f63b9p-1, 0x1.b9e279aa86e58p-2, 0x1.b117462002500p-6})
        EXPECT_EQ(random.next(), expected);
}

TEST(StrokePipeline, makesTheVeryDabsThatOtherArithmeticMakes) {
    const Points samples{{{10, 10}, 0.2F, {0.1, 0}},     {{14, 12}, 0.4F, {0.1, 0.1}},
                         {{30, 25}, 0.9F, {0.2, 0.1}},   {{31, 60}, 0.7F, {-0.3, 0.2}},
                         {{5, 62.5}, 0.3F, {-0.4, 0.5}}, {{-20.25, 40}, 0.02F, {0, 0}}};
    BrushTip varied = everythingVaries();
    BrushTip plain = varied;
    plain.shape = {};
    plain.scattering = {};
    plain.transfer = {};
    BrushTip line = varied;
    line.shape.angleControl = DynamicsControl::initialDirection;
    line.shape.sizeControl = DynamicsControl::fade;
    line.shape.fadeSteps = 10;
    line.transfer.flowControl = DynamicsControl::penPressure;
    line.scattering.bothAxes = false;
    line.scattering.count = 1;

    const Dabs plainDabs = strokeDabs(plain, 0x1234, 3.5, 6, samples);
    ASSERT_EQ(plainDabs.size(), 32U);
    EXPECT_EQ(plainDabs[1].x, 13.0936499F);
    EXPECT_EQ(plainDabs[1].y, 11.6359215F);
    EXPECT_EQ(plainDabs[1].alpha, 0.386424482F);
    EXPECT_EQ(digestOf(plainDabs), 0xffded83fad01498);
    const Dabs variedDabs = strokeDabs(varied, 0x1234, 3.5, 6, samples);
    ASSERT_EQ(variedDabs.size(), 83U);
    EXPECT_EQ(variedDabs.front().x, 10.2989197F);
    EXPECT_EQ(variedDabs.front().angle, -0.80116868F);
    EXPECT_EQ(digestOf(variedDabs), 0x97fb5b2828fc3f78);
    EXPECT_EQ(digestOf(strokeDabs(line, 0x1234, 3.5, 6, samples)), 0x5e75ed186ce00ac4);
}

TEST(StrokePipeline, dabsDoNotDependOnHowPointsWereBatched) {
    std::mt19937_64 random(testSeed());
    for (int round = 0; round < 50; ++round) {
        const Points samples = randomSamples(random, 40);
        const BrushTip tip = everythingVaries();
        const Points points = interpolated(StrokeInterpolator(2.5), samples);
        const Dabs whole = dabsOf(tip, 7, points);
        BrushDabGenerator generator(tip, 7);
        Dabs pieces;
        for (std::size_t from = 0; from < points.size();) {
            const std::size_t count = std::min(points.size() - from, random() % 9);
            append(pieces, generator.dabs(std::span(points).subspan(from, count)));
            from += count;
        }
        ASSERT_EQ(pieces, whole);
        ASSERT_NE(dabsOf(tip, 8, points), whole) << "the seed counts";
    }
}

TEST(StrokeSmoother, pullsTheBrushAlongOnATautString) {
    StrokeSmoother smoother(10);
    smoother.begin(at(0, 0, 0.1F));
    EXPECT_FALSE(smoother.add(at(0, 10))) << "just not taut";
    EXPECT_EQ(smoother.add(at(0, 12, 0.7F)), at(0, 2, 0.7F));
    EXPECT_EQ(smoother.add(at(30, 2)), at(20, 2));
    EXPECT_EQ(smoother.finish(), at(30, 2)) << "the real end";
    EXPECT_FALSE(smoother.finish());
    smoother.begin(at(5, 5));
    smoother.add(at(5.2, 5.4));
    EXPECT_FALSE(smoother.finish()) << "half a pixel away";
    StrokeSmoother loose(-3);
    EXPECT_EQ(loose.length(), 0);
    EXPECT_EQ(loose.add(at(1, 1)), at(1, 1));
    EXPECT_EQ(loose.add(at(1, 1.1)), at(1, 1.1));
}

TEST(StrokeInterpolator, aClickIsOnePoint) {
    StrokeInterpolator interpolator(5);
    EXPECT_EQ(interpolator.start(at(3, 4)), Points{at(3, 4)});
    EXPECT_TRUE(interpolator.add(at(3.2, 4.2)).empty()) << "a tremble";
    EXPECT_TRUE(interpolator.finish().empty());
}

TEST(StrokeInterpolator, aStrokeShorterThanTheSpacingIsItsFirstPoint) {
    EXPECT_EQ(interpolated(StrokeInterpolator(100), {at(0, 0), at(20, 5), at(40, 0)}).size(), 1U);
    EXPECT_EQ(StrokeInterpolator(0.01).spacing(), 0.25);
}

TEST(StrokeInterpolator, pointsLieAtExactSpacingAlongALine) {
    const double spacing = 3.7;
    const Points points =
        interpolated(StrokeInterpolator(spacing),
                     {at(0, 0, 0), at(3, 4), at(30, 40), at(33, 44), at(60, 80, 1)});
    ASSERT_EQ(points.size(), 1 + static_cast<std::size_t>(100 / spacing));
    for (std::size_t i = 0; i < points.size(); ++i) {
        EXPECT_NEAR(distance(points.front(), points[i]), spacing * static_cast<double>(i), 1e-9);
        EXPECT_NEAR(points[i].position.y * 3, points[i].position.x * 4, 1e-9);
    }
}

TEST(StrokeInterpolator, curvesAreFollowedAtAnEvenPace) {
    Points around;
    for (int i = 0; i <= 60; ++i) // the pointer's pace is uneven
        around.push_back(at(200 * std::cos(0.001 * i * i), 200 * std::sin(0.001 * i * i)));
    const Points points = interpolated(StrokeInterpolator(5), around);
    EXPECT_NEAR(static_cast<double>(points.size()), 200 * 3.6 / 5, 2);
    for (std::size_t i = 1; i < points.size(); ++i) {
        EXPECT_NEAR(distance(points[i - 1], points[i]), 5, 0.02);
        EXPECT_NEAR(std::hypot(points[i].position.x, points[i].position.y), 200, 0.2);
    }
}

TEST(StrokeInterpolator, pressureAndTiltGoAlong) {
    Points samples;
    for (const double x : {0.0, 50.0, 100.0, 150.0})
        samples.push_back({{x, 0}, static_cast<float>(x / 150), {x / 150, 1 - x / 150}});
    int looked = 0;
    for (const StrokePoint& point : interpolated(StrokeInterpolator(1), samples)) {
        const double x = point.position.x;
        if (x < 50 || x > 100) continue; // the curve's pace is even between equal chords
        ++looked;
        EXPECT_NEAR(static_cast<double>(point.pressure), x / 150, 0.01);
        EXPECT_NEAR(point.tilt.x, x / 150, 0.01);
        EXPECT_NEAR(point.tilt.y, 1 - point.tilt.x, 1e-6);
    }
    EXPECT_GE(looked, 50);
}

TEST(BrushDabGenerator, aPenThatBarelyTouchesLeavesAMark) {
    BrushTip tip;
    tip.pressureControlsOpacity = true;
    const Dabs dabs = dabsOf(tip, 1, {at(0, 0, 0)});
    ASSERT_EQ(dabs.size(), 1U);
    EXPECT_FLOAT_EQ(dabs[0].radius, 0.05F * 15);
    EXPECT_FLOAT_EQ(dabs[0].alpha, 0.05F);
}

TEST(BrushDabGenerator, fadesWithinItsStepsAndStaysThere) {
    BrushTip tip;
    tip.shape = {.enabled = true,
                 .sizeControl = DynamicsControl::fade,
                 .minimumDiameter = 0.2,
                 .angleControl = DynamicsControl::fade};
    const Dabs dabs = dabsOf(tip, 1, Points(40, at(0, 0)));
    EXPECT_FLOAT_EQ(dabs[0].radius, 15);
    EXPECT_FLOAT_EQ(dabs[0].angle, 0);
    EXPECT_GT(dabs[24].radius, 3.1F);
    for (std::size_t i = 25; i < dabs.size(); ++i) {
        EXPECT_FLOAT_EQ(dabs[i].radius, 3);
        EXPECT_FLOAT_EQ(dabs[i].angle, 6.2831853F);
    }
}

TEST(BrushDabGenerator, scattersAtLeastOneDabAndDrawsNothingWithoutNeed) {
    BrushTip tip;
    tip.scattering = {.enabled = true, .amount = 0, .count = 2, .countJitter = 1};
    for (std::uint64_t seed = 0; seed < 200; ++seed) {
        const std::size_t count = dabsOf(tip, seed, {at(0, 0)}).size();
        EXPECT_TRUE(count == 1 || count == 2);
    }
    // Without amount and count there is nothing to scatter: the sequence is that of before.
    BrushTip jittered;
    jittered.shape = {.enabled = true, .sizeJitter = 1};
    BrushTip still = jittered;
    still.scattering.enabled = true;
    const Points points{at(0, 0), at(9, 0), at(20, 0)};
    EXPECT_EQ(dabsOf(still, 5, points), dabsOf(jittered, 5, points));
}

TEST(BrushDabGenerator, knowsNoDirectionBeforeTheFirstStep) {
    BrushTip tip;
    tip.angle = 90;
    tip.shape = {.enabled = true, .angleControl = DynamicsControl::direction};
    const Dabs dabs = dabsOf(tip, 1, {at(0, 0), at(0, 0), at(0, 5), at(-5, 5)});
    const std::array<float, 4> turns{0, 0, 1.5707964F, 3.1415927F};
    for (std::size_t i = 0; i < dabs.size(); ++i)
        EXPECT_NEAR(dabs[i].angle, turns.at(i) - 1.5707964F, 1e-6) << i;
    tip.shape.angleControl = DynamicsControl::initialDirection;
    EXPECT_NEAR(dabsOf(tip, 1, {at(0, 0), at(0, 5), at(-5, 5)})[2].angle, 0, 1e-6);
}

} // namespace ombrel
