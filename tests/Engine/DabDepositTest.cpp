// How dabs add up, and the forms of dabs that are no smooth discs.
#include "Engine/KernelScene.h"
#include "Engine/Kernels/SimdTargets.h"
#include "Engine/StrokeScene.h"
#include "TestSeed.h"

#include <cmath>
#include <gtest/gtest.h>
#include <string>

namespace ombrel {

namespace {

/// The mask of a stroke as bytes, by its coordinates.
class Coverage {
public:
    Coverage(const std::vector<BrushDab>& dabs, const StrokeStyle& style,
             PixelRect bounds = {0, 0, 512, 512}) {
        StrokeScene scene;
        scene.target.bounds = bounds;
        StrokeRenderer renderer(scene.device, *scene.store, scene.target, style);
        EXPECT_TRUE(renderer.render(dabs).has_value());
        coverage_ = renderer.coverage().value_or(StrokeCoverage{});
    }
    int at(std::int64_t x, std::int64_t y) const {
        if (!coverage_.rect.contains(x, y)) return 0;
        return coverage_.bytes[static_cast<std::size_t>(
            (y - coverage_.rect.y) * coverage_.rect.width + x - coverage_.rect.x)];
    }
    /// Rows of '#' and '.', from the first to the last with anything.
    std::string picture(std::int64_t left, std::int64_t top, std::int64_t side) const {
        std::string text;
        for (std::int64_t y = top; y < top + side; ++y) {
            for (std::int64_t x = left; x < left + side; ++x)
                text += at(x, y) == 255 ? '#' : at(x, y) == 0 ? '.' : '?';
            text += '\n';
        }
        return text;
    }
    double sum() const {
        double sum = 0;
        for (const std::uint8_t byte : coverage_.bytes)
            sum += byte;
        return sum / 255;
    }
    const StrokeCoverage& value() const { return coverage_; }

private:
    StrokeCoverage coverage_;
};

std::vector<BrushDab> line(float radius, float alpha, float step) {
    std::vector<BrushDab> dabs;
    for (float x = 60; x < 440; x += step)
        dabs.push_back({.x = x, .y = 128.3f, .radius = radius, .hardness = 0.5f, .alpha = alpha});
    return dabs;
}

SharedBrushTip tipOf(std::int64_t width, std::int64_t height, auto byteAt) {
    BrushTipImage tip{.id = {}, .width = width, .height = height, .bytes = {}};
    for (std::int64_t y = 0; y < height; ++y) {
        for (std::int64_t x = 0; x < width; ++x)
            tip.bytes.push_back(byteAt(x, y));
    }
    return std::make_shared<const BrushTipImage>(std::move(tip));
}

constexpr auto solid = [](std::int64_t, std::int64_t) { return std::uint8_t{255}; };

} // namespace

// A dab alone brings its whole alpha, so that where dabs begin to reach a pixel, close ones bring a
// little more than those a quarter of the diameter apart.
TEST(DabDeposit, isNearlyTheSameLineAtAnySpacing) {
    for (const float alpha : {0.1f, 0.3f, 0.8f}) {
        for (const float radius : {20.0f, 60.0f}) {
            // Dabs far apart make scallops: what counts is the mean along the line.
            const auto across = [&](float spacing) {
                const Coverage found(line(radius, alpha, 2 * spacing * radius),
                                     {.spacing = spacing});
                std::vector<double> means;
                // The rims of far ones leave notches that close ones fill.
                const int reach = static_cast<int>(0.6f * radius);
                for (int y = 128 - reach; y < 128 + reach; ++y) {
                    double sum = 0;
                    for (int x = 200; x < 260; ++x)
                        sum += found.at(x, y);
                    means.push_back(sum / 60);
                }
                return means;
            };
            const std::vector<double> judge = across(0.25f);
            for (const float spacing : {0.02f, 0.05f, 0.12f}) {
                const std::vector<double> found = across(spacing);
                for (std::size_t i = 0; i < found.size(); ++i)
                    EXPECT_NEAR(found[i], judge[i], 22)
                        << alpha << " " << radius << " " << spacing << " " << i;
            }
        }
    }
}

TEST(DabDeposit, ofOneDabIsItsAlphaTimesItsCoverage) {
    const std::vector<BrushDab> dab{
        {.x = 100.3f, .y = 90.8f, .radius = 50, .hardness = 0.3f, .alpha = 0.6f}};
    const Coverage judge(dab, {});
    EXPECT_EQ(judge.at(100, 90), 153);
    for (const float spacing : {0.005f, 0.1f, 0.25f})
        EXPECT_EQ(Coverage(dab, {.spacing = spacing}).value(), judge.value()) << spacing;
}

TEST(DabDeposit, followsTheRuleOfItsSpacing) {
    const auto twice = [](std::optional<float> spacing) {
        const BrushDab dab{.x = 50, .y = 50, .radius = 20, .hardness = 1, .alpha = 0.5f};
        return Coverage({dab, dab}, {.spacing = spacing}).at(50, 50);
    };
    EXPECT_EQ(twice(std::nullopt), 191);
    EXPECT_EQ(twice(0.25f), 191);
    // 1 - (1 - 0.5) 0.5^k after a first dab of 0.5
    EXPECT_EQ(twice(0.125f), std::lround(255 * (1 - 0.5 * std::sqrt(0.5))));
    EXPECT_EQ(twice(0.5f), std::lround(255 * (1 - 0.25 * 0.25)));
}

TEST(DabDeposit, reachesFullCoverageAndNeverFalls) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    DabMaker maker(seed);
    for (const std::optional<float> spacing : {std::optional<float>(), {0.03f}, {0.9f}}) {
        StrokeScene scene;
        scene.style.spacing = spacing;
        StrokeRenderer renderer(scene.device, *scene.store, scene.target, scene.style);
        std::optional<StrokeCoverage> before;
        for (int round = 0; round < 30; ++round) {
            std::vector<BrushDab> dabs = maker.dabs(3, 60);
            dabs.push_back({.x = 0, .y = 0, .radius = 80, .hardness = 0.1f, .alpha = 1});
            ASSERT_TRUE(renderer.render(dabs).has_value());
            const std::optional<StrokeCoverage> after = renderer.coverage();
            if (before && before->rect == after->rect) {
                for (std::size_t i = 0; i < after->bytes.size(); ++i)
                    ASSERT_GE(after->bytes[i], before->bytes[i]);
            }
            before = after;
        }
        const auto middle =
            static_cast<std::size_t>(-before->rect.y * before->rect.width - before->rect.x);
        EXPECT_EQ(before->bytes[middle], 255);
    }
}

TEST(DabDeposit, ofPencilsAreTheSameWholePixelsEverywhere) {
    const auto disc = [](float x, float y, float diameter) {
        return Coverage({{.x = x, .y = y, .radius = diameter / 2, .aliased = true}}, {});
    };
    EXPECT_EQ(disc(20.01f, 20.99f, 1).picture(19, 19, 3), "...\n.#.\n...\n");
    EXPECT_EQ(disc(20.6f, 20.5f, 0.2f).picture(19, 19, 3), "...\n.#.\n...\n");
    EXPECT_EQ(disc(20.6f, 20.7f, 2).picture(19, 19, 4), "....\n.##.\n.##.\n....\n");
    EXPECT_EQ(disc(20.2f, 20.7f, 3).picture(19, 19, 3), ".#.\n###\n.#.\n");
    EXPECT_EQ(disc(20.6f, 20.7f, 4).picture(19, 19, 4), ".##.\n####\n####\n.##.\n");
    EXPECT_EQ(disc(20.2f, 20.7f, 5).picture(18, 18, 5), ".###.\n#####\n#####\n#####\n.###.\n");
    DabMaker maker(testSeed());
    for (const float diameter : {6.0f, 11.0f, 32.0f, 57.0f}) {
        const std::string judge = disc(128.25f, 128.25f, diameter).picture(90, 90, 77);
        for (int i = 0; i < 6; ++i) {
            const int x = maker.below(200);
            const int y = maker.below(200);
            const float inside = maker.between(-0.24f, 0.24f);
            const Coverage moved = disc(static_cast<float>(x) + 100.25f + inside,
                                        static_cast<float>(y) + 100.25f - inside, diameter);
            ASSERT_EQ(moved.picture(x + 62, y + 62, 77), judge) << diameter;
        }
    }
}

TEST(DabDeposit, ofThinDabsHasNoGaps) {
    for (const bool aliased : {false, true}) {
        for (const float shortRadius : {0.2f, 0.5f, 1.0f}) {
            for (float angle = 0; angle < 3.2f; angle += 0.37f) {
                const Coverage thin({{.x = 200.3f,
                                      .y = 200.4f,
                                      .radius = 80,
                                      .hardness = 0.8f,
                                      .aliased = aliased,
                                      .angle = angle,
                                      .roundness = shortRadius / 80}},
                                    {});
                // Across the line, at every place along it, there is as much as anywhere.
                for (float along = -60; along <= 60; along += 1) {
                    const float x = 200.3f + along * std::cos(angle);
                    const float y = 200.4f + along * std::sin(angle);
                    int sum = 0;
                    for (int dy = -2; dy <= 2; ++dy) {
                        for (int dx = -2; dx <= 2; ++dx)
                            sum += thin.at(std::lround(std::floor(x)) + dx,
                                           std::lround(std::floor(y)) + dy);
                    }
                    EXPECT_GT(sum, aliased ? 255 * 3 : 255 * 2.2f * shortRadius)
                        << aliased << " " << shortRadius << " " << angle << " " << along;
                }
            }
        }
    }
}

TEST(DabDeposit, ofATipIsItsPicture) {
    // 40 x 20, the left half full: at scale 1 the pixels themselves, turned and squeezed otherwise.
    const StrokeStyle style{.tip = tipOf(40, 20, [](std::int64_t x, std::int64_t) {
                                return static_cast<std::uint8_t>(x < 20 ? 255 : 51);
                            })};
    const BrushDab upright{.x = 100, .y = 100, .radius = 20, .hardness = 0};
    const Coverage plain({upright}, style);
    for (const auto& [x, y, expected] : {std::tuple{81, 91, 255},
                                         {98, 108, 255},
                                         {102, 100, 51},
                                         {118, 108, 51},
                                         {78, 100, 0},
                                         {122, 100, 0},
                                         {100, 88, 0},
                                         {100, 111, 0}})
        EXPECT_EQ(plain.at(x, y), expected) << x << " " << y;
    BrushDab turned = upright;
    turned.angle = 1.5707963f; // clockwise: the left side comes up
    const Coverage up({turned}, style);
    EXPECT_EQ(up.at(100, 85), 255);
    EXPECT_EQ(up.at(100, 115), 51);
    EXPECT_EQ(up.at(85, 100), 0);
    BrushDab flat = upright;
    flat.roundness = 0.25f;
    const Coverage squeezed({flat}, style);
    EXPECT_EQ(squeezed.at(90, 100), 255);
    EXPECT_EQ(squeezed.at(90, 104), 0);
    EXPECT_NEAR(squeezed.sum(), plain.sum() / 4, 12);
}

TEST(DabDeposit, ofATipKeepsItsAmountAtAnySize) {
    const StrokeStyle checker{.tip = tipOf(257, 257, [](std::int64_t x, std::int64_t y) {
                                  return static_cast<std::uint8_t>((x + y) % 2 * 255);
                              })};
    for (const float radius : {4.0f, 15.0f, 31.7f, 64.25f}) {
        const Coverage small({{.x = 150.2f, .y = 150.7f, .radius = radius, .angle = 0.6f}},
                             checker);
        EXPECT_NEAR(small.at(150, 150), 128, 3) << radius;
        EXPECT_NEAR(small.sum(), 2 * radius * radius, 0.06 * radius * radius) << radius;
    }
    // Enlarged, a step becomes a slope without steps of its own, and no rim is cut off.
    const Coverage large({{.x = 200, .y = 200, .radius = 120}},
                         {.tip = tipOf(12, 12, [](std::int64_t x, std::int64_t) {
                              return static_cast<std::uint8_t>(x < 6 ? 0 : 255);
                          })});
    for (int x = 160; x < 239; ++x) {
        EXPECT_LE(large.at(x, 200), large.at(x + 1, 200));
        EXPECT_LE(large.at(x + 1, 200) - large.at(x, 200), 12);
    }
    EXPECT_EQ(large.at(170, 200), 0);
    EXPECT_EQ(large.at(230, 200), 255);
    EXPECT_EQ(large.at(362, 200), 0);
    EXPECT_LT(large.at(350, 200), 12);
    // Corners stick out of the circle and are painted all the same.
    const Coverage corner({{.x = 255, .y = 255, .radius = 40, .angle = 0.78539816f}},
                          {.tip = tipOf(80, 80, solid)});
    EXPECT_EQ(corner.at(255, 255 - 53), 255);
    EXPECT_EQ(corner.at(255 + 53, 255), 255);
    EXPECT_EQ(corner.at(255 + 35, 255 + 35), 0);
}

TEST(DabDeposit, ofAFewPixelsOfATipEndsSoftlyWhicheverWayItIsTurned) {
    for (const std::int64_t side : {1, 2, 4, 12}) {
        const StrokeStyle style{.tip = tipOf(side, side, solid)};
        BrushDab dab{.x = 700, .y = 700, .radius = 60};
        const PixelRect bounds{0, 0, 1400, 1400};
        const Coverage upright({dab}, style, bounds);
        dab.angle = 0.78539816f;
        const Coverage turned({dab}, style, bounds);
        EXPECT_NEAR(turned.sum(), upright.sum(), 0.002 * upright.sum()) << side;
        for (const Coverage* found : {&upright, &turned}) {
            for (int y = 300; y < 700; ++y)
                EXPECT_LE(found->at(700, y + 1) - found->at(700, y), 24) << side << " " << y;
        }
    }
}

TEST(DabDeposit, ofSpeckleFollowsItsSeed) {
    const auto speckle = [](std::uint32_t seed, float grain) {
        return Coverage({{.x = 200,
                          .y = 200,
                          .radius = 90,
                          .hardness = 0,
                          .alpha = 1,
                          .speckle = grain,
                          .seed = seed}},
                        {});
    };
    EXPECT_EQ(speckle(7, 2).value(), speckle(7, 2).value());
    EXPECT_NE(speckle(7, 2).value(), speckle(8, 2).value());
    for (const float grain : {0.5f, 1.0f, 3.0f, 8.0f}) {
        const Coverage found = speckle(1, grain);
        double inner = 0;
        double outer = 0;
        for (int i = 0; i < 360; ++i) {
            const double angle = i * 0.017453;
            for (const double r : {8.0, 14.0, 20.0})
                inner += found.at(std::lround(200 + r * std::cos(angle)),
                                  std::lround(200 + r * std::sin(angle)));
            for (const double r : {60.0, 66.0, 72.0})
                outer += found.at(std::lround(200 + r * std::cos(angle)),
                                  std::lround(200 + r * std::sin(angle)));
        }
        EXPECT_GT(inner, 4 * outer) << grain;
        EXPECT_GT(inner / (3 * 360 * 255), 0.4) << grain;
        EXPECT_EQ(found.at(200, 295), 0);
    }
}

} // namespace ombrel
