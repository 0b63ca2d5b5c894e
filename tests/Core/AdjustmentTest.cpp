#include "Core/Adjustment.h"

#include <gtest/gtest.h>

namespace ombrel {
namespace {

TEST(Adjustment, isIdentityOnlyWhereItChangesNothing) {
    EXPECT_TRUE((Adjustment{Adjustment::Levels{}}).isIdentity());
    for (const std::string_view prefix : LevelsMath::channelPrefixes) {
        for (const LevelsMath::ValueName& each : LevelsMath::values) {
            Adjustment::Levels levels;
            const std::string key = std::string(prefix) + '.' + std::string(each.name);
            levels.params.values[key] = {2.5};
            EXPECT_FALSE(Adjustment{levels}.isIdentity()) << key;
            EXPECT_EQ(LevelsMath::channelOf(levels.params, prefix).*each.member, 2.5) << key;
        }
    }
    EXPECT_TRUE((Adjustment{Adjustment::BrightnessContrast{}}).isIdentity());
    EXPECT_FALSE((Adjustment{Adjustment::BrightnessContrast{0, 1}}).isIdentity());
    EXPECT_TRUE((Adjustment{HueSaturation{}}).isIdentity());
    EXPECT_FALSE((Adjustment{HueSaturation{.colorize = true}}).isIdentity());
    EXPECT_FALSE((Adjustment{Adjustment::Invert{}}).isIdentity());
    EXPECT_EQ((Adjustment{Adjustment::Desaturate{}}).name(), "Desaturate");
}

} // namespace
} // namespace ombrel
