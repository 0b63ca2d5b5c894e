// The window's actions, dialogs and looks.
#include "App/Canvas/CanvasView.h"
#include "App/Panels/LayerTreeModel.h"
#include "App/Panels/StatusFields.h"
#include "App/Screenshot.h"
#include "App/Shell/ExportDialog.h"
#include "App/Shell/MessageBoxes.h"
#include "App/Shell/NewDocumentForm.h"
#include "Commands/DeleteLayersCommand.h"
#include "Core/ContentBounds.h"
#include "Core/ViewMapping.h"
#include "ShellFixture.h"
#include "support/TestPlaces.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QDropEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPushButton>
#include <QStatusBar>
#include <QToolButton>
#include <QTreeView>
#include <set>

namespace ombrel {

TEST_F(ShellTest, actionsAreGreyWhereTheyCannotBeDone) {
    makeDocument();
    for (const char* action : {"undo", "redo", "revert", "ungroupLayers", "rasterizeLayers",
                               "bringForward", "bringToFront", "resetRotation"})
        EXPECT_FALSE(isEnabled(action)) << action;
    for (const char* action : {"save", "newLayer", "mergeLayers", "sendBackward", "deleteLayers"})
        EXPECT_TRUE(isEnabled(action)) << action;
    trigger("groupLayers");
    EXPECT_TRUE(isEnabled("ungroupLayers"));
    EXPECT_EQ(document().window()->action("undo")->text(), "&Undo Group Layers");
    EXPECT_EQ(document().window()->action("mergeLayers")->text(), "&Merge Group");
    trigger("undo");
    QTest::qWait(1);
    EXPECT_EQ(document().window()->action("redo")->text(), "&Redo Group Layers");
}

TEST_F(ShellTest, layerActionsActOnWhatIsSelected) {
    makeDocument();
    addLayer(document());
    DocumentSession& session = *document().session();
    std::set<LayerID> all;
    for (const LayerNode& node : session._state->root->children)
        all.insert(node.id());
    session._selectedLayerIDs = all;
    EXPECT_FALSE(isEnabled("deleteLayers")) << "something stays";
    trigger("lockLayers");
    for (const LayerNode& node : session._state->root->children)
        EXPECT_EQ(node.properties().locks, LayerLocks::all);
    EXPECT_EQ(session.undoName(), "Lock or Unlock Layers");
    trigger("lockLayers");
    EXPECT_EQ(session._state->root->children[2].properties().locks, LayerLocks{});
    trigger("showLayers");
    EXPECT_FALSE(session._state->root->children[1].properties().isVisible);
    trigger("undo");
    trigger("flatten");
    ASSERT_TRUE(eventually([&] { return session._state->root->children.size() == 1; }));
    EXPECT_FALSE(isEnabled("mergeLayers"));
}

TEST_F(ShellTest, aCommandThatFailsIsToldInTheStatusBar) {
    makeDocument();
    const std::vector<LayerNode>& layers = document().session()->_state->root->children;
    document().session()->perform(DeleteLayersCommand{{layers[0].id(), layers[1].id()}});
    EXPECT_FALSE(document().window()->statusBar()->currentMessage().isEmpty());
    EXPECT_FALSE(document().isEdited());
}

TEST_F(ShellTest, theFormMakesWhatItSays) {
    controller->start({});
    ASSERT_TRUE(eventually([&] { return controller->startWindow() != nullptr; }));
    NewDocumentForm& form = *controller->startWindow()->form();
    auto* preset = child<QComboBox>(form, "preset");
    preset->setCurrentIndex(preset->findText("A4"));
    Q_EMIT preset->activated(preset->currentIndex());
    EXPECT_EQ(form.canvas().size, (PixelSize{2480, 3508}));
    EXPECT_EQ(form.canvas().resolution, 300);
    child<QDoubleSpinBox>(form, "resolution")->setValue(150);
    EXPECT_EQ(form.canvas().size, (PixelSize{1240, 1754})) << "the paper keeps its size";
    child<QComboBox>(form, "background")->setCurrentIndex(2);
    child<QComboBox>(form, "profile")->setCurrentIndex(1);
    child<QComboBox>(form, "depth")->setCurrentIndex(1);
    child<QPushButton>(form, "create")->click();
    ASSERT_EQ(documentCount(), 1u);
    const DocumentState& state = *document().session()->_state;
    EXPECT_EQ(state.canvas.size, (PixelSize{1240, 1754}));
    EXPECT_EQ(state.canvas.profile, ColorProfile::displayP3());
    EXPECT_EQ(state.canvas.bitDepth, BitDepth::sixteen);
    EXPECT_EQ(state.root->children.size(), 1u);
    // The form remembers, and comes once however often it is asked for.
    trigger("new");
    trigger("new");
    const auto dialogs = document().window()->findChildren<QDialog*>("newDocumentDialog");
    ASSERT_EQ(dialogs.size(), 1);
    EXPECT_EQ(child<QComboBox>(*dialogs[0], "background")->currentIndex(), 2);
    child<QPushButton>(*dialogs[0], "create")->click();
    ASSERT_EQ(documentCount(), 2u);
    EXPECT_EQ(document(1).session()->_state->canvas, state.canvas);
}

TEST_F(ShellTest, theExportFormTellsTheSizeThatTheFileThenHas) {
    makeDocument();
    trigger("export");
    auto* dialog = document().window()->findChild<QDialog*>();
    ASSERT_NE(dialog, nullptr);
    auto* format = child<QComboBox>(*dialog, "format");
    format->setCurrentIndex(format->findText("JPEG"));
    auto* size = child<QLabel>(*dialog, "size");
    ASSERT_TRUE(eventually([&] { return size->text() != "Measuring…"; }));
    const QString told = size->text();
    answers.places = {folder / "out.jpg"};
    const auto buttons = dialog->findChildren<QPushButton*>();
    const auto go = std::ranges::find_if(buttons, [](auto* b) { return b->text() == "Export…"; });
    ASSERT_NE(go, buttons.end());
    (*go)->click();
    ASSERT_TRUE(eventually([&] { return std::filesystem::exists(folder / "out.jpg"); }));
    ASSERT_TRUE(eventually([&] { return activities.all().empty(); }));
    const auto bytes = static_cast<std::int64_t>(std::filesystem::file_size(folder / "out.jpg"));
    EXPECT_EQ(told, memoryText(bytes));
    EXPECT_EQ(document().window()->statusBar()->currentMessage(), "Exported out.jpg");
    EXPECT_EQ(document().displayName(), "Untitled") << "an export is no save";
}

TEST_F(ShellTest, anExportThatFailsIsToldAndLeavesNothing) {
    makeDocument();
    document().exportToURL(folder / "no" / "out.png", ImageFormat::png, {});
    ASSERT_TRUE(eventually([&] { return answers.failures.size() == 1; }));
    EXPECT_NE(answers.failures[0].find("“out.png” could not be exported."), std::string::npos);
}

TEST_F(ShellTest, filesDroppedOnAWindowAreOpened) {
    makeDocument();
    for (const char* name : {"one.png", "two.png"})
        document().exportToURL(folder / name, ImageFormat::png, {});
    ASSERT_TRUE(eventually([&] { return activities.all().empty(); }));
    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QString::fromStdString(folder / "one.png")),
                   QUrl::fromLocalFile(QString::fromStdString(folder / "two.png")),
                   QUrl("https://example.org/three.png")});
    QDragEnterEvent enters({20, 20}, Qt::CopyAction, &files, Qt::LeftButton, {});
    QApplication::sendEvent(document().window(), &enters);
    EXPECT_TRUE(enters.isAccepted());
    QDropEvent drops({20, 20}, Qt::CopyAction, &files, Qt::LeftButton, {});
    QApplication::sendEvent(document().window(), &drops);
    EXPECT_TRUE(waitForDocuments(3));
    EXPECT_TRUE(answers.failures.empty());
}

TEST_F(ShellTest, layersDroppedOnAnotherDocumentAreCopiedToThePlace) {
    makeDocument({400, 300});
    makeDocument({800, 600});
    DocumentWindow& target = *document(1).window();
    const auto* tree = child<QTreeView>(*document(0).window(), "layerTree");
    const std::unique_ptr<QMimeData> layers(
        tree->model()->mimeData({tree->model()->index(1, LayerTreeModel::layerColumn)}));
    CanvasView& canvas = target.canvas();
    const RealPoint place = viewPoint(canvas.controller().viewTransform(), {500, 350});
    const QPointF at = canvas.mapTo(&target, QPointF(place.x, place.y));
    QDragEnterEvent enters(at.toPoint(), Qt::MoveAction | Qt::CopyAction, layers.get(),
                           Qt::LeftButton, {});
    QApplication::sendEvent(&target, &enters);
    EXPECT_TRUE(enters.isAccepted());
    EXPECT_EQ(enters.dropAction(), Qt::CopyAction);
    QDropEvent drops(at, Qt::MoveAction | Qt::CopyAction, layers.get(), Qt::LeftButton, {});
    QApplication::sendEvent(&target, &drops);
    const DocumentSession& session = *document(1).session();
    ASSERT_TRUE(eventually([&] { return session.undoName() == "Paste"; }));
    const LayerNode& dragged = document(0).session()->_state->root->children.front();
    const PixelLayer* copy = session._state->activePixelLayer();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->properties.name, dragged.properties().name);
    EXPECT_NE(copy->id, dragged.id());
    const auto bounds = contentBounds(copy->pixels);
    ASSERT_TRUE(bounds);
    const PixelRect lies = bounds->offsetBy(copy->offset);
    EXPECT_NEAR(static_cast<double>(lies.x + lies.maxX()) / 2, 500, 2);
    EXPECT_NEAR(static_cast<double>(lies.y + lies.maxY()) / 2, 350, 2);
}

TEST_F(ShellTest, aFurtherWindowIsAsTheOneBesideIt) {
    makeDocument();
    DocumentWindow& first = *document().window();
    first.resize(1110, 905);
    first.findChild<QDockWidget*>("history")->hide();
    makeDocument();
    DocumentWindow& second = *document(1).window();
    EXPECT_EQ(second.size(), QSize(1110, 905));
    EXPECT_NE(second.pos(), first.pos());
    EXPECT_TRUE(second.findChild<QDockWidget*>("history")->isHidden());
    document(1).close();
    settle();
    first.setWindowState(Qt::WindowMaximized);
    ASSERT_TRUE(eventually([&] { return first.isMaximized(); }));
    document().close();
    settle();
    makeDocument();
    EXPECT_TRUE(document().window()->isMaximized());
}

TEST_F(ShellTest, whatIsTypedInAFormReplacesItsFirstField) {
    makeDocument();
    trigger("renameLayer");
    auto* form = document().window()->findChild<QDialog*>("renameDialog");
    ASSERT_NE(form, nullptr);
    QApplication::setActiveWindow(form);
    ASSERT_NE(form->focusWidget(), nullptr);
    QTest::keyClicks(form->focusWidget(), "Sky");
    QTest::keyClick(form->focusWidget(), Qt::Key_Return);
    settle();
    EXPECT_EQ(document().session()->_state->activeLayer()->properties().name, "Sky");
    trigger("canvasSize");
    form = document().window()->findChild<QDialog*>("canvasSizeDialog");
    ASSERT_NE(form, nullptr);
    QApplication::setActiveWindow(form);
    QTest::keyClicks(form->focusWidget(), "750");
    QTest::keyClick(form->focusWidget(), Qt::Key_Return);
    EXPECT_TRUE(eventually([&] { return document().session()->_state->canvas.size.width == 750; }));
}

TEST_F(ShellTest, enterClosesWhatOnlyInforms) {
    makeDocument();
    for (const char* action : {"fileInformation", "systemInformation"}) {
        trigger(action);
        auto* form = document().window()->findChild<QDialog*>();
        ASSERT_NE(form, nullptr) << action;
        QApplication::clipboard()->setText("kept");
        QTest::keyClick(form, Qt::Key_Return);
        settle();
        EXPECT_EQ(document().window()->findChild<QDialog*>(), nullptr) << action;
        EXPECT_EQ(QApplication::clipboard()->text(), "kept");
    }
}

TEST_F(ShellTest, longWorkShowsItsProgressAndCanBeCancelled) {
    makeDocument();
    const auto activity = activities.begin("Exporting huge.png", &document());
    auto* cancel = child<QToolButton>(*document().window(), "cancelWork");
    ASSERT_TRUE(eventually([&] { return cancel->isVisible(); }));
    activity->progress()->setFraction(0.4);
    saveScreenshot(*document().window(), "document-busy");
    cancel->click();
    EXPECT_TRUE(activity->progress()->isCancelled());
}

TEST_F(ShellTest, picturesOfTheMainStates) {
    ASSERT_TRUE(openAndWait(TestPlaces::sample()));
    ASSERT_EQ(saveTo(folder / "Evening in the hills.ombrel"), ImageDocument::SaveResult::saved);
    addLayer(document());
    DocumentWindow& window = *document().window();
    window.resize(1200, 800);
    QTest::qWait(300);
    saveScreenshot(window, "document");
    window.showReport({"2 adjustment layers were left out.", "A layer’s knockout was ignored."});
    QTest::qWait(50);
    saveScreenshot(window, "document-report");
    for (const char* action :
         {"new", "export", "imageSize", "canvasSize", "rotateBy", "shortcuts"}) {
        trigger(action);
        QTest::qWait(std::string(action) == "export" ? 1500 : 50);
        QWidget* dialog = QApplication::activeModalWidget();
        if (dialog == nullptr) {
            const auto dialogs = window.findChildren<QDialog*>();
            ASSERT_FALSE(dialogs.isEmpty()) << action;
            dialog = dialogs.last();
        }
        saveScreenshot(*dialog, std::string("dialog-") + action);
        dialog->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    MessageBoxes boxes;
    std::optional<Dialogs::SaveAnswer> said;
    boxes.askToSave(&window, document().displayName(), [&](auto answer) { said = answer; });
    QTest::qWait(50);
    auto* box = window.findChild<QMessageBox*>();
    ASSERT_NE(box, nullptr);
    saveScreenshot(*box, "dialog-save-changes");
    QTest::keyClick(box, Qt::Key_Escape);
    EXPECT_EQ(said, Dialogs::SaveAnswer::cancel);
    answers.saves = {Dialogs::SaveAnswer::discard};
    window.close();
    ASSERT_TRUE(eventually([&] { return controller->startWindow() != nullptr; }));
    QTest::qWait(300);
    saveScreenshot(*controller->startWindow(), "start");
}

TEST_F(ShellTest, aMagnificationThatWasAskedForStaysWhenTheWindowGetsAnotherSize) {
    makeDocument({3000, 2000});
    DocumentWindow& window = *document().window();
    const auto stays = [&](double magnification) {
        EXPECT_DOUBLE_EQ(window.canvas().navigation().magnification(), magnification);
        const QSize before = window.canvas().size();
        window.resize(window.size() + QSize(80, 60)); // it may be as small as it gets
        EXPECT_TRUE(eventually([&] { return window.canvas().size() != before; }));
        EXPECT_DOUBLE_EQ(window.canvas().navigation().magnification(), magnification);
    };
    auto* zoom = window.findChild<QLineEdit*>("zoom");
    zoom->selectAll();
    QTest::keyClicks(zoom, "150");
    QTest::keyClick(zoom, Qt::Key_Return);
    stays(1.5);
    document().session()->setTool(ToolKind::zoom);
    const auto button = [&](const char* name) { return window.findChild<QPushButton*>(name); };
    ASSERT_TRUE(eventually([&] { return button("fitView") != nullptr; }));
    button("fitView")->click();
    const double whole = window.canvas().navigation().magnification();
    window.resize(window.size() + QSize(200, 160));
    EXPECT_TRUE(eventually([&] { return window.canvas().navigation().magnification() > whole; }))
        << "it goes on fitting";
    button("fullSize")->click();
    stays(1);
}

} // namespace ombrel
