#include "App/Shell/ImageDocument.h"
#include "Commands/RotateCommands.h"
#include "IO/Native/NativeFile.h"
#include "ShellFixture.h"
#include "support/FileSizeLimit.h"
#include "support/SmallDisk.h"
#include "support/TestDocument.h"

#include <QListWidget>
#include <fstream>

namespace ombrel {

namespace {

using SaveAnswer = Dialogs::SaveAnswer;
using SaveResult = ImageDocument::SaveResult;
using Path = std::filesystem::path;

std::string contentsOf(const Path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What a file must keep of a document; tiles that were read are others of the same pixels.
std::vector<std::string> description(const DocumentState& state) {
    std::vector<std::string> lines{state.canvas.size.text(), state.canvas.profile.name()};
    for (const auto& layer : state.allPixelLayers()) {
        lines.push_back(layer->id.rawValue.text() + layer->properties.name +
                        layer->pixels.color(17, 300).text());
    }
    return lines;
}

void writeText(const Path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

} // namespace

TEST_F(ShellTest, aDocumentIsMadeEditedSavedAndOpenedAgain) {
    makeDocument();
    EXPECT_EQ(document().displayName(), "Untitled");
    EXPECT_FALSE(document().isEdited());
    EXPECT_FALSE(document().window()->isWindowModified());

    trigger("newLayer");
    EXPECT_TRUE(document().window()->isWindowModified());
    trigger("undo");
    EXPECT_FALSE(document().window()->isWindowModified());
    trigger("redo");

    answers.places = {folder / "picture.ombrel"};
    trigger("save");
    ASSERT_TRUE(eventually([&] { return !document().isSaving(); }));
    EXPECT_EQ(answers.proposed.front().filename(), "Untitled.ombrel");
    EXPECT_FALSE(document().window()->isWindowModified());
    EXPECT_EQ(document().window()->windowTitle(), "picture.ombrel[*] – Ombrel");
    const auto saved = description(*document().session()->_state);

    document().window()->close();
    ASSERT_TRUE(waitForDocuments(0));
    ASSERT_TRUE(openAndWait(folder / "picture.ombrel"));
    EXPECT_EQ(description(*document().session()->_state), saved);
    EXPECT_EQ(controller->recentFiles().paths(), std::vector<Path>{folder / "picture.ombrel"});
    controller->openFiles({folder / "picture.ombrel"}); // is there already
    QTest::qWait(50);
    EXPECT_EQ(documentCount(), 1u);
}

TEST_F(ShellTest, closingAnEditedDocumentAsksAndDoesWhatIsSaid) {
    for (int i = 0; i < 3; ++i) {
        makeDocument();
        addLayer(document(static_cast<std::size_t>(i)));
    }
    answers.saves = {SaveAnswer::cancel, SaveAnswer::discard, SaveAnswer::save};
    answers.places = {folder / "kept.ombrel"};
    document().window()->close();
    QTest::qWait(20);
    EXPECT_EQ(documentCount(), 3u);
    document().window()->close();
    ASSERT_TRUE(waitForDocuments(2));
    EXPECT_FALSE(std::filesystem::exists(folder / "kept.ombrel"));
    document().window()->close();
    ASSERT_TRUE(waitForDocuments(1));
    EXPECT_TRUE(std::filesystem::exists(folder / "kept.ombrel"));
    // Where no place is chosen, nothing is closed.
    answers.saves = {SaveAnswer::save};
    answers.places = {std::nullopt};
    document().window()->close();
    QTest::qWait(20);
    EXPECT_EQ(documentCount(), 1u);
    EXPECT_TRUE(document().isEdited());
}

TEST_F(ShellTest, aSaveThatFailsLeavesTheDocumentEditedAndTheFileAsItWas) {
    makeDocument();
    ASSERT_EQ(saveTo(folder / "a.ombrel"), SaveResult::saved);
    const std::string before = contentsOf(folder / "a.ombrel");
    addLayer(document());
    {
        const test::FileSizeLimit limit(1024);
        EXPECT_EQ(saveTo(folder / "a.ombrel"), SaveResult::failed);
    }
    EXPECT_TRUE(document().isEdited());
    EXPECT_EQ(contentsOf(folder / "a.ombrel"), before);
    EXPECT_EQ(saveTo(folder / "a.ombrel" / "b.ombrel"), SaveResult::failed);
    ASSERT_EQ(answers.failures.size(), 2u);
    EXPECT_NE(answers.failures[0].find("“a.ombrel” could not be saved."), std::string::npos);
    EXPECT_NE(answers.failures[0].find("File too large"), std::string::npos);
    EXPECT_NE(answers.failures[1].find("Not a directory"), std::string::npos);
    EXPECT_TRUE(document().isEdited());
    EXPECT_EQ(document().fileURL(), folder / "a.ombrel");
    // Closing with "Save" that fails keeps the window, too.
    answers.saves = {SaveAnswer::save};
    {
        const test::FileSizeLimit limit(1024);
        document().window()->close();
        ASSERT_TRUE(eventually([&] { return !document().isSaving(); }));
    }
    EXPECT_EQ(documentCount(), 1u);
    EXPECT_EQ(saveTo(folder / "a.ombrel"), SaveResult::saved);
    EXPECT_FALSE(document().isEdited());
}

TEST_F(ShellTest, aFullDiskIsToldAndKeepsTheOldFile) {
    const test::SmallDisk disk(1);
    if (!disk.isMounted()) GTEST_SKIP() << "no right to mount a small disk";
    makeDocument({2048, 2048});
    ASSERT_EQ(saveTo(disk.folder() / "a.ombrel"), SaveResult::saved);
    const std::string before = contentsOf(disk.folder() / "a.ombrel");
    TestDocument noisy({2048, 2048}, store);
    noisy.layer("Noise").painted({0, 0, 2048, 2048}, [](int x, int y) {
        const auto mixed = static_cast<std::uint32_t>(x * 2654435761u ^ y * 40503u) * 2246822519u;
        return PremultipliedColor{static_cast<float>(mixed >> 8) / 16777216.0f,
                                  static_cast<float>(mixed & 0xFFFF) / 65536.0f, 0, 1};
    });
    const PixelLayer noise = *noisy.state().allPixelLayers().front();
    document().session()->perform(AddLayerCommand{noise, {}});
    EXPECT_EQ(saveTo(disk.folder() / "a.ombrel"), SaveResult::failed);
    ASSERT_EQ(answers.failures.size(), 1u);
    EXPECT_NE(answers.failures[0].find("No space left on device"), std::string::npos);
    EXPECT_EQ(contentsOf(disk.folder() / "a.ombrel"), before);
    EXPECT_TRUE(document().isEdited());
}

TEST_F(ShellTest, anEditDuringASaveIsNotTakenForSaved) {
    makeDocument();
    addLayer(document());
    std::optional<SaveResult> result;
    document().saveToURL(folder / "a.ombrel", [&](SaveResult said) { result = said; });
    addLayer(document());
    ASSERT_TRUE(eventually([&] { return result.has_value(); }));
    EXPECT_EQ(*result, SaveResult::saved);
    EXPECT_TRUE(document().isEdited());
    trigger("undo");
    EXPECT_FALSE(document().isEdited());
}

TEST_F(ShellTest, theOtherNodesOfABoardSurviveEditingAndSaving) {
    Board board(TestDocument({300, 200}, store).layer("A").filled({1, 0, 0, 1}).active().state(),
                "First");
    board.nodes.push_back({.name = "Second",
                           .origin = {500, 0},
                           .state = TestDocument({80, 90}, store).layer("B").active().state()});
    ASSERT_TRUE(saveNative(board, folder / "board.ombrel"));
    ASSERT_TRUE(openAndWait(folder / "board.ombrel"));
    addLayer(document());
    ASSERT_EQ(saveTo(folder / "board.ombrel"), SaveResult::saved);
    const auto saved = openNative(folder / "board.ombrel", *store);
    ASSERT_TRUE(saved);
    ASSERT_EQ(saved->nodes.size(), 2u);
    EXPECT_EQ(saved->activeNode().name, "First");
    EXPECT_EQ(saved->activeNode().state.allPixelLayers().size(), 2u);
    EXPECT_EQ(saved->nodes[1], board.nodes[1]);
}

TEST_F(ShellTest, anImportedPictureIsSavedAsADocumentBesideIt) {
    makeDocument();
    document().exportToURL(folder / "photo.png", ImageFormat::png, {});
    ASSERT_TRUE(eventually([&] { return activities.all().empty(); }));
    ASSERT_TRUE(openAndWait(folder / "photo.png"));
    const std::string picture = contentsOf(folder / "photo.png");
    EXPECT_EQ(document(1).displayName(), "photo.png");
    EXPECT_EQ(document(1).fileURL(), std::nullopt);
    addLayer(document(1));
    answers.places = {folder / "photo.ombrel"};
    trigger("save", 1);
    ASSERT_TRUE(eventually([&] { return !document(1).isSaving(); }));
    EXPECT_EQ(answers.proposed.front(), folder / "photo.ombrel");
    EXPECT_EQ(contentsOf(folder / "photo.png"), picture);
    EXPECT_EQ(document(1).fileURL(), folder / "photo.ombrel");
}

TEST_F(ShellTest, revertingGoesBackToTheFileOnceItIsConfirmed) {
    makeDocument();
    ASSERT_EQ(saveTo(folder / "a.ombrel"), SaveResult::saved);
    EXPECT_FALSE(isEnabled("revert"));
    const auto saved = description(*document().session()->_state);
    addLayer(document());
    answers.confirmations = {false, true};
    trigger("revert");
    EXPECT_TRUE(document().isEdited());
    trigger("revert");
    ASSERT_TRUE(eventually([&] { return !document().isReverting(); }));
    EXPECT_FALSE(document().isEdited());
    EXPECT_EQ(description(*document().session()->_state), saved);
    EXPECT_FALSE(document().session()->canUndo());
    // A file that has gone changes nothing.
    addLayer(document());
    std::filesystem::remove(folder / "a.ombrel");
    answers.confirmations = {true};
    trigger("revert");
    ASSERT_TRUE(eventually([&] { return !document().isReverting(); }));
    ASSERT_EQ(answers.failures.size(), 1u);
    EXPECT_NE(answers.failures[0].find("No such file or directory"), std::string::npos);
    EXPECT_TRUE(document().isEdited());
    EXPECT_EQ(layerCount(), 3u);
}

TEST_F(ShellTest, damagedAndMissingFilesAreToldAndOpenNoWindow) {
    writeText(folder / "noise.png", "this is no picture");
    writeText(folder / "cut.ombrel", "TARNIVAL\3");
    settings->set(TextListSetting{"recentFiles", 20}, {"file://" + (folder / "gone.png").string()});
    controller->start({folder / "noise.png", folder / "cut.ombrel", folder / "gone.png"});
    ASSERT_TRUE(eventually([&] { return answers.failures.size() == 3; }));
    EXPECT_EQ(documentCount(), 0u);
    ASSERT_TRUE(eventually([&] { return controller->startWindow() != nullptr; }));
    std::string all;
    for (const std::string& failure : answers.failures)
        all += failure + "\n";
    EXPECT_NE(all.find("“noise.png” could not be opened. The file could not be read as an image."),
              std::string::npos)
        << all;
    EXPECT_NE(all.find("“cut.ombrel” could not be opened."), std::string::npos) << all;
    EXPECT_NE(all.find("gone.png: No such file or directory"), std::string::npos) << all;
    EXPECT_TRUE(controller->recentFiles().paths().empty());
    EXPECT_EQ(store->statistics().tileCount, 0);
}

TEST_F(ShellTest, closingADocumentGivesItsTilesBack) {
    makeDocument({3000, 2000});
    document().session()->perform(AddLayerCommand{
        *TestDocument({3000, 2000}, store)
             .layer("Painted")
             .painted({0, 0, 3000, 2000},
                      [](int x, int y) {
                          return PremultipliedColor{static_cast<float>(x % 7) / 7, 0,
                                                    static_cast<float>(y % 5) / 5, 1};
                      })
             .state()
             .allPixelLayers()
             .front(),
        {}});
    EXPECT_GT(store->statistics().tileCount, 90);
    QTest::qWait(100); // frames are drawn, thumbnails of layers too
    answers.saves = {SaveAnswer::discard};
    document().window()->close();
    ASSERT_TRUE(waitForDocuments(0));
    EXPECT_TRUE(eventually([&] { return store->statistics().tileCount == 0; }));
    EXPECT_NE(controller->startWindow(), nullptr);
}

TEST_F(ShellTest, quittingAsksForEachUnsavedDocumentAndStopsAtCancel) {
    for (std::size_t i = 0; i < 3; ++i) {
        makeDocument();
        if (i != 1) addLayer(document(i));
    }
    answers.saves = {SaveAnswer::discard, SaveAnswer::cancel};
    controller->quit();
    EXPECT_EQ(answers.asked, (std::vector<std::string>{"Untitled", "Untitled 3"}));
    EXPECT_FALSE(hasEnded);
    EXPECT_EQ(documentCount(), 3u);
    EXPECT_TRUE(document().isEdited());

    answers.saves = {SaveAnswer::discard, SaveAnswer::save};
    answers.places = {folder / "third.ombrel"};
    controller->quit();
    ASSERT_TRUE(eventually([&] { return hasEnded; }));
    EXPECT_EQ(documentCount(), 0u);
    EXPECT_TRUE(std::filesystem::exists(folder / "third.ombrel"));
    EXPECT_EQ(controller->startWindow(), nullptr);
}

TEST_F(ShellTest, theStartWindowComesWithoutDocumentsAndItsCloseEndsTheProgram) {
    controller->start({});
    ASSERT_TRUE(eventually([&] { return controller->startWindow() != nullptr; }));
    EXPECT_EQ(controller->startWindow()->recentList()->count(), 0);
    controller->startWindow()->findChild<QWidget*>("create")->setFocus();
    makeDocument();
    EXPECT_EQ(controller->startWindow(), nullptr);
    document().window()->close();
    ASSERT_TRUE(waitForDocuments(0));
    ASSERT_NE(controller->startWindow(), nullptr);
    EXPECT_FALSE(hasEnded);
    controller->startWindow()->close();
    EXPECT_TRUE(hasEnded);
}

TEST_F(ShellTest, closingDuringWorkStaysOrWaitsForWhatTheWorkMakes) {
    makeDocument();
    DocumentSession& session = *document().session();
    session.perform(RotateCanvasCommand{30});
    ASSERT_TRUE(*session._isBusy);
    answers.confirmations = {false};
    document().window()->close();
    EXPECT_EQ(documentCount(), 1u);
    ASSERT_TRUE(eventually([&] { return !*session._isBusy; }));
    const PixelSize turned = session._state->canvas.size;
    EXPECT_NE(turned, (PixelSize{600, 400}));

    session.perform(RotateCanvasCommand{-90});
    ASSERT_TRUE(*session._isBusy);
    answers.confirmations = {true};
    answers.saves = {SaveAnswer::save};
    answers.places = {folder / "turned.ombrel"};
    document().window()->close();
    EXPECT_EQ(documentCount(), 1u) << "the work goes on";
    ASSERT_TRUE(waitForDocuments(0));
    ASSERT_TRUE(openAndWait(folder / "turned.ombrel"));
    EXPECT_EQ(document().session()->_state->canvas.size, (PixelSize{turned.height, turned.width}));
}

TEST_F(ShellTest, aPlacedImageIsOneLayerInTheMiddleAndADamagedOneSaysSo) {
    makeDocument({100, 80});
    addLayer(document());
    saveTo(folder / "two layers.ombrel");
    makeDocument({300, 200});
    std::ofstream(folder / "broken.png") << "no picture";
    const std::size_t before = layerCount(1);
    answers.opened = {{folder / "two layers.ombrel"}, {folder / "broken.png"}};
    trigger("placeImage", 1);
    ASSERT_TRUE(eventually([&] { return layerCount(1) == before + 1; }));
    const DocumentSession& session = *document(1).session();
    EXPECT_EQ(session.undoName(), "Place Image");
    const PixelLayer* placed = session._state->activePixelLayer();
    ASSERT_NE(placed, nullptr);
    EXPECT_EQ(placed->properties.name, "two layers");
    EXPECT_EQ(placed->offset, (PixelOffset{100, 60}));
    trigger("placeImage", 1);
    ASSERT_TRUE(eventually([&] { return !answers.failures.empty(); }));
    EXPECT_TRUE(answers.failures[0].starts_with("“broken.png” could not be placed."));
    EXPECT_EQ(layerCount(1), before + 1);
}

TEST_F(ShellTest, whoeverWaitsForTheEndOfWorkIsAnswered) {
    makeDocument();
    document().session()->perform(RotateCanvasCommand{30});
    answers.confirmations = {true, true};
    answers.saves = {SaveAnswer::discard, SaveAnswer::discard};
    controller->quit();
    document().window()->close();
    EXPECT_TRUE(eventually([&] { return hasEnded; }));
}

} // namespace ombrel
