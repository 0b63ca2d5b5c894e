// Panels: docked, floated, hidden as a whole, and back where they were.
#include "ShellFixture.h"

#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QPushButton>
#include <QToolBar>

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
    window.showNormal(); // as the window manager may
    ASSERT_TRUE(eventually([&] { return !dock(window, "layers").isHidden(); }));
    EXPECT_FALSE(window.findChild<QToolBar*>("tools")->isHidden());
}

} // namespace ombrel
