#include "Tools/ToolKind.h"

#include <gtest/gtest.h>

#include <set>

namespace ombrel {

TEST(ToolKind, isFoundByItsIdentifierOnly) {
    std::set<std::string_view> identifiers;
    for (const ToolDescription& tool : toolDescriptions) {
        EXPECT_EQ(toolKindNamed(tool.identifier), tool.kind);
        EXPECT_TRUE(identifiers.insert(tool.identifier).second) << tool.identifier;
    }
    EXPECT_EQ(toolKindNamed("Brush"), std::nullopt);
    EXPECT_EQ(toolKindNamed(""), std::nullopt);
}

TEST(ToolKind, isDescribedInTheOrderOfTheEnumeration) {
    EXPECT_EQ(descriptionOf(ToolKind::node).displayName, "Node Select");
    EXPECT_EQ(descriptionOf(ToolKind::node).letter, std::nullopt);
    EXPECT_EQ(descriptionOf(ToolKind::rotateView).icon, "rotate-cw");
    EXPECT_EQ(descriptionOf(ToolKind::rotateView).letter, 'r');
    EXPECT_TRUE(isHidden(ToolKind::remove));
    EXPECT_FALSE(isHidden(ToolKind::healingBrush));
}

} // namespace ombrel
