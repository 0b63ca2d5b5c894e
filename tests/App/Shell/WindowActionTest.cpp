// The table of actions walked as a whole, and what people do by menus, keys and the palette.
#include "App/Canvas/CanvasView.h"
#include "App/Screenshot.h"
#include "App/Shell/CommandPalette.h"
#include "App/Shell/ShortcutForm.h"
#include "App/Shell/ShortcutTable.h"
#include "ShellFixture.h"
#include "Tools/ToolLetters.h"

#include <QApplication>
#include <QDialog>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QSpinBox>
#include <QTreeWidget>
#include <map>
#include <set>

namespace ombrel {

namespace {

/// Every dialog that is open, wherever it belongs, answered with no.
void closeDialogs() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* dialog = qobject_cast<QDialog*>(widget); dialog != nullptr && dialog->isVisible())
            dialog->reject();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void press(QWidget* widget, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QTest::keyClick(widget, static_cast<Qt::Key>(key), modifiers);
}

} // namespace

TEST(ShortcutTable, identifiersAreUniqueAndNoKeysMeanTwoThings) {
    std::set<std::string> identifiers;
    std::map<QString, std::string> meanings;
    for (const ShortcutTable::Entry& entry : ShortcutTable::entries()) {
        EXPECT_TRUE(identifiers.insert(entry.identifier).second) << entry.identifier;
        for (const QKeySequence& keys : entry.usual) {
            EXPECT_FALSE(keys.isEmpty()) << entry.identifier;
            EXPECT_EQ(ShortcutTable::refusal(entry, keys), nullptr) << entry.identifier;
            const auto [other, isFirst] = meanings.emplace(keys.toString(), entry.identifier);
            const bool mayShare = entry.isTool && ShortcutTable::entryOf(other->second)->isTool;
            EXPECT_TRUE(isFirst || mayShare) << entry.identifier << " and " << other->second;
        }
    }
    for (const WindowAction& action : windowActions()) {
        if (action.identifier == nullptr) continue;
        EXPECT_EQ(std::string_view(action.text).find("..."), std::string_view::npos);
        EXPECT_EQ(action.run == nullptr, identifiers.count(action.identifier) == 0);
    }
}

TEST(ShortcutTable, mnemonicsOfAMenuAreUnique) {
    std::map<QString, std::map<QChar, QString>> menus;
    const auto note = [&](const QString& menu, const QString& text) {
        const qsizetype at = text.indexOf('&');
        if (at < 0 || at + 1 >= text.size()) return;
        const auto [other, isFirst] = menus[menu].emplace(text[at + 1].toLower(), text);
        EXPECT_TRUE(isFirst || other->second == text)
            << menu.toStdString() << ": " << text.toStdString() << ", "
            << other->second.toStdString();
    };
    for (const WindowAction& action : windowActions()) {
        const QString menu = action.menu;
        note(menu.section('/', 0, -2), menu.section('/', -1));
        if (action.identifier != nullptr) note(menu, action.text);
    }
}

TEST_F(ShellTest, everyActionCanBeChosenInAFreshDocument) {
    for (const WindowAction& entry : windowActions()) {
        if (entry.run == nullptr || entry.identifier == std::string_view("quit")) continue;
        SCOPED_TRACE(entry.identifier);
        if (documentCount() == 0) {
            makeDocument({40, 30});
            addLayer(document());
        }
        const std::shared_ptr<DocumentSession> session = document().session();
        QAction* action = document().window()->action(entry.identifier);
        ASSERT_NE(action, nullptr);
        QTest::qWait(1);
        if (!action->isEnabled()) {
            EXPECT_FALSE(action->statusTip().isEmpty());
            EXPECT_FALSE(action->statusTip().contains("nothing to do this to"));
        }
        answers.saves = {Dialogs::SaveAnswer::discard};
        answers.opened = {std::vector<std::filesystem::path>{}};
        answers.places = {std::nullopt};
        answers.confirmations = {false};
        action->trigger();
        ASSERT_TRUE(eventually([&] { return !*session->_isBusy; }));
        closeDialogs();
        EXPECT_TRUE(answers.failures.empty());
        // Fresh again: as it was when the layer had been added.
        while (documentCount() > 1)
            document(1).close();
        if (documentCount() == 1) session->jump(1);
        settle();
    }
}

TEST_F(ShellTest, whatIsGreySaysWhy) {
    makeDocument();
    QTest::qWait(1);
    const auto why = [&](const char* action) {
        return document().window()->action(action)->statusTip().toStdString();
    };
    EXPECT_EQ(why("undo"), "There is nothing to undo.");
    EXPECT_EQ(why("ungroupLayers"), "No group is chosen.");
    EXPECT_EQ(why("revert"), "The document comes from no file yet.");
    EXPECT_EQ(why("passThrough"), "Only groups can pass through.");
    EXPECT_EQ(why("newLayer"), "");
    EXPECT_EQ(why("clipLayers"), "");
    const DocumentState& state = *document().session()->_state;
    document().session()->setActiveLayer(state.root->children.front().id());
    QTest::qWait(1);
    EXPECT_EQ(why("clipLayers"), "There is nothing below to clip to.");
    document().session()->setActiveLayer(state.root->children.back().id());
    trigger("newGroup");
    QTest::qWait(1);
    EXPECT_EQ(why("clipLayers"), "Groups cannot be clipped.");
    QTest::qWait(1);
    EXPECT_EQ(why("passThrough"), "");
    trigger("selectAllLayers"); // a layer among them
    QTest::qWait(1);
    EXPECT_EQ(why("passThrough"), "Only groups can pass through.");
    ASSERT_TRUE(document().session()->beginLive());
    QTest::qWait(1);
    EXPECT_EQ(why("newLayer"), "An edit is under way: finish it first.");
    document().session()->cancelLive();
}

TEST_F(ShellTest, plainKeysWorkOnTheCanvasAndAreTextWherePeopleType) {
    makeDocument();
    DocumentWindow& window = *document().window();
    DocumentSession& session = *document().session();
    QWidget* canvas = &window.canvas();
    canvas->setFocus();
    const PaintColors before = *session.colors;
    press(canvas, Qt::Key_X);
    EXPECT_EQ(session.colors->foreground, before.background);
    press(canvas, Qt::Key_D);
    EXPECT_EQ(*session.colors, PaintColors{});
    QWidget* panel = window.findChild<QWidget*>("layers");
    ASSERT_TRUE(panel->isVisible());
    press(canvas, Qt::Key_Tab, Qt::ShiftModifier);
    EXPECT_FALSE(panel->isVisible());
    EXPECT_TRUE(window.findChild<QWidget*>("tools")->isVisible());
    press(canvas, Qt::Key_Tab);
    EXPECT_FALSE(window.findChild<QWidget*>("tools")->isVisible());
    press(canvas, Qt::Key_Tab);
    EXPECT_TRUE(panel->isVisible());
    EXPECT_TRUE(window.findChild<QWidget*>("tools")->isVisible());
    auto* zoom = child<QLineEdit>(window, "zoom");
    zoom->setFocus();
    press(zoom, Qt::Key_X);
    EXPECT_EQ(*session.colors, PaintColors{});
    press(zoom, Qt::Key_Tab);
    EXPECT_TRUE(panel->isVisible()) << "there it goes to the next field";
}

TEST_F(ShellTest, formsOfLayersMakeOneCommandEach) {
    makeDocument({100, 80});
    DocumentWindow& window = *document().window();
    DocumentSession& session = *document().session();
    const auto open = [&](const char* action, const char* name) -> QWidget& {
        trigger(action);
        return *child<QDialog>(window, name);
    };
    {
        QWidget& form = open("renameLayer", "renameDialog");
        child<QLineEdit>(form, "name")->setText("Sky");
        for (QPushButton* button : form.findChildren<QPushButton*>())
            if (button->text().contains("OK")) button->click();
        EXPECT_EQ(session._state->activeLayer()->properties().name, "Sky");
        EXPECT_EQ(session.undoName(), "Rename Layer");
    }
    {
        QWidget& form = open("layerOpacity", "opacityDialog");
        child<QSpinBox>(form, "opacity")->setValue(25);
        for (QPushButton* button : form.findChildren<QPushButton*>())
            if (button->text().contains("OK")) button->click();
        EXPECT_FLOAT_EQ(session._state->activeLayer()->properties().opacity, 0.25f);
    }
    trigger("multiply");
    EXPECT_EQ(session._state->activeLayer()->properties().blendMode, BlendMode::multiply);
    QTest::qWait(1);
    EXPECT_TRUE(window.action("multiply")->isChecked());
    EXPECT_FALSE(window.action("normal")->isChecked());
    trigger("lockPosition");
    EXPECT_EQ(session._state->activeLayer()->properties().locks, LayerLocks::position);
    trigger("lockPosition");
    {
        QWidget& form = open("crop", "cropDialog");
        child<QSpinBox>(form, "left")->setValue(10);
        child<QSpinBox>(form, "width")->setValue(50);
        for (QPushButton* button : form.findChildren<QPushButton*>())
            if (button->text().contains("OK")) button->click();
        EXPECT_EQ(session._state->canvas.size, (PixelSize{50, 80}));
    }
    trigger("duplicateImage");
    ASSERT_TRUE(waitForDocuments(2));
    EXPECT_EQ(document(1).session()->_state->canvas.size, (PixelSize{50, 80}));
}

TEST_F(ShellTest, selectingStepsThroughTheLayers) {
    makeDocument();
    addLayer(document());
    DocumentSession& session = *document().session();
    const std::vector<LayerNode> nodes = session._state->allNodes();
    ASSERT_GE(nodes.size(), 2u);
    trigger("selectBottomLayer");
    EXPECT_EQ(session._state->activeLayerID, nodes.front().id());
    trigger("selectLayerAbove");
    EXPECT_EQ(session._state->activeLayerID, nodes[1].id());
    trigger("selectAllLayers");
    EXPECT_EQ(session._selectedLayerIDs->size(), session._state->root->children.size());
    trigger("selectActiveLayer");
    EXPECT_EQ(*session._selectedLayerIDs, std::set<LayerID>{nodes[1].id()});
}

TEST_F(ShellTest, thePaletteFindsByWordsAndRunsByEnter) {
    makeDocument();
    DocumentWindow& window = *document().window();
    trigger("findCommand");
    auto* field = child<QLineEdit>(window, "paletteField");
    auto* list = child<QListWidget>(window, "paletteList");
    QTest::qWait(1);
    saveScreenshot(window, "palette");
    QTest::keyClicks(field, "flip verti lay");
    ASSERT_GT(list->count(), 0);
    EXPECT_EQ(list->item(0)->text(), "Flip Vertical");
    field->setText("eyedropper");
    ASSERT_GT(list->count(), 0);
    press(field, Qt::Key_Return);
    EXPECT_EQ(*document().session()->_activeTool, ToolKind::eyedropper);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(window.findChild<QWidget*>("commandPalette"), nullptr);
    // What menus list is found as well, though no menu was opened since it came.
    window.layout().saveWorkspace("Retouching");
    trigger("findCommand");
    field = child<QLineEdit>(window, "paletteField");
    field->setText("retouching");
    EXPECT_EQ(child<QListWidget>(window, "paletteList")->count(), 2) << "to choose and to delete";
    press(field, Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    // What is grey stays, and says why.
    trigger("findCommand");
    field = child<QLineEdit>(window, "paletteField");
    field->setText("undo");
    press(field, Qt::Key_Return);
    EXPECT_NE(window.findChild<QWidget*>("commandPalette"), nullptr);
    press(field, Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(window.findChild<QWidget*>("commandPalette"), nullptr);
}

TEST(Palette, wordsThatBeginAWordComeFirst) {
    const auto score = [](const char* text, const char* path, const char* typed) {
        return paletteScore({text, path, {}, {}, {}}, typed).value_or(-1);
    };
    EXPECT_GT(score("Merge Down", "Layer", "mer"), score("Emerge", "Layer", "mer"));
    EXPECT_GT(score("Merge Down", "Layer", "mer down"), 0);
    EXPECT_GT(score("Flatten Image", "Layer", "layer flat"), 0);
    EXPECT_GT(score("Merge Down", "Layer", "mgd"), 0) << "letters in order";
    EXPECT_EQ(score("Merge Down", "Layer", "zoom"), -1);
}

TEST_F(ShellTest, changedKeysCountAtOnceAndOnlyTheyAreKept) {
    makeDocument();
    DocumentWindow& window = *document().window();
    ShortcutTable table(*settings);
    const ShortcutTable::Entry& flatten = *ShortcutTable::entryOf("flatten");
    const QKeySequence keys("Ctrl+G");
    const auto conflicts = table.conflicts(flatten, keys);
    ASSERT_EQ(conflicts.size(), 1u);
    EXPECT_EQ(conflicts[0]->identifier, "groupLayers");
    EXPECT_NE(ShortcutTable::refusal(flatten, QKeySequence("5")), nullptr);
    table.take("flatten", keys);
    QTest::qWait(1);
    EXPECT_EQ(window.action("flatten")->shortcut(), keys);
    EXPECT_TRUE(window.action("groupLayers")->shortcuts().isEmpty());
    EXPECT_EQ(settings->json("shortcuts"), (Json{{"flatten", "Ctrl+G"}, {"groupLayers", ""}}));
    table.reset("groupLayers");
    table.reset("flatten");
    EXPECT_TRUE(settings->json("shortcuts").is_null());
    QTest::qWait(1);
    EXPECT_EQ(window.action("groupLayers")->shortcut(), keys);
    // Letters of tools.
    table.set("tool.move", {QKeySequence("Q")});
    table.applyToTools();
    EXPECT_EQ(ToolLetters::of(ToolKind::move), 'q');
    table.resetAll();
    table.applyToTools();
    EXPECT_EQ(ToolLetters::of(ToolKind::move), 'v');
}

TEST_F(ShellTest, theFormOfShortcutsSearchesWarnsAndResets) {
    makeDocument();
    trigger("shortcuts");
    auto* form = child<QDialog>(*document().window(), "shortcutForm");
    auto* list = child<QTreeWidget>(*form, "shortcutList");
    auto* search = child<QLineEdit>(*form, "shortcutSearch");
    auto* assign = child<QPushButton>(*form, "assignShortcut");
    QApplication::setActiveWindow(form);
    search->setFocus();
    QTest::keyClicks(search, "new");
    const QTreeWidgetItem* firstFound = list->currentItem();
    ASSERT_NE(firstFound, nullptr);
    QTest::keyClick(search, Qt::Key_Down);
    EXPECT_NE(list->currentItem(), firstFound) << "the arrows walk through what was found";
    EXPECT_TRUE(search->hasFocus());
    search->selectAll();
    QTest::keyClicks(search, "trim");
    QTreeWidgetItem* row = nullptr;
    for (QTreeWidgetItemIterator at(list); *at != nullptr; ++at) {
        if ((*at)->parent() == nullptr || (*at)->isHidden() || (*at)->parent()->isHidden())
            continue;
        EXPECT_EQ(row, nullptr) << "one fits";
        row = *at;
    }
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(list->currentItem(), row) << "what is found is chosen";
    auto* keys = child<QKeySequenceEdit>(*form, "shortcutKeys");
    QTest::keyClick(search, Qt::Key_Return);
    EXPECT_TRUE(keys->hasFocus() || keys->isAncestorOf(QApplication::focusWidget()));
    keys->setKeySequence(QKeySequence("Ctrl+S"));
    EXPECT_TRUE(child<QLabel>(*form, "shortcutWords")->text().contains("Save"));
    assign->click();
    ASSERT_TRUE(eventually([&] { return row->text(1) == "Ctrl+S"; }));
    EXPECT_TRUE(list->hasFocus()) << "Enter must not remove what was just given";
    EXPECT_TRUE(ShortcutTable(*settings).keysOf("save").isEmpty());
    saveScreenshot(*form, "shortcuts");
    child<QPushButton>(*form, "resetAllShortcuts")->click();
    ASSERT_TRUE(eventually([&] { return row->text(1).isEmpty(); }));
    EXPECT_EQ(ShortcutTable(*settings).keysOf("save").first(), QKeySequence("Ctrl+S"));
}

} // namespace ombrel
