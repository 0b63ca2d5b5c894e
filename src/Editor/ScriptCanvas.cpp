#include "Editor/ScriptCanvas.h"

#include "Core/ViewMapping.h"
#include "Tools/BrushTool.h"

#include <fmt/format.h>
#include <utility>

namespace ombrel {

namespace {

using Result = ScriptCanvas::Result;

std::unexpected<std::string> fault(std::string message) {
    return std::unexpected(std::move(message));
}

Result check(const ScriptEvent& event, bool isHeld) {
    const bool wantsHeld = event.type == ScriptEventType::drag || event.type == ScriptEventType::up;
    if (wantsHeld && !isHeld) return fault("no button is held");
    if (!wantsHeld && isHeld) return fault("the button is held already");
    if (event.pressure && !(*event.pressure >= 0 && *event.pressure <= 1))
        return fault("field \"pressure\" must be from 0 to 1");
    return {};
}

std::optional<ToolKey> keyOf(const ScriptKeyStep& step) {
    if (int(step.digit.has_value()) + int(step.character.has_value()) +
            int(step.name.has_value()) !=
        1)
        return std::nullopt;
    if (step.name) return ToolKey::named(*step.name);
    if (step.character) return ToolKey::character(*step.character);
    if (*step.digit < 0 || *step.digit > 9) return std::nullopt;
    return ToolKey::digit(static_cast<int>(*step.digit));
}

} // namespace

ScriptCanvas::ScriptCanvas(std::shared_ptr<DocumentSession> session)
    : session_(std::move(session)), canvas_(CanvasController::create(session_, *this)) {}

ScriptCanvas::~ScriptCanvas() {
    canvas_->close();
    strand_->drain();
}

void ScriptCanvas::showStatus(const std::string& text) {
    if (std::exchange(isRefusal_, false) && !refusal_) refusal_ = text;
}

// Nobody is there to answer, and a step must not do less than it says.
std::size_t ScriptCanvas::ask(const CanvasQuestion& question) {
    if (!refusal_) refusal_ = question.title;
    return question.buttons.size() - 1;
}

Result ScriptCanvas::refusals() const {
    if (refusal_) return fault(*refusal_);
    return {};
}

Result ScriptCanvas::useTool(const Json& step, const DecodingContext& context) {
    refusal_.reset();
    Decoder in(context);
    const auto decoded = FieldCodec<ScriptToolStep>::decode(step, in);
    if (!decoded) return fault(decoded.error().message);
    if (Result prepared = prepare(*decoded, context); !prepared) return prepared;
    return sendAll(*decoded);
}

Result ScriptCanvas::prepare(const ScriptToolStep& step, const DecodingContext& context) {
    if (Result chosen = chooseLayer(step); !chosen) return chosen;
    session_->setTool(step.tool);
    if (*session_->_activeTool != step.tool) return fault("the tool at hand can't be left");
    PaintColors colors = *session_->colors;
    if (step.foreground) colors.foreground = step.foreground->value;
    if (step.background) colors.background = step.background->value;
    session_->colors = colors;
    // One view point a pixel, the same place in both: nothing is rounded on the way.
    session_->setViewTransform({});
    return setOptions(step, context);
}

Result ScriptCanvas::chooseLayer(const ScriptToolStep& step) {
    if (step.layer) {
        if (session_->_state->find(*step.layer) == nullptr)
            return fault("field \"layer\" names no layer of the document");
        session_->setActiveLayer(*step.layer);
    }
    session_->_maskTargetID = std::nullopt;
    if (step.target == EditTarget::pixels) return {};
    session_->_maskTargetID = session_->_state->activeLayerID;
    if (!session_->maskTarget()) return fault("The layer has no mask.");
    return {};
}

Result ScriptCanvas::setOptions(const ScriptToolStep& step, const DecodingContext& context) {
    auto* const brush = dynamic_cast<BrushTool*>(session_->tool());
    if (brush != nullptr) brush->setDynamicsSeed(static_cast<std::uint64_t>(step.seed));
    if (!step.options) return {};
    if (brush == nullptr)
        return fault(
            fmt::format("the tool \"{}\" takes no options", descriptionOf(step.tool).identifier));
    Decoder in(context);
    const Decoder::Place place(in, "options");
    // A step says all that is special about it; what came before has no part in it.
    const BrushSettings untouched = BrushTool(step.tool).options().get();
    const auto options = ScriptBrush::decode(step.options->json, in, untouched);
    if (!options) return fault(options.error().message);
    brush->options().set(options->settings);
    return {};
}

Result ScriptCanvas::sendAll(const ScriptToolStep& step) {
    for (std::size_t i = 0; i < step.events.size(); ++i) {
        Result sent = check(step.events[i], canvas_->isGestureActive());
        if (sent) sent = send(step.events[i]);
        if (sent) continue;
        canvas_->cancelGesture();
        return fault(fmt::format("event {}: {}", i + 1, sent.error()));
    }
    if (!canvas_->isGestureActive()) return {};
    canvas_->cancelGesture();
    return fault("the button is still held after the last event");
}

Result ScriptCanvas::send(const ScriptEvent& event) {
    const PointerDevice device = event.deviceUsed();
    time_ = event.time.value_or(time_);
    canvas_->penProximity(device != PointerDevice::mouse, device);
    const PointerEvent sent{
        .viewLocation = viewPoint(canvas_->viewTransform(), {event.x, event.y}),
        // What is written counts, even of a mouse that has no such thing.
        .isTablet = device != PointerDevice::mouse || event.pressure || event.tilt,
        .pressure = event.pressure.value_or(1),
        .tilt = event.tilt.value_or(RealPoint{}),
        .timestamp = time_,
        .modifiers = event.modifiers,
    };
    switch (event.type) {
    case ScriptEventType::down:
        canvas_->pointerDown(sent);
        break;
    case ScriptEventType::drag:
        canvas_->pointerDragged(sent);
        break;
    case ScriptEventType::up:
        canvas_->pointerUp(sent);
        break;
    case ScriptEventType::move:
        canvas_->pointerMoved(sent);
        break;
    }
    return refusals();
}

Result ScriptCanvas::pressKey(const Json& key, const DecodingContext& context) {
    refusal_.reset();
    Decoder in(context);
    const Decoder::Place place(in, "key");
    const auto step = FieldCodec<ScriptKeyStep>::decode(key, in);
    if (!step) return fault(step.error().message);
    const auto pressed = keyOf(*step);
    if (!pressed)
        return fault(
            in.mustBe("one of a digit from 0 to 9, a character and a name").error().message);
    const bool isUsed = canvas_->keyDown(*pressed, step->modifiers);
    canvas_->keyUp(*pressed, {});
    if (!isUsed) return fault("the key does nothing here");
    return refusals();
}

} // namespace ombrel
