// Brushes in the window of a document, as a person uses them.
#include "App/Canvas/CanvasView.h"
#include "App/Screenshot.h"
#include "App/Shell/ShellFixture.h"
#include "Tools/BrushTool.h"
#include "Tools/BuiltInBrushes.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QListView>

namespace ombrel {

namespace {

struct BrushWindowTest : ShellTest {
    BrushWindowTest() {
        makeDocument();
        document().session()->setTool(ToolKind::brush);
        QApplication::setActiveWindow(document().window());
        canvas().setFocus();
    }
    CanvasView& canvas() { return document().window()->canvas(); }
    BrushTool& tool() { return dynamic_cast<BrushTool&>(*document().session()->tool()); }
    void askForMenu() {
        const QPoint middle = canvas().rect().center();
        QContextMenuEvent event(QContextMenuEvent::Mouse, middle, canvas().mapToGlobal(middle));
        QApplication::sendEvent(&canvas(), &event);
        settle();
    }
};

} // namespace

TEST_F(BrushWindowTest, theMenuOfTheCanvasIsAListOfBrushes) {
    askForMenu();
    auto* list = canvas().findChild<QListView*>("brushPresets");
    ASSERT_NE(list, nullptr);
    list->setCurrentIndex(list->model()->index(4, 0));
    QTest::keyClick(list, Qt::Key_Return);
    settle();
    EXPECT_EQ(tool().options()->tipImage->id, BuiltInBrushes::tipIDs()[2]);
    EXPECT_TRUE(eventually([&] { return canvas().findChild<QListView*>() == nullptr; }));
    document().session()->setTool(ToolKind::hand);
    askForMenu();
    EXPECT_EQ(canvas().findChild<QListView*>(), nullptr);
}

TEST_F(BrushWindowTest, keysOnTheCanvasSetTheBrush) {
    QTest::keyClick(&canvas(), Qt::Key_BracketRight);
    EXPECT_DOUBLE_EQ(tool().options()->size, 36);
    QTest::keyClick(&canvas(), Qt::Key_BraceLeft, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(tool().options()->hardness, 0.55);
    QTest::keyClick(&canvas(), Qt::Key_4);
    EXPECT_DOUBLE_EQ(tool().options()->opacity, 0.4);
    QKeyEvent dollar(QEvent::KeyPress, Qt::Key_Dollar, Qt::ShiftModifier, 13, 0, 0, "$");
    QApplication::sendEvent(&canvas(), &dollar);
    EXPECT_DOUBLE_EQ(tool().options()->flow, 0.44) << "a second 4, with Shift";
    EXPECT_DOUBLE_EQ(tool().options()->opacity, 0.4);
    const QPoint at = canvas().rect().center();
    const auto both = Qt::AltModifier | Qt::MetaModifier;
    QTest::mousePress(&canvas(), Qt::LeftButton, both, at);
    QTest::mouseMove(&canvas(), at + QPoint(0, 15));
    QTest::mouseRelease(&canvas(), Qt::LeftButton, both, at + QPoint(0, 15));
    EXPECT_NEAR(tool().options()->hardness, 0.45, 0.01);
}

TEST_F(BrushWindowTest, settingsAndTipsOutliveTheProgram) {
    const SharedBrushTip tip = brushes->addTip({Uuid::make(), 2, 2, {1, 2, 3, 255}}, "Own");
    tool().options().setTip(tip);
    tool().options().setSize(123);
    endProgram();
    startProgram();
    makeDocument();
    document().session()->setTool(ToolKind::brush);
    EXPECT_EQ(tool().options()->size, 123);
    ASSERT_NE(tool().options()->tipImage, nullptr);
    EXPECT_EQ(*tool().options()->tipImage, *tip);
}

} // namespace ombrel
