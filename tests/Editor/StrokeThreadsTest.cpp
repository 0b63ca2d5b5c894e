// Painting on real threads while the view is drawn; what the thread sanitizer looks at.
#include "Base/MainExecutor.h"
#include "Base/Settings.h"
#include "Editor/CanvasFixture.h"
#include "Engine/Flattener.h"
#include "Engine/RenderActor.h"
#include "TestSeed.h"
#include "Tools/BrushTool.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace ombrel {

namespace {

/// A view without a screen, which draws whenever something changes.
class PaintedView final : public CanvasHost {
public:
    PaintedView(PixelDevice& device, TileStore& store, MainExecutor& main)
        : actor_(device, store, DocumentRenderer::Options{}, main,
                 [this](Frame frame) { frame_ = std::move(frame); }) {}

    void needsDisplay() override {
        if (canvas == nullptr) return;
        frame_.reset();
        Viewport viewport;
        viewport.transform = canvas->viewTransform();
        actor_.show(std::move(viewport), canvas->displayState());
    }
    void needsOverlayDisplay() override {}
    void cursorChanged() override {}
    void viewChanged() override {}
    void showStatus(const std::string& text) override { words.push_back(text); }
    void beep() override {}
    std::size_t ask(const CanvasQuestion& question) override { return question.buttons.size() - 1; }
    void colorPicked(PaintSlot /*slot*/, const PremultipliedColor& /*color*/) override {}
    void pointerAt(std::optional<RealPoint> /*point*/) override {}
    std::shared_ptr<Executor> renderExecutor() override { return actor_.strand(); }

    bool isComplete() const { return frame_ && frame_->isComplete; }
    /// Whether what is shown, at 100%, is this picture, by its tiles.
    bool shows(const TileGrid& picture) const;

    CanvasController* canvas = nullptr;
    std::vector<std::string> words;

private:
    RenderActor actor_;
    std::optional<Frame> frame_;
};

bool PaintedView::shows(const TileGrid& picture) const {
    for (const FrameTile& tile : frame_->nodes.front().tiles) {
        const auto* pixels = std::get_if<FramePixels>(&tile.source);
        if (pixels == nullptr || tile.level != 0) continue;
        const TileCoord coord{static_cast<std::int32_t>(tile.area.origin.x / 256),
                              static_cast<std::int32_t>(tile.area.origin.y / 256)};
        const TileCell cell = picture.cell(coord);
        if (!cell.isPixels()) return false;
        const TilePin pin(cell.tile());
        if (std::memcmp(pin.bytes(), pixels->bytes, bytesPerTile(TileFormat::rgba16Float)) != 0)
            return false;
    }
    return true;
}

TestDocument layers() {
    TestDocument document({700, 500});
    document.layer("ground").painted({0, 0, 700, 500}, [](std::int64_t x, std::int64_t y) {
        return PremultipliedColor{float(x) / 700, float(y) / 500, 0.2f, 1};
    });
    document.layer("ink").offset(-31, 77).mask(1).active();
    document.layer("above").filled({100, 100, 400, 300}, {0.3f, 0.2f, 0, 0.5f});
    document.blend(BlendMode::multiply);
    return document;
}

} // namespace

TEST(StrokeThreads, whatIsShownInTheEndIsWhatWasPainted) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    test::TemporaryFolder folder;
    Settings settings(folder / "settings.json");
    MainExecutor main;
    CpuDevice device;
    const TestDocument document = layers();
    const auto session =
        DocumentSession::create({.main = main,
                                 .worker = ThreadPool::shared(),
                                 .store = document.store(),
                                 .device = device,
                                 .settings = settings},
                                document.state(), "Open", {}, ToolRegistry::makeTools());
    auto view = std::make_unique<PaintedView>(device, document.store(), main);
    auto canvas = CanvasController::create(session, *view);
    view->canvas = canvas.get();
    session->setViewTransform(
        {.center = {350, 250}, .scale = 1, .rotation = 0, .viewportSize = {700, 500}});
    const auto event = [&] {
        return PointerEvent{.viewLocation = {double(random() % 700), double(random() % 500)}};
    };
    int strokes = 0;
    for (; strokes < 24; ++strokes) {
        session->setTool(strokes % 5 == 4 ? ToolKind::eraser : ToolKind::brush);
        session->_maskTargetID =
            strokes % 3 == 2 ? session->_state->activeLayerID : std::optional<LayerID>();
        session->colors = PaintColors{{0, float(strokes % 4) / 4, 0.5f, 1}, {1, 1, 1, 1}};
        canvas->pointerDown(event());
        for (std::uint64_t drags = random() % 12; drags > 0; --drags) {
            canvas->pointerDragged(event());
            if (random() % 2 == 0) main.runPending();
        }
        canvas->pointerUp(event());
        if (random() % 6 == 0) {
            session->undo();
            session->redo();
        }
    }
    main.runUntil([&] { return session->queuedOperations() == 0; });
    EXPECT_EQ(view->words, std::vector<std::string>{});
    EXPECT_EQ(session->_history->count(), strokes + 1);
    canvas->setInvalidationInterceptor({});
    view->needsDisplay();
    main.runUntil([&] { return view->isComplete(); });
    const auto picture = Flattener::compositeGrid(*session->_state, device, document.store());
    EXPECT_TRUE(view->shows(picture.value()));
    while (session->canUndo())
        session->undo();
    EXPECT_EQ(session->_state->root, document.state().root);

    // The window goes in the middle of a stroke that is still being rendered.
    session->_maskTargetID = std::nullopt;
    session->setTool(ToolKind::brush);
    canvas->pointerDown({.viewLocation = {10, 10}});
    canvas->pointerDragged({.viewLocation = {600, 400}});
    canvas->pointerUp({.viewLocation = {690, 10}});
    canvas->close();
    canvas.reset();
    view.reset();
    main.runUntil([&] { return session->queuedOperations() == 0; });
    EXPECT_EQ(session->_history->count(), 2);
    EXPECT_EQ(session->undoName(), "Brush Tool");
}

} // namespace ombrel
