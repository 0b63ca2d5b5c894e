#include "Editor/SessionFixture.h"
#include "support/FakeToolContext.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

using Log = SessionLog;

} // namespace

TEST(DocumentSessionTools, choosesLayers) {
    TestDocument document;
    document.layer("A").mask();
    const LayerID a = document.lastID();
    document.layer("B").active();
    const LayerID b = document.lastID();
    SessionFixture fixture(document.state());
    DocumentSession& session = *fixture.session;
    session._maskTargetID = a;
    EXPECT_EQ(session.maskTarget(), std::nullopt) << "not active";

    session.setActiveLayer(a);
    EXPECT_EQ(session._state->activeLayerID, a);
    EXPECT_EQ(*session._selectedLayerIDs, std::set{a});
    EXPECT_EQ(fixture.takeLog(), (Log{"display", "content"}));
    EXPECT_EQ(session._history->count(), 1);
    EXPECT_EQ(session.maskTarget(), a);

    session._selectedLayerIDs = std::set{a, b};
    session.setActiveLayer(b);
    EXPECT_EQ(*session._selectedLayerIDs, (std::set{a, b})) << "inside a multi-selection";
    EXPECT_EQ(session.maskTarget(), std::nullopt);
    session.setActiveLayer(a);
    EXPECT_EQ(session.maskTarget(), a) << "the old value, again";
    session._maskTargetID = b;
    session.setActiveLayer(b);
    EXPECT_EQ(session.maskTarget(), std::nullopt) << "without a mask";

    session.setActiveLayer(LayerID::make());
    session.beginLive();
    session.setActiveLayer(a);
    EXPECT_EQ(session._state->activeLayerID, b);
}

namespace {

struct FakeTool final : Tool {
    FakeTool(ToolKind of, bool leaves) : ownKind(of), maySwitch(leaves) {}
    ToolKind kind() const override { return ownKind; }
    ToolCursor currentCursor(ToolModifiers /*modifiers*/) const override {
        return ToolCursor::arrow;
    }
    void pointerDown(const PointerSample& /*sample*/, ToolContext& /*in*/) override {}
    bool mayLeave(ToolContext& /*in*/) override {
        ++asked;
        return maySwitch;
    }

    ToolKind ownKind;
    bool maySwitch;
    int asked = 0;
};

} // namespace

TEST(DocumentSessionTools, switchesToolsUnlessTheActiveOneRefuses) {
    SessionFixture fixture;
    ToolSet tools;
    for (const ToolKind kind : {ToolKind::brush, ToolKind::transform, ToolKind::pen})
        tools[kind] = std::make_unique<FakeTool>(kind, true);
    fixture.open(*fixture.session->_state, std::move(tools));
    DocumentSession& session = *fixture.session;
    int changes = 0;
    session.onToolChange = [&] { ++changes; };
    const auto context = std::make_shared<FakeToolContext>();

    session.setTool(ToolKind::transform);
    EXPECT_EQ(static_cast<FakeTool*>(session.tool())->asked, 0) << "no canvas to ask about";
    session.toolContext = context;
    session.setTool(ToolKind::pen);
    session.setTool(ToolKind::transform);
    EXPECT_EQ(*session._recentTools,
              (std::vector{ToolKind::transform, ToolKind::pen, ToolKind::brush}));
    EXPECT_EQ(session.tool()->kind(), ToolKind::transform);
    EXPECT_EQ(changes, 3);

    auto& transform = *static_cast<FakeTool*>(session.tool());
    transform.maySwitch = false;
    std::vector<ToolKind> told;
    const Connection telling = session._activeTool.onChange([&](ToolKind kind) {
        told.push_back(kind);
        session.setTool(kind); // as a toolbar that follows does
    });
    session.setTool(ToolKind::pen);
    EXPECT_EQ(told.front(), ToolKind::transform) << "put back where it was chosen";
    EXPECT_EQ(*session._activeTool, ToolKind::transform);
    EXPECT_EQ(transform.asked, 2);
}

TEST(DocumentSessionTools, takesAHiddenToolWithoutRememberingIt) {
    SessionFixture fixture;
    int changes = 0;
    fixture.session->onToolChange = [&] { ++changes; };
    fixture.session->setTool(ToolKind::remove);
    EXPECT_EQ(*fixture.session->_activeTool, ToolKind::remove);
    EXPECT_EQ(fixture.session->tool(), nullptr);
    EXPECT_EQ(*fixture.session->_recentTools, std::vector{ToolKind::brush});
    EXPECT_EQ(changes, 0);
}

TEST(DocumentSessionTools, tellsOfAnotherViewOnce) {
    SessionFixture fixture;
    int changes = 0;
    fixture.session->onViewChange = [&] { ++changes; };
    fixture.session->setViewTransform({.center = {3, 4}, .scale = 2});
    fixture.session->setViewTransform({.center = {3, 4}, .scale = 2});
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(fixture.session->_viewTransform->scale, 2);
}

} // namespace ombrel
