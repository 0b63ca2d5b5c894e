// A canvas that a test sets up: it holds a state, a selection and a view, applies edits to the
// state and writes down what it was asked.
#pragma once

#include "Engine/BrushDab.h"
#include "Engine/StrokeStyle.h"
#include "Tools/ToolContext.h"

#include <map>
#include <string>
#include <vector>

namespace ombrel {

class FakeToolContext final : public ToolContext {
public:
    /// What a tool painted.
    struct Stroke {
        StrokeStyle style;
        std::vector<BrushDab> dabs;
        int ends = 0;
    };

    FakeToolContext() { view.viewportSize = {400, 300}; }

    DocumentState state;
    std::set<LayerID> selected;
    ViewTransform view;
    double scaleOfContents = 1;
    PremultipliedColor foreground = PremultipliedColor::black();
    PremultipliedColor background = PremultipliedColor::white();
    std::optional<HitRecord> hit;
    bool isIdle = true;
    std::optional<DocumentState> liveBase; ///< while a live edit is open
    std::vector<std::string> log;          ///< commits, refusals, commands, strokes
    bool takesStrokes = true;
    std::vector<Stroke> strokes;

    ViewTransform viewTransform() const override { return view; }
    void setViewTransform(const ViewTransform& transform) override { view = transform; }
    void updateViewTransform(const std::function<void(ViewTransform&)>& change) override {
        change(view);
    }
    const DocumentState& routedState() const override { return state; }
    double contentsScale() const override { return scaleOfContents; }
    PremultipliedColor foregroundColor() const override { return foreground; }
    PremultipliedColor backgroundColor() const override { return background; }
    RealRect targetRect(const RealRect& rect) const override { return rect; }
    void invalidate(CanvasPart /*part*/, const RealRect& /*rect*/) override {}
    std::optional<HitRecord> hitTest(HitKind /*kind*/, RealPoint /*point*/) const override {
        return hit;
    }
    void perform(const Command& command) override { log.push_back(command.name()); }
    void performInstantly(const Command& command) override { perform(command); }
    std::set<LayerID> selectedLayerIDs() const override { return selected; }
    void performAfterQueue(const Command& command, std::move_only_function<void()> then) override {
        perform(command);
        then();
    }
    PixelRect canvasBounds() const override { return PixelRect::ofSize(state.canvas.size); }
    bool confirmPerspectiveCrop() override { return false; }
    std::optional<LayerID> pixelTarget(LayerLocks /*locks*/) override { return std::nullopt; }
    std::shared_ptr<StrokeHandle> beginStroke(const StrokeStyle& style, std::string name) override {
        if (!takesStrokes) return nullptr;
        log.push_back("begin " + name);
        strokes.push_back({style, {}, 0});
        return std::make_shared<RecordedStroke>(*this, strokes.size() - 1);
    }
    bool preparePixelEdit(LayerLocks /*locks*/) override { return false; }
    bool requireIdle() override {
        if (!isIdle) log.emplace_back("busy");
        return isIdle;
    }
    void editLive(const Edit& edit) override {
        if (!liveBase) liveBase = state;
        edit(state);
    }
    void previewState(std::optional<DocumentState> /*preview*/) override {}
    void commitEdit(std::string name, const Edit& edit) override {
        editLive(edit);
        commitLive(std::move(name));
    }
    void commitLive(std::string name) override {
        liveBase.reset();
        log.push_back("commit " + name);
    }
    void cancelLive() override {
        if (liveBase) state = *liveBase;
        liveBase.reset();
        log.emplace_back("cancel");
    }
    void beginTransform() override {}
    void endTransform(bool /*apply*/) override {}
    bool isTransforming() const override { return false; }
    std::optional<TransformValues> transformValues() const override { return std::nullopt; }
    void updateTransform(const TransformValues& /*values*/) override {}
    bool isBusy() const override { return !isIdle; }
    ApplyTransformChoice confirmTransform() override { return ApplyTransformChoice::cancel; }
    std::optional<LayerID> editTargetLayer() const override { return state.activeLayerID; }
    void setNeedsOverlayDisplay() override {}
    void showStatus(const std::string& text) override { log.push_back(text); }
    void refuse(const std::string& text) override { log.push_back(text); }
    void selectTool(ToolKind /*kind*/) override {}

private:
    class RecordedStroke final : public StrokeHandle {
    public:
        RecordedStroke(FakeToolContext& canvas, std::size_t place)
            : canvas_(canvas), place_(place) {}
        ~RecordedStroke() override {
            if (canvas_.strokes[place_].ends == 0) canvas_.log.emplace_back("cancel stroke");
        }

        void extend(std::span<const BrushDab> dabs) override {
            std::vector<BrushDab>& all = canvas_.strokes[place_].dabs;
            all.insert(all.end(), dabs.begin(), dabs.end());
        }
        void end() override { ++canvas_.strokes[place_].ends; }
        void setFinalizer(Finalizer /*finalizer*/) override { end(); }

    private:
        FakeToolContext& canvas_;
        const std::size_t place_;
    };
};

} // namespace ombrel
