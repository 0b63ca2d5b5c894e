// A canvas that a script works on: does what a step says with tools and keys as a hand would, one
// document pixel a view point. It lives on a session as the canvas of a window does; when it goes,
// no stroke of it is being rendered any more. Main thread.
#pragma once

#include "Base/Strand.h"
#include "Commands/Coding/Decoder.h"
#include "Editor/CanvasController.h"
#include "Editor/CanvasHost.h"
#include "Editor/ScriptTools.h"

#include <expected>
#include <memory>
#include <string>

namespace ombrel {

class ScriptCanvas final : private CanvasHost {
public:
    explicit ScriptCanvas(std::shared_ptr<DocumentSession> session);
    ~ScriptCanvas() override;

    using Result = std::expected<void, std::string>;

    /// What they begin may end later: with the session's queue.
    Result useTool(const Json& step, const DecodingContext& context);
    Result pressKey(const Json& key, const DecodingContext& context);
    /// What was refused since the last step began, in its words.
    Result refusals() const;

private:
    void needsDisplay() override {}
    void needsOverlayDisplay() override {}
    void cursorChanged() override {}
    void viewChanged() override {}
    void showStatus(const std::string& text) override;
    void beep() override { isRefusal_ = true; }
    std::size_t ask(const CanvasQuestion& question) override;
    void colorPicked(PaintSlot /*slot*/, const PremultipliedColor& /*color*/) override {}
    void pointerAt(std::optional<RealPoint> /*point*/) override {}
    std::shared_ptr<Executor> renderExecutor() override { return strand_; }

    Result prepare(const ScriptToolStep& step, const DecodingContext& context);
    Result chooseLayer(const ScriptToolStep& step);
    Result setOptions(const ScriptToolStep& step, const DecodingContext& context);
    Result sendAll(const ScriptToolStep& step);
    Result send(const ScriptEvent& event);

    const std::shared_ptr<DocumentSession> session_;
    const std::shared_ptr<Strand> strand_ = std::make_shared<Strand>("Script"); ///< of strokes
    const std::shared_ptr<CanvasController> canvas_;
    std::optional<std::string> refusal_;
    bool isRefusal_ = false; ///< the words that come next are one's
    double time_ = 0;        ///< of the last event
};

} // namespace ombrel
