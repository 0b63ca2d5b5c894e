// A canvas without a window over a session that a test drives, with a log of what its host hears.
#pragma once

#include "Core/ViewMapping.h"
#include "Editor/CanvasController.h"
#include "Editor/SessionFixture.h"
#include "Tools/ToolRegistry.h"

#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

namespace ombrel {

struct RecordingHost final : CanvasHost {
    void needsDisplay() override { ++displays; }
    void needsOverlayDisplay() override {}
    void cursorChanged() override {}
    void viewChanged() override { ++viewChanges; }
    void showStatus(const std::string& text) override { log.push_back(text); }
    void beep() override { log.emplace_back("beep"); }
    std::size_t ask(const CanvasQuestion& question) override {
        questions.push_back(question);
        return answer;
    }
    void colorPicked(PaintSlot /*slot*/, const PremultipliedColor& /*color*/) override {}
    void pointerAt(std::optional<RealPoint> point) override { pointer = point; }
    std::shared_ptr<Executor> renderExecutor() override { return executor; }

    std::vector<std::string> takeLog() { return std::exchange(log, {}); }

    std::vector<std::string> log;
    std::vector<CanvasQuestion> questions;
    std::size_t answer = 0;
    std::optional<RealPoint> pointer;
    std::shared_ptr<Executor> executor; ///< of strokes
    int displays = 0;
    int viewChanges = 0;
};

/// Writes down its events by name, and does what a test says.
class ScriptedTool final : public Tool {
public:
    ScriptedTool(ToolKind kind, std::vector<std::string>& log) : kind_(kind), log_(log) {}

    ToolKind kind() const override { return kind_; }
    ToolCursor currentCursor(ToolModifiers /*modifiers*/) const override {
        return ToolCursor::crosshair;
    }
    void pointerDown(const PointerSample& sample, ToolContext& in) override {
        note("down", sample);
        if (onDown) onDown(in);
    }
    void pointerDragged(const PointerSample& sample, ToolContext& /*in*/) override {
        note("drag", sample);
    }
    void pointerUp(const PointerSample& sample, ToolContext& /*in*/) override {
        note("up", sample);
    }
    void pointerMoved(const std::optional<PointerSample>& sample, ToolContext& /*in*/) override {
        log_.push_back(name() + (sample ? " moved" : " left"));
    }
    bool keyDown(const ToolKey& /*key*/, ToolModifiers /*modifiers*/,
                 ToolContext& /*in*/) override {
        return takesKeys;
    }
    void modifiersChanged(ToolModifiers modifiers, ToolContext& /*in*/) override {
        lastModifiers = modifiers;
    }
    void toolDidLeave(ToolContext& /*in*/) override { log_.push_back(name() + " gone"); }
    void cancelGesture(ToolContext& /*in*/) override { log_.push_back(name() + " cancelled"); }

    bool takesKeys = false;
    ToolModifiers lastModifiers;
    PointerSample last;
    std::function<void(ToolContext&)> onDown;

private:
    std::string name() const { return std::string(descriptionOf(kind_).identifier); }
    void note(const char* what, const PointerSample& sample) {
        last = sample;
        log_.push_back(fmt::format("{} {}", name(), what));
    }

    ToolKind kind_;
    std::vector<std::string>& log_;
};

struct CanvasFixture : SessionFixture {
    /// The kinds named are scripted tools instead of their own.
    explicit CanvasFixture(DocumentState state, const std::vector<ToolKind>& scripted = {})
        : SessionFixture(state) {
        ToolSet tools = ToolRegistry::makeTools();
        for (const ToolKind kind : scripted)
            tools[kind] = std::make_unique<ScriptedTool>(kind, events);
        open(std::move(state), std::move(tools));
        host.executor = {std::shared_ptr<Executor>(), &executors.worker};
        canvas = CanvasController::create(session, host, settings);
        canvas->setViewport({400, 300}, 1);
    }

    ScriptedTool& scripted(ToolKind kind) {
        return dynamic_cast<ScriptedTool&>(*session->toolOf(kind));
    }
    template <typename T>
    T& tool(ToolKind kind) {
        return dynamic_cast<T&>(*session->toolOf(kind));
    }
    /// At a point of the document.
    PointerEvent at(double x, double y, ToolModifiers modifiers = {}) const {
        return {.viewLocation = viewPoint(canvas->viewTransform(), {x, y}), .modifiers = modifiers};
    }
    void drag(const PointerEvent& from, const PointerEvent& to) {
        canvas->pointerDown(from);
        canvas->pointerDragged(to);
        canvas->pointerUp(to);
    }
    std::vector<std::string> takeEvents() { return std::exchange(events, {}); }
    const PixelLayer& layer(LayerID id) const { return *session->_state->find(id)->pixelLayer(); }

    std::vector<std::string> events;
    RecordingHost host;
    std::shared_ptr<CanvasController> canvas;
};

} // namespace ombrel
