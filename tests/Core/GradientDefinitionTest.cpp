#include "Core/GradientDefinition.h"

#include <gtest/gtest.h>
#include <set>

namespace ombrel {
namespace {

TEST(GradientDefinition, theBuiltInOnesHaveTheirStops) {
    const auto all = GradientDefinition::builtIn();
    ASSERT_EQ(all.size(), 9u);
    EXPECT_EQ(all[0].name, "Foreground to Background");
    EXPECT_EQ(all[8].name, "Transparent Rainbow");
    std::set<Uuid> ids;
    for (const GradientDefinition& gradient : all) {
        EXPECT_TRUE(ids.insert(gradient.id).second);
        EXPECT_GE(gradient.colorStops.size(), 2u);
        EXPECT_GE(gradient.opacityStops.size(), 2u);
        for (const auto& stop : gradient.colorStops)
            EXPECT_TRUE(ids.insert(stop.id).second && stop.midpoint == 0.5);
        for (const auto& stop : gradient.opacityStops)
            EXPECT_TRUE(ids.insert(stop.id).second && stop.midpoint == 0.5);
    }
    const GradientDefinition& spectrum = *GradientDefinition::builtIn("Spectrum");
    ASSERT_EQ(spectrum.colorStops.size(), 7u);
    EXPECT_EQ(spectrum.colorStops[4].location, 2.0 / 3);
    const GradientDefinition& rainbow = *GradientDefinition::builtIn("Transparent Rainbow");
    EXPECT_EQ(rainbow.opacityStops.front().opacity, 0);
    EXPECT_EQ(rainbow.opacityStops.back().opacity, 0);
    EXPECT_EQ(GradientDefinition::builtIn("None such"), nullptr);
}

TEST(GradientDefinition, twoStopsOfEachKindAlwaysStay) {
    GradientDefinition gradient = *GradientDefinition::builtIn("Blue, Red, Yellow");
    EXPECT_FALSE(gradient.removeColorStop(Uuid{}));
    EXPECT_TRUE(gradient.removeColorStop(gradient.colorStops[1].id));
    EXPECT_FALSE(gradient.removeColorStop(gradient.colorStops[1].id));
    EXPECT_EQ(gradient.colorStops.size(), 2u);
    EXPECT_FALSE(gradient.removeOpacityStop(gradient.opacityStops[0].id));
}

} // namespace
} // namespace ombrel
