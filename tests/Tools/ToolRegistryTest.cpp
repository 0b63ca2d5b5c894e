#include "Tools/ToolRegistry.h"

#include <gtest/gtest.h>

#include <set>

namespace ombrel {

using enum ToolKind;

TEST(ToolRegistry, makesAnObjectForEveryKind) {
    const ToolSet tools = ToolRegistry::makeTools();
    ASSERT_EQ(tools.size(), toolDescriptions.size());
    for (const auto& [kind, tool] : tools)
        EXPECT_EQ(tool->kind(), kind);
    EXPECT_EQ(tools.at(remove)->currentCursor({}), ToolCursor::forbidden);
    EXPECT_FALSE(ToolRegistry::isAvailable(*tools.at(remove)));
    EXPECT_TRUE(ToolRegistry::isAvailable(*tools.at(hand)));
}

TEST(ToolRegistry, offersEveryGroupAndTool) {
    std::vector<std::string_view> captions;
    std::multiset<ToolKind> offered(ungroupedTools.begin(), ungroupedTools.end());
    std::size_t inColumns = 0;
    for (const auto& column : toolColumns())
        inColumns += column.size();
    for (const ToolGroup& group : toolGroups()) {
        captions.push_back(group.id);
        for (const ToolKind kind : group.tools()) {
            offered.insert(kind);
            EXPECT_EQ(ToolRegistry::groupOf(kind), &group);
        }
    }
    EXPECT_EQ(captions, (std::vector<std::string_view>{"Move", "Select", "Smart Select", "Crop",
                                                       "Brush", "Eraser", "Fill", "Adjust", "Pen",
                                                       "Shape", "Text", "Eyedropper"}));
    EXPECT_EQ(inColumns, captions.size());
    EXPECT_EQ(offered.size(), std::set(offered.begin(), offered.end()).size());
    EXPECT_EQ(toolColumns()[2][1].sections[0].size(), 5U);
    EXPECT_EQ(ToolRegistry::groupOf(zoom), nullptr);
    EXPECT_EQ(ToolRegistry::groupOf(remove), nullptr);

    const std::set<ToolKind> listed(toolDisplayOrder.begin(), toolDisplayOrder.end());
    EXPECT_EQ(listed.size(), toolDescriptions.size() - 1);
    EXPECT_FALSE(listed.contains(remove));
}

TEST(ToolRegistry, aGroupLeavesHiddenToolsOut) {
    static constexpr std::array<ToolKind, 2> both{healingBrush, remove};
    static constexpr std::array<ToolGroup::Section, 1> sections{ToolGroup::Section(both)};
    EXPECT_EQ((ToolGroup{"Repair", sections}.tools()), std::vector{healingBrush});
}

TEST(ToolRegistry, cyclesThroughTheToolsOfALetter) {
    EXPECT_EQ(ToolRegistry::toolsForLetter('m'), (std::vector{marquee, ellipticalMarquee}));
    EXPECT_EQ(ToolRegistry::toolsForLetter('z'), std::vector{zoom});
    EXPECT_TRUE(ToolRegistry::toolsForLetter('q').empty());

    EXPECT_EQ(ToolRegistry::toolAfter(move, 'm', {}), marquee);
    EXPECT_EQ(ToolRegistry::toolAfter(marquee, 'm', {}), ellipticalMarquee);
    EXPECT_EQ(ToolRegistry::toolAfter(ellipticalMarquee, 'm', {}), marquee);
    EXPECT_EQ(ToolRegistry::toolAfter(move, 'm', {move, ellipticalMarquee}), ellipticalMarquee);
    EXPECT_EQ(ToolRegistry::toolAfter(move, 'q', {}), std::nullopt);
}

TEST(Tool, isBlockedByTheLocksOfItsKind) {
    const ToolSet tools = ToolRegistry::makeTools();
    EXPECT_EQ(tools.at(move)->blockingLocks().rawValue, 5);
    EXPECT_EQ(tools.at(crop)->blockingLocks().rawValue, 5);
    EXPECT_EQ(tools.at(marquee)->blockingLocks().rawValue, 0);
    EXPECT_EQ(tools.at(quickSelect)->blockingLocks().rawValue, 0);
}

} // namespace ombrel
