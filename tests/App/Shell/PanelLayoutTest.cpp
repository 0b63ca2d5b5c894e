// Panels: docked, floated, hidden as a whole, and back where they were.
#include "ShellFixture.h"

#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QPushButton>
#include <QToolBar>
#include <set>

namespace ombrel {

namespace {

QDockWidget& dock(DocumentWindow& window, const char* name) {
    return *window.findChild<QDockWidget*>(name);
}

} // namespace

TEST_F(ShellTest, panelsComeBackWhereTheyWereInTheNextWindowAndStart) {
    makeDocument();
    dock(*document().window(), "layers").setFloating(true);
    dock(*document().window(), "history").hide();
    document().close();
    settle();
    makeDocument();
    EXPECT_TRUE(dock(*document().window(), "layers").isFloating());
    EXPECT_FALSE(dock(*document().window(), "history").isVisible());
    document().close();
    endProgram();
    startProgram();
    makeDocument();
    EXPECT_TRUE(dock(*document().window(), "layers").isFloating());
    trigger("resetWorkspace");
    EXPECT_FALSE(dock(*document().window(), "layers").isFloating());
    EXPECT_FALSE(dock(*document().window(), "history").isHidden());
}

/// As a version with fewer panels saved it.
std::string olderLayout() {
    QMainWindow window;
    const auto add = [&](const char* name, Qt::DockWidgetArea area) {
        auto* dock = new QDockWidget(&window);
        dock->setObjectName(name);
        window.addDockWidget(area, dock);
        return dock;
    };
    add("color", Qt::LeftDockWidgetArea);
    add("info", Qt::RightDockWidgetArea);
    QDockWidget* layers = add("layers", Qt::RightDockWidgetArea);
    window.tabifyDockWidget(layers, add("history", Qt::RightDockWidgetArea));
    layers->raise();
    add("histogram", Qt::RightDockWidgetArea)->setFloating(true);
    return window.saveState(3).toBase64().toStdString();
}

TEST_F(ShellTest, panelsThatALayoutDoesNotKnowStandWhereTheyStandAtFirst) {
    makeDocument();
    document().close();
    settle();
    Json layouts = settings->json("windowLayouts");
    ASSERT_EQ(layouts.size(), 1u);
    layouts.begin().value()["panels"] = olderLayout();
    settings->setJson("windowLayouts", layouts);
    makeDocument();
    DocumentWindow& window = *document().window();
    const auto tabsAt = [&](const char* name) {
        std::set<std::string> names{name};
        for (const QDockWidget* other : window.tabifiedDockWidgets(&dock(window, name)))
            names.insert(other->objectName().toStdString());
        return names;
    };
    using Names = std::set<std::string>;
    const auto expectAll = [&] {
        EXPECT_TRUE(dock(window, "histogram").isFloating());
        EXPECT_EQ(tabsAt("navigator"), (Names{"navigator", "info"}));
        EXPECT_EQ(tabsAt("brushes"), (Names{"layers", "history", "brushes"}));
        EXPECT_EQ(tabsAt("swatches"), (Names{"color", "swatches"}));
        EXPECT_EQ(window.dockWidgetArea(&dock(window, "swatches")), Qt::LeftDockWidgetArea);
        for (const char* name : {"navigator", "swatches", "brushes"})
            EXPECT_FALSE(dock(window, name).isHidden()) << name;
        EXPECT_FALSE(dock(window, "layers").visibleRegion().isEmpty()) << "it stood in front";
    };
    expectAll();
    // One that cannot be read changes nothing.
    settings->setJson("workspaces", {{"Damaged", "AAAA"}});
    EXPECT_FALSE(window.layout().applyWorkspace("Damaged"));
    expectAll();
}

TEST_F(ShellTest, whatIsHiddenAsAWholeIsThereInTheNextWindow) {
    makeDocument();
    trigger("hideAround");
    EXPECT_TRUE(dock(*document().window(), "layers").isHidden());
    EXPECT_TRUE(document().window()->findChild<QToolBar*>("tools")->isHidden());
    document().close();
    settle();
    makeDocument();
    EXPECT_FALSE(dock(*document().window(), "layers").isHidden());
    EXPECT_FALSE(document().window()->findChild<QToolBar*>("tools")->isHidden());
}

TEST_F(ShellTest, aWorkspaceIsSavedChosenAndDeleted) {
    makeDocument();
    DocumentWindow& window = *document().window();
    window.addDockWidget(Qt::LeftDockWidgetArea, &dock(window, "layers"));
    trigger("saveWorkspace");
    auto* form = window.findChild<QDialog*>("workspaceDialog");
    ASSERT_NE(form, nullptr);
    form->findChild<QComboBox*>("name")->setCurrentText("Retouching");
    for (QPushButton* button : form->findChildren<QPushButton*>())
        if (button->text().contains("OK")) button->click();
    EXPECT_EQ(window.layout().workspaces(), std::vector<std::string>{"Retouching"});
    trigger("resetWorkspace");
    EXPECT_EQ(window.dockWidgetArea(&dock(window, "layers")), Qt::RightDockWidgetArea);
    EXPECT_TRUE(window.layout().applyWorkspace("Retouching"));
    EXPECT_EQ(window.dockWidgetArea(&dock(window, "layers")), Qt::LeftDockWidgetArea);
    EXPECT_FALSE(window.layout().applyWorkspace("Nothing"));
    window.layout().removeWorkspace("Retouching");
    EXPECT_TRUE(settings->json("workspaces").is_null());
}

TEST_F(ShellTest, fullScreenHidesPanelsAndBringsThemBack) {
    makeDocument();
    DocumentWindow& window = *document().window();
    trigger("fullScreen");
    EXPECT_TRUE(window.isFullScreen());
    EXPECT_TRUE(dock(window, "layers").isHidden());
    // By way of the usual state, as window managers bring a maximized window there.
    window.showNormal();
    window.showFullScreen();
    QTest::qWait(400);
    EXPECT_TRUE(dock(window, "layers").isHidden());
    window.showNormal(); // as the window manager may
    ASSERT_TRUE(eventually([&] { return !dock(window, "layers").isHidden(); }));
    EXPECT_FALSE(window.findChild<QToolBar*>("tools")->isHidden());
}

} // namespace ombrel
