// Panels in a low window: they scroll. Behind other tabs they cost nothing, and come to the front
// when they are asked for.
#include "App/Panels/DockedPanel.h"
#include "App/Canvas/CanvasView.h"
#include "App/Screenshot.h"
#include "App/Shell/CommandPalette.h"
#include "ShellFixture.h"

#include <QApplication>
#include <QDockWidget>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollBar>
#include <QSpinBox>
#include <QWheelEvent>

namespace ombrel {

namespace {

constexpr int lowestScreen = 560; ///< points
constexpr int narrowestScreen = 640;

QDockWidget& dock(DocumentWindow& window, const QString& name) {
    return *window.findChild<QDockWidget*>(name);
}

DockedPanel& panelIn(QDockWidget& dock) {
    return *dynamic_cast<DockedPanel*>(dock.widget());
}

void raise(QDockWidget& dock) {
    dock.raise();
    QCoreApplication::processEvents();
}

/// The keys of every field that the keyboard reaches go to where they are seen.
void expectFocusIsSeen(DockedPanel& panel, const std::string& name) {
    for (QWidget* part : panel.widget()->findChildren<QWidget*>()) {
        const bool isReached = (part->focusPolicy() & Qt::TabFocus) != 0 && part->isEnabled() &&
                               part->isVisible() && part->focusProxy() == nullptr;
        if (!isReached) continue;
        part->setFocus(Qt::TabFocusReason);
        ASSERT_EQ(QApplication::focusWidget(), part);
        const QRect place(part->mapTo(panel.viewport(), QPoint()), part->size());
        EXPECT_TRUE(place.intersects(panel.viewport()->rect()))
            << name << ": " << part->metaObject()->className() << " "
            << part->objectName().toStdString();
    }
}

} // namespace

TEST_F(ShellTest, allPanelsFitAndAreReachedInALowWindow) {
    makeDocument();
    DocumentWindow& window = *document().window();
    QApplication::setActiveWindow(&window);
    for (const PanelDescription& panel : panelCatalog())
        raise(dock(window, panel.identifier));
    EXPECT_LE(window.minimumSizeHint().height(), lowestScreen);
    EXPECT_LE(window.minimumSizeHint().width(), narrowestScreen);
    window.resize(1100, lowestScreen);
    QCoreApplication::processEvents();
    EXPECT_EQ(window.height(), lowestScreen);
    for (const PanelDescription& description : panelCatalog()) {
        QDockWidget& place = dock(window, description.identifier);
        raise(place);
        DockedPanel& panel = panelIn(place);
        ASSERT_TRUE(panel.widget()->isVisible()) << description.identifier;
        EXPECT_GE(panel.viewport()->height(), description.leastHeight) << description.identifier;
        EXPECT_GE(panel.viewport()->width(), panel.widget()->minimumSizeHint().width())
            << description.identifier << ": cut at its side";
        EXPECT_GE(panel.widget()->height(), panel.widget()->minimumSizeHint().height());
        expectFocusIsSeen(panel, description.identifier);
        saveScreenshot(window, std::string("low-") + description.identifier);
    }
}

TEST_F(ShellTest, theFirstLayoutFillsTheColumnAndLeavesRoomForLayers) {
    for (const int height : {706, 820, 1000}) {
        makeDocument();
        DocumentWindow& window = *document().window();
        window.resize(1280, height);
        trigger("resetWorkspace");
        QCoreApplication::processEvents();
        const int color = dock(window, "color").widget()->height();
        const int layers = dock(window, "layers").widget()->height();
        const int navigator = dock(window, "navigator").widget()->height();
        EXPECT_GE(layers, 190) << "of a window of " << height;
        EXPECT_GE(navigator, 70) << "of a window of " << height;
        EXPECT_GE(color, 191) << "of a window of " << height;
        document().close();
        settle();
    }
}

TEST_F(ShellTest, aPanelIsMadeWhenItComesToTheFrontAndRestsBehindOthers) {
    makeDocument();
    DocumentWindow& window = *document().window();
    QApplication::setActiveWindow(&window);
    QDockWidget& behind = dock(window, "brushes");
    EXPECT_EQ(panelIn(behind).widget(), nullptr);
    EXPECT_NE(panelIn(dock(window, "layers")).widget(), nullptr);
    raise(behind);
    ASSERT_NE(panelIn(behind).widget(), nullptr);
    EXPECT_TRUE(panelIn(behind).widget()->isVisible());
    EXPECT_FALSE(panelIn(dock(window, "layers")).widget()->isVisible());
    behind.findChild<QWidget*>("brushTip")->setFocus();
    raise(dock(window, "layers"));
    EXPECT_FALSE(panelIn(behind).widget()->isVisible());
    EXPECT_EQ(QApplication::focusWidget(), &window.canvas()) << "keys went where nobody sees them";
    behind.setFloating(true);
    EXPECT_TRUE(eventually([&] { return panelIn(behind).widget()->isVisible(); }));
}

TEST_F(ShellTest, theActionOfAPanelBringsItToTheFrontBeforeItHidesIt) {
    makeDocument();
    DocumentWindow& window = *document().window();
    auto* action = window.findChild<QAction*>("panel.history");
    ASSERT_NE(action, nullptr);
    EXPECT_FALSE(action->isChecked());
    const auto triggerAndSettle = [&] {
        action->trigger();
        QCoreApplication::processEvents();
    };
    triggerAndSettle();
    EXPECT_TRUE(DockedPanel::isInFront(dock(window, "history")));
    EXPECT_TRUE(action->isChecked());
    triggerAndSettle();
    EXPECT_TRUE(dock(window, "history").isHidden());
    EXPECT_FALSE(action->isChecked());
    triggerAndSettle();
    EXPECT_TRUE(DockedPanel::isInFront(dock(window, "history")));
    EXPECT_TRUE(action->isChecked());
    // As the search for commands does it.
    raise(dock(window, "layers"));
    EXPECT_FALSE(action->isChecked());
    trigger("findCommand");
    auto* field = window.findChild<QLineEdit*>("paletteField");
    field->setText("history panel");
    auto* list = window.findChild<QListWidget*>("paletteList");
    ASSERT_GT(list->count(), 0);
    EXPECT_EQ(list->item(0)->text(), "History");
    QTest::keyClick(field, Qt::Key_Return);
    QCoreApplication::processEvents();
    EXPECT_TRUE(DockedPanel::isInFront(dock(window, "history")));
}

TEST(ScrollBox, theWheelScrollsAndChangesNoNumberOnItsWay) {
    ScrollBox box(60, nullptr);
    auto* content = new QWidget;
    content->setMinimumSize(100, 300);
    auto* number = new QSpinBox(content);
    number->setValue(5);
    number->move(0, 100);
    box.setContent(content);
    EXPECT_EQ(box.minimumSizeHint().height(), 60);
    box.resize(box.minimumSizeHint());
    box.show();
    /// Whether it goes on to what is around.
    const auto turnOver = [](QWidget* widget) {
        QWheelEvent wheel({4, 4}, widget->mapToGlobal(QPointF(4, 4)), {}, {0, -120}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(widget, &wheel);
        return !wheel.isAccepted();
    };
    EXPECT_TRUE(turnOver(number));
    EXPECT_EQ(number->value(), 5);
    EXPECT_FALSE(turnOver(box.viewport()));
    EXPECT_GT(box.verticalScrollBar()->value(), 0);
    EXPECT_EQ(number->focusPolicy(), Qt::StrongFocus) << "the wheel would bring the keyboard here";
    box.resize(200, 400);
    EXPECT_FALSE(turnOver(number));
    EXPECT_EQ(number->value(), 4) << "nothing is to be scrolled";
}

} // namespace ombrel
