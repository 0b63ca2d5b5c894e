// What somebody who paints waits for: from a sample of the pen to the frame that shows its dabs.
// The samples come in real time, through the canvas and the brush, onto a layer in the middle of
// twenty in mixed modes, 24 megapixels; frames are drawn as a window asks for them, on the same
// strand as the stroke. A frame counts once it is complete. The time of a run is the median of the
// samples that bring dabs; a display shows a frame each 16 ms, half of that is the aim, and never
// two frames.
#include "Base/MainExecutor.h"
#include "Base/Settings.h"
#include "Core/TileStore.h"
#include "Core/ViewMapping.h"
#include "Editor/CanvasController.h"
#include "Engine/CpuDevice.h"
#include "Engine/RenderActor.h"
#include "PenStroke.h"
#include "TilePainter.h"
#include "Tools/BrushTool.h"
#include "Tools/StrokeInterpolator.h"
#include "Tools/StrokeSmoother.h"
#include "Tools/ToolRegistry.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

namespace ombrel {

namespace {

using Clock = MainExecutor::Clock;

constexpr PixelSize canvasSize{6000, 4000};
constexpr int layerCount = 20;
constexpr int paintedLayer = 10;
constexpr double brushSize = 100;

/// Each layer has sixteen pictures of its own, in another order than its neighbours.
DocumentState document(TileStore& store, bool perceptual) {
    constexpr std::array modes{BlendMode::normal,  BlendMode::multiply,   BlendMode::screen,
                               BlendMode::overlay, BlendMode::softLight,  BlendMode::normal,
                               BlendMode::darken,  BlendMode::difference, BlendMode::linearDodge,
                               BlendMode::normal};
    DocumentState state;
    state.canvas.size = canvasSize;
    state.canvas.blendUsingGamma1 = !perceptual;
    for (int index = 0; index < layerCount; ++index) {
        PixelLayer layer = PixelLayer::named("Layer");
        layer.properties.opacity = index == 0 ? 1 : 0.6f;
        layer.properties.blendMode =
            index == 0 ? BlendMode::normal : modes[static_cast<std::size_t>(index) % modes.size()];
        std::vector<Tile> tiles;
        for (std::uint32_t picture = 0; picture < 16; ++picture) {
            TileBuffer buffer = store.acquireBuffer(TileFormat::rgba16Float);
            TilePainter(static_cast<std::uint32_t>(index) * 16 + picture + 1)
                .paint(buffer.bytes(), index == 0);
            tiles.push_back(store.makeTile(std::move(buffer)));
        }
        for (const TileCoord coord : PixelRect::ofSize(canvasSize).tileRange())
            layer.pixels.set(coord, tiles[static_cast<std::size_t>(coord.x + 5 * coord.y) % 16]);
        if (index == paintedLayer) state.activeLayerID = layer.id;
        state.root.write().children.emplace_back(std::move(layer));
    }
    return state;
}

/// Notes how many samples were sent when a batch of dabs went out that has been rendered since.
class BatchWatch final : public Executor {
public:
    BatchWatch(std::shared_ptr<Executor> executor, const std::size_t& sent)
        : executor_(std::move(executor)), sent_(sent) {}

    void post(Task task) override {
        executor_->post([this, samples = sent_, task = std::move(task)]() mutable {
            rendered_ = samples;
            task();
        });
    }
    bool isCurrent() const override { return executor_->isCurrent(); }
    /// While a batch is delivered, no other one is under way.
    std::size_t rendered() const { return rendered_; }

private:
    std::shared_ptr<Executor> executor_;
    const std::size_t& sent_;
    std::atomic<std::size_t> rendered_ = 0;
};

/// A window without a screen.
class PenWindow final : public CanvasHost {
public:
    PenWindow(double scale, bool perceptual) {
        session_ = DocumentSession::create({.main = main_,
                                            .worker = ThreadPool::shared(),
                                            .store = *store_,
                                            .device = device_,
                                            .settings = settings_},
                                           document(*store_, perceptual), "Open", {},
                                           ToolRegistry::makeTools());
        actor_ = std::make_unique<RenderActor>(device_, *store_, DocumentRenderer::Options{}, main_,
                                               [this](Frame frame) { receive(std::move(frame)); });
        watch_ = std::make_shared<BatchWatch>(actor_->strand(), sent_);
        canvas_ = CanvasController::create(session_, *this);
        session_->colors = PaintColors{{0.8f, 0.1f, 0.05f, 1}, {1, 1, 1, 1}};
        canvas_->setViewport({1600, 1000}, 1);
        canvas_->setViewTransform(
            {.center = {3000, 2000}, .scale = scale, .rotation = 0, .viewportSize = {1600, 1000}});
        auto& options = brush().options();
        options.update([](BrushSettings& settings) {
            settings.size = brushSize;
            settings.hardness = 0;
        });
        brush().setDynamicsSeed(1);
        untilComplete();
    }
    ~PenWindow() override {
        canvas_->close();
        canvas_.reset();
        settle();
        actor_.reset();
        session_.reset();
    }

    /// Milliseconds of the samples that bring dabs.
    std::vector<double> paint() {
        const ViewTransform view = canvas_->viewTransform();
        const double shown = std::min(1.0, view.scale);
        const std::vector<PenSample> pen = penStroke(1500 * shown, 900 * shown);
        const std::vector<bool> brings = samplesWithDabs(pen, view.scale);
        const Clock::time_point begin = Clock::now();
        sentAt_.clear();
        shownAt_.assign(pen.size(), {});
        sent_ = inFrame_ = 0;
        frames_ = composited_ = 0;
        canvas_->penProximity(true, PointerDevice::pen);
        for (const PenSample& sample : pen) {
            const auto due = begin + std::chrono::duration_cast<Clock::duration>(
                                         std::chrono::duration<double>(sample.seconds));
            main_.runUntil([] { return false; }, due);
            send(sample, sentAt_.empty(), sentAt_.size() + 1 == pen.size());
        }
        settle();
        // Until the frame that shows the last of them.
        main_.runUntil([this] { return isComplete_; });
        std::vector<double> latencies;
        for (std::size_t i = 0; i < inFrame_; ++i) {
            if (!brings[i]) continue;
            latencies.push_back(
                std::chrono::duration<double, std::milli>(shownAt_[i] - sentAt_[i]).count());
        }
        std::ranges::sort(latencies);
        return latencies;
    }
    void undo() {
        session_->undo();
        settle();
        untilComplete();
    }
    double worstMainMilliseconds() const { return worstMain_; }
    int framesShown() const { return frames_; }
    int tilesComposited() const { return composited_; }

private:
    void needsDisplay() override {
        if (canvas_) requestFrame();
    }
    void needsOverlayDisplay() override {}
    void cursorChanged() override {}
    void viewChanged() override {}
    void showStatus(const std::string& /*text*/) override {}
    void beep() override {}
    std::size_t ask(const CanvasQuestion& question) override { return question.buttons.size() - 1; }
    void colorPicked(PaintSlot /*slot*/, const PremultipliedColor& /*color*/) override {}
    void pointerAt(std::optional<RealPoint> /*point*/) override {}
    std::shared_ptr<Executor> renderExecutor() override { return watch_; }

    BrushTool& brush() { return dynamic_cast<BrushTool&>(*session_->toolOf(ToolKind::brush)); }

    void send(const PenSample& sample, bool isFirst, bool isLast) {
        PointerEvent event{.viewLocation = {800 + sample.place.x, 500 + sample.place.y},
                           .isTablet = true,
                           .pressure = sample.pressure,
                           .timestamp = sample.seconds};
        sentAt_.push_back(Clock::now());
        ++sent_;
        if (isFirst)
            canvas_->pointerDown(event);
        else
            canvas_->pointerDragged(event);
        if (isLast) canvas_->pointerUp(event);
        const double taken =
            std::chrono::duration<double, std::milli>(Clock::now() - sentAt_.back()).count();
        worstMain_ = std::max(worstMain_, taken);
    }
    /// The brush lags behind, and paints only so often.
    std::vector<bool> samplesWithDabs(const std::vector<PenSample>& pen, double scale) {
        const BrushSettings& settings = brush().options().get();
        StrokeSmoother smoother(settings.smoothing * 60 / scale);
        StrokeInterpolator interpolator(settings.size * settings.spacing);
        std::vector<bool> brings;
        for (const PenSample& sample : pen) {
            const RealPoint place = documentPoint(canvas_->viewTransform(),
                                                  {800 + sample.place.x, 500 + sample.place.y});
            const StrokePoint point{place, sample.pressure, {}};
            if (brings.empty()) {
                brings.push_back(!interpolator.start(smoother.begin(point)).empty());
            } else {
                const auto pulled = smoother.add(point);
                brings.push_back(pulled && !interpolator.add(*pulled).empty());
            }
        }
        return brings;
    }
    void requestFrame() {
        isComplete_ = false;
        const std::size_t inDocument = watch_->rendered();
        // A frame tells its node: by that we know how much of the stroke it has.
        BoardNodeID tag;
        std::memcpy(tag.rawValue.bytes.data(), &inDocument, sizeof(inDocument));
        Viewport viewport;
        viewport.transform = canvas_->viewTransform();
        viewport.contentsScale = 1;
        viewport.board.activeNode = tag;
        actor_->show(std::move(viewport), canvas_->displayState());
    }
    void receive(Frame frame) {
        isComplete_ = frame.isComplete;
        ++frames_;
        composited_ += frame.statistics.compositedTiles;
        if (!frame.isComplete || !frame.nodes.front().id) return;
        std::size_t samples = 0;
        std::memcpy(&samples, frame.nodes.front().id->rawValue.bytes.data(), sizeof(samples));
        const Clock::time_point now = Clock::now();
        for (; inFrame_ < samples; ++inFrame_)
            shownAt_[inFrame_] = now;
    }
    void untilComplete() {
        requestFrame();
        main_.runUntil([this] { return isComplete_; });
    }
    void settle() {
        while (session_->queuedOperations() > 0)
            main_.runUntil([this] { return session_->queuedOperations() == 0; });
    }

    MainExecutor main_;
    CpuDevice device_;
    Settings settings_{std::filesystem::temp_directory_path() / "ombrel-bench-settings.json"};
    std::shared_ptr<TileStore> store_ =
        TileStore::create({std::int64_t{4} << 30, std::int64_t{1} << 30, 1 << 29},
                          std::filesystem::temp_directory_path());
    std::shared_ptr<DocumentSession> session_;
    std::unique_ptr<RenderActor> actor_;
    std::shared_ptr<BatchWatch> watch_;
    std::shared_ptr<CanvasController> canvas_;
    std::size_t sent_ = 0;
    std::size_t inFrame_ = 0;
    std::vector<Clock::time_point> sentAt_;
    std::vector<Clock::time_point> shownAt_;
    bool isComplete_ = false;
    double worstMain_ = 0;
    int frames_ = 0;
    int composited_ = 0;
};

enum class View { wholePixels, wholeCanvas };

void stroke(benchmark::State& run, View view, bool perceptual) {
    PenWindow window(view == View::wholePixels ? 1 : 0.25, perceptual);
    std::vector<double> latencies;
    for (auto _ : run) {
        latencies = window.paint();
        run.SetIterationTime(latencies[latencies.size() / 2] / 1000);
        window.undo();
    }
    const auto at = [&](double share) {
        return latencies[static_cast<std::size_t>(share *
                                                  static_cast<double>(latencies.size() - 1))];
    };
    run.counters["medianMs"] = at(0.5);
    run.counters["p99Ms"] = at(0.99);
    run.counters["worstMs"] = latencies.back();
    run.counters["samples"] = static_cast<double>(latencies.size());
    run.counters["frames"] = window.framesShown();
    run.counters["tiles"] = window.tilesComposited();
    run.counters["worstOfMainMs"] = window.worstMainMilliseconds();
}

BENCHMARK_CAPTURE(stroke, linear, View::wholePixels, false)
    ->Name("Brush/stroke/linear")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(stroke, perceptual, View::wholePixels, true)
    ->Name("Brush/stroke/perceptual")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1);
BENCHMARK_CAPTURE(stroke, fitted, View::wholeCanvas, true)
    ->Name("Brush/stroke/perceptualFitted")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(1);

} // namespace

} // namespace ombrel
