#include "Tools/MoveTool.h"
#include "support/FakeToolContext.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

using Log = std::vector<std::string>;
constexpr PremultipliedColor red{1, 0, 0, 1};

PointerSample at(double x, double y, ToolModifiers modifiers = {}) {
    return {.location = {x, y}, .viewLocation = {x, y}, .modifiers = modifiers};
}

struct MoveToolTest : ::testing::Test {
    MoveToolTest() {
        document.layer("A").filled({0, 0, 50, 50}, red).mask().maskOffset(2, 3).active();
        a = document.lastID();
        document.group("G").layer("B").filled({60, 0, 50, 50}, red).mask();
        b = document.lastID();
        canvas.state = document.state();
        canvas.state.update(b, [](LayerNode& node) { node.writeMask()->isLinked = false; });
        canvas.selected = {a};
    }

    const PixelLayer& layer(LayerID id) const { return *canvas.state.find(id)->pixelLayer(); }
    void drag(const PointerSample& from, const PointerSample& to) {
        tool.pointerDown(from, canvas);
        tool.pointerDragged(to, canvas);
        tool.pointerUp(to, canvas);
    }

    TestDocument document{{200, 100}};
    LayerID a;
    LayerID b;
    FakeToolContext canvas;
    MoveTool tool;
};

} // namespace

TEST_F(MoveToolTest, movesLayersWithTheirLinkedMasks) {
    canvas.selected = {a, document.id("G")};
    drag(at(10, 10), at(15.6, 3));
    EXPECT_EQ(layer(a).offset, (PixelOffset{6, -7}));
    EXPECT_EQ(layer(a).mask->offset, (PixelOffset{8, -4}));
    EXPECT_EQ(layer(b).offset, (PixelOffset{6, -7})) << "in its group";
    EXPECT_EQ(layer(b).mask->offset, PixelOffset{}) << "not linked";
    EXPECT_EQ(canvas.log, Log{"commit Move"});
}

TEST_F(MoveToolTest, aClickAndAWayBackChangeNothing) {
    const DocumentState before = canvas.state;
    drag(at(10, 10), at(12, 11));
    EXPECT_TRUE(canvas.log.empty());
    tool.pointerDown(at(10, 10), canvas);
    tool.pointerDragged(at(90, 90), canvas);
    tool.pointerDragged(at(10.2, 10), canvas);
    tool.pointerUp(at(10.2, 10), canvas);
    EXPECT_EQ(canvas.log, Log{"cancel"});
    tool.pointerDown(at(10, 10), canvas);
    tool.pointerDragged(at(90, 90), canvas);
    tool.cancelGesture(canvas);
    tool.pointerUp(at(90, 90), canvas);
    EXPECT_EQ(canvas.log, (Log{"cancel", "cancel"}));
    EXPECT_EQ(canvas.state, before);
}

TEST_F(MoveToolTest, shiftConstrainsWheneverItIsPressed) {
    tool.pointerDown(at(10, 10), canvas);
    tool.pointerDragged(at(50, 20), canvas);
    tool.modifiersChanged(ToolModifiers::shift, canvas);
    EXPECT_EQ(layer(a).offset, (PixelOffset{40, 0}));
    tool.pointerDragged(at(50, -25, ToolModifiers::shift), canvas);
    EXPECT_EQ(layer(a).offset, (PixelOffset{40, -40})) << "along the diagonal";
    tool.modifiersChanged({}, canvas);
    EXPECT_EQ(layer(a).offset, (PixelOffset{40, -35}));
}

TEST_F(MoveToolTest, optionMovesCopies) {
    drag(at(10, 10, ToolModifiers::option), at(30, 10));
    EXPECT_EQ(layer(a).offset, PixelOffset{});
    ASSERT_EQ(canvas.state.allPixelLayers().size(), 3U);
    EXPECT_NE(canvas.state.activeLayerID, a);
    EXPECT_EQ(canvas.state.activePixelLayer()->offset, (PixelOffset{20, 0}));
    EXPECT_EQ(canvas.log, Log{"commit Duplicate Layers"});
}

TEST_F(MoveToolTest, refusesLockedLayersAndBusyDocuments) {
    canvas.state.update(
        b, [](LayerNode& node) { node.writeProperties().locks = LayerLocks::position; });
    canvas.selected = {document.id("G")};
    drag(at(10, 10), at(50, 10));
    EXPECT_EQ(canvas.log, Log{"The layer “B” is locked."}) << "once for a drag";
    EXPECT_EQ(layer(b).offset, PixelOffset{});
    canvas.selected = {a};
    canvas.isIdle = false;
    canvas.log.clear();
    drag(at(10, 10), at(50, 10));
    EXPECT_TRUE(tool.keyDown(ToolKey::left(), {}, canvas));
    EXPECT_EQ(canvas.log, (Log{"busy", "busy"}));
    canvas.selected.clear();
    canvas.state.activeLayerID.reset();
    canvas.isIdle = true;
    EXPECT_TRUE(tool.keyDown(ToolKey::left(), {}, canvas));
    EXPECT_EQ(canvas.log.back(), "Select a layer to move first.");
}

TEST_F(MoveToolTest, choosesWhatLiesUnderThePress) {
    std::vector<std::pair<LayerID, MoveTool::Choice>> chosen;
    tool.onChooseLayer = [&](LayerID id, MoveTool::Choice choice) {
        chosen.emplace_back(id, choice);
    };
    using enum MoveTool::Choice;
    canvas.hit = HitRecord{b, b, {70, 10}};
    tool.pointerDown(at(70, 10), canvas);
    tool.pointerDown(at(70, 10, ToolModifiers::shift), canvas);
    canvas.hit->layer = a;
    tool.pointerDown(at(10, 10), canvas);
    tool.pointerDown(at(10, 10, ToolModifiers::command), canvas);
    EXPECT_EQ(chosen, (std::vector<std::pair<LayerID, MoveTool::Choice>>{
                          {b, only}, {b, added}, {a, added}}));
    tool.setSettings({.autoSelect = false});
    tool.pointerDown(at(10, 10), canvas);
    EXPECT_EQ(chosen.size(), 3U);
    tool.pointerDown(at(10, 10, ToolModifiers::command), canvas);
    EXPECT_EQ(chosen.size(), 4U);
}

TEST_F(MoveToolTest, restoresOnlyWhatItUnderstands) {
    MoveTool other;
    tool.setSettings({false, HitKind::group});
    other.restoreSettings(tool.storedSettings());
    EXPECT_EQ(other.settings(), tool.settings());
    other.restoreSettings(Json{{"autoSelect", "yes"}, {"target", 7}});
    other.restoreSettings(Json());
    EXPECT_EQ(other.settings(), tool.settings());
}

} // namespace ombrel
