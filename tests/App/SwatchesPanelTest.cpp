// Swatches kept, moved, named, brought in and taken out.
#include "App/Panels/SwatchesPanel.h"

#include "App/Color/PickedColor.h"
#include "App/Color/SwatchListModel.h"
#include "App/Color/SwatchView.h"
#include "App/PanelFixture.h"
#include "App/Panels/ScreenColor.h"
#include "App/Screenshot.h"
#include "Base/AtomicFile.h"
#include "Editor/SwatchLibrary.h"

#include <QAction>
#include <QComboBox>
#include <QMenu>
#include <QMimeData>
#include <QTest>
#include <QToolButton>
#include <fstream>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

struct SwatchesPanelTest : testing::Test {
    SwatchesPanelTest() {
        panel = std::make_unique<SwatchesPanel>(fixture.context(), library, nullptr);
        panel->onAsk = [this](const QString&, const QString& before,
                              const std::function<void(const QString&)>& answer) {
            proposed = before.toStdString();
            answer(QString::fromStdString(typed));
        };
        fixture.session->onMessage = [this](const std::string& text) { message = text; };
        panel->resize(264, 200);
        panel->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
        view = panel->findChild<SwatchView*>("swatches");
    }
    std::string shown() const {
        std::string list;
        for (int row = 0; row < view->model()->rowCount(); ++row) {
            list += list.empty() ? "" : ", ";
            list += view->model()->index(row, 0).data(Qt::ToolTipRole).toString().toStdString();
        }
        return list;
    }
    void setForeground(const char* code) {
        fixture.session->colors = PaintColors{
            .foreground = documentColor(*rgbOfHex(code), fixture.state().canvas.profile)};
    }
    std::string color(PremultipliedColor PaintColors::* slot) const {
        return hexOf(
            displayColor((*fixture.session->colors).*slot, fixture.state().canvas.profile));
    }
    void press(const char* button) { panel->findChild<QToolButton*>(button)->click(); }
    void trigger(const char* action, const char* text = "") {
        typed = text;
        panel->findChild<QAction*>(action)->trigger();
    }
    std::filesystem::path file(const char* name, const std::string& text) {
        std::ofstream(fixture.folder / name) << text;
        return fixture.folder / name;
    }
    void select(int row) { view->setCurrentIndex(view->model()->index(row, 0)); }

    PanelFixture fixture;
    std::filesystem::path stored = fixture.folder / "data" / "swatches.json";
    SwatchLibrary library{stored};
    std::unique_ptr<SwatchesPanel> panel;
    SwatchView* view = nullptr;
    std::string typed;
    std::string proposed;
    std::string message;
};

} // namespace

TEST_F(SwatchesPanelTest, swatchesAreAddedTakenNamedMovedAndDeleted) {
    saveScreenshot(*panel, "swatches");
    trigger("newSet", "Mine");
    EXPECT_EQ(shown(), "");
    for (const char* code : {"FF0000", "00FF00", "0000FF"}) {
        setForeground(code);
        press("addSwatch");
    }
    EXPECT_EQ(shown(), "#FF0000, #00FF00, #0000FF");
    const auto place = [&](int row) {
        return view->visualRect(view->model()->index(row, 0)).center();
    };
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, place(1));
    EXPECT_EQ(color(&PaintColors::foreground), "00FF00");
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::AltModifier, place(0));
    EXPECT_EQ(color(&PaintColors::background), "FF0000");
    QTest::keyClick(view, Qt::Key_Right);
    QTest::keyClick(view, Qt::Key_Right);
    QTest::keyClick(view, Qt::Key_Return);
    EXPECT_EQ(color(&PaintColors::foreground), "0000FF");
    typed = "Sky";
    QTest::keyClick(view, Qt::Key_F2);
    EXPECT_EQ(shown(), "#FF0000, #00FF00, Sky #0000FF");
    // As the view drops it: before the first row, and behind the last.
    QAbstractItemModel& model = *view->model();
    const auto drop = [&](int row, int before) {
        const std::unique_ptr<QMimeData> dragged(model.mimeData({model.index(row, 0)}));
        model.dropMimeData(dragged.get(), Qt::MoveAction, before, 0, {});
    };
    drop(2, 0);
    EXPECT_EQ(shown(), "Sky #0000FF, #FF0000, #00FF00");
    drop(0, -1);
    EXPECT_EQ(shown(), "#FF0000, #00FF00, Sky #0000FF");
    drop(0, 2);
    EXPECT_EQ(shown(), "#00FF00, #FF0000, Sky #0000FF");
    select(1);
    QTest::keyClick(view, Qt::Key_Delete);
    EXPECT_EQ(shown(), "#00FF00, Sky #0000FF");
    // All of it is there at the next start.
    library.finish();
    const SwatchLibrary again(stored);
    EXPECT_EQ(again.sets(), library.sets());
}

TEST_F(SwatchesPanelTest, setsHaveNamesOfTheirOwn) {
    const std::size_t before = library.sets().size();
    trigger("newSet", "Basics");
    EXPECT_EQ(panel->findChild<QComboBox*>("swatchSet")->currentText(), "Basics 2");
    trigger("renameSet", "Night");
    EXPECT_EQ(proposed, "Basics 2");
    EXPECT_EQ(panel->findChild<QComboBox*>("swatchSet")->currentText(), "Night");
    trigger("deleteSet");
    EXPECT_EQ(library.sets().size(), before);
    trigger("deleteSet");
    EXPECT_EQ(library.sets().size(), 1u) << "one stays";
}

TEST_F(SwatchesPanelTest, palettesComeInAndGoOut) {
    panel->importFile(file("warm.gpl", "GIMP Palette\n255 0 0 Red\n"));
    EXPECT_EQ(panel->findChild<QComboBox*>("swatchSet")->currentText(), "warm");
    EXPECT_EQ(shown(), "Red #FF0000");
    panel->exportFile(fixture.folder / "out.gpl");
    panel->importFile(fixture.folder / "out.gpl");
    EXPECT_EQ(library.sets().back().name, "warm 2");
    EXPECT_EQ(shown(), "Red #FF0000");
    const auto sets = library.sets();
    panel->importFile(file("text.txt", "no palette"));
    EXPECT_EQ(message, "This is no palette of a kind that can be read.");
    panel->importFile(fixture.folder / "missing.aco");
    EXPECT_NE(message.find("missing.aco"), std::string::npos);
    EXPECT_EQ(library.sets(), sets);
}

TEST_F(SwatchesPanelTest, aDamagedFileIsKeptAside) {
    const auto path =
        file("broken.json", R"({"sets": [{"name": "A", "swatches": [{"name": 3}]}]})");
    SwatchLibrary broken(path);
    EXPECT_EQ(broken.sets().front().name, "Basics");
    broken.setSets({{"", {}}, {"", {}}});
    broken.finish();
    EXPECT_EQ(SwatchLibrary(path).sets().back().name, "Swatches 2");
    std::filesystem::path aside = path;
    aside += ".damaged";
    EXPECT_NE(readSmallFile(aside, 1000)->find("\"A\""), std::string::npos);
}

} // namespace ombrel
