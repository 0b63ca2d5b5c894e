// Events of pointers, keys and wheels on their way to tools.
#include "Editor/CanvasController.h"
#include "Tools/ToolRegistry.h"

#include <cmath>
#include <utility>

namespace ombrel {

namespace {

constexpr double wheelFactor = 1.25; ///< of magnification, a notch
constexpr double fineWheelFactor = 1.05;
constexpr double pointsOfNotch = 60; ///< scrolled

/// The letter that a key types, in lower case; nothing for other keys.
std::optional<char> letterOf(const ToolKey& key) {
    const auto* character = std::get_if<ToolKey::Character>(&key.value);
    if (character == nullptr || character->text.size() != 1) return std::nullopt;
    const char letter = character->text.front();
    if (letter >= 'a' && letter <= 'z') return letter;
    if (letter >= 'A' && letter <= 'Z') return static_cast<char>(letter - 'A' + 'a');
    return std::nullopt;
}

constexpr ToolModifiers shortcutKeys =
    ToolModifiers::command | ToolModifiers::option | ToolModifiers::control;

} // namespace

void CanvasController::setViewport(ViewTransform::Size size, double contentsScale) {
    navigation_.setViewport(size, contentsScale);
}

// What tools see of the modifiers: with the held key, without those that chose a temporary tool.
ToolModifiers CanvasController::seenModifiers() const {
    const ToolModifiers held =
        temporary_.isSpaceHeld() ? ToolModifiers::heldKey : ToolModifiers::none;
    const ToolModifiers consumed = press_ ? press_->consumed : temporary_.consumed(modifiers_);
    return (modifiers_ | held).without(consumed);
}

PointerSample CanvasController::sampleOf(const PointerEvent& event) {
    return pointer_.sampleOf(event, viewTransform(), seenModifiers());
}

void CanvasController::pointerDown(const PointerEvent& event) {
    if (isGestureActive()) {
        // A second press of a button that is held: its release was lost.
        const bool isAgain =
            event.button == (press_ ? PointerButton::primary : PointerButton::middle);
        if (!isAgain) return;
        endLostGesture();
    }
    modifiers_ = event.modifiers;
    followTools();
    if (event.button == PointerButton::middle) {
        pan_ = event.viewLocation;
        if (host_ != nullptr) host_->cursorChanged();
    } else if (event.button == PointerButton::primary) {
        beginPress(event);
    }
}

void CanvasController::beginPress(const PointerEvent& event) {
    Tool* const tool = toolNow();
    if (tool == nullptr) return;
    temporary_.noteUse();
    press_ = Press{tool, temporary_.consumed(modifiers_)};
    lastOfPress_ = event;
    tool->pointerDown(sampleOf(event), *this);
    if (host_ != nullptr) host_->cursorChanged();
}

void CanvasController::pointerDragged(const PointerEvent& event) {
    modifiers_ = event.modifiers;
    if (pan_) {
        const RealPoint from = std::exchange(*pan_, event.viewLocation);
        navigation_.panBy({event.viewLocation.x - from.x, event.viewLocation.y - from.y});
    } else if (press_) {
        lastOfPress_ = event;
        press_->tool->pointerDragged(sampleOf(event), *this);
    }
    tellPointer(pointer_.sampleOf(event, viewTransform(), {}).location);
}

void CanvasController::pointerUp(const PointerEvent& event) {
    modifiers_ = event.modifiers;
    if (pan_ && event.button == PointerButton::middle) {
        pointerDragged(event);
        pan_.reset();
    } else if (press_ && event.button == PointerButton::primary) {
        press_->tool->pointerUp(sampleOf(event), *this);
        press_.reset();
    } else {
        return;
    }
    if (hover_) hover_->viewLocation = event.viewLocation;
    followTools();
}

void CanvasController::pointerMoved(const PointerEvent& event) {
    // Without a button there is no gesture: its release went elsewhere, as to a question.
    if (isGestureActive()) endLostGesture();
    hover_ = event;
    if (modifiers_ != event.modifiers) modifiersChanged(event.modifiers);
    followTools();
    const PointerSample sample = sampleOf(event);
    if (hoveredTool_ != nullptr) hoveredTool_->pointerMoved(sample, *this);
    tellPointer(sample.location);
}

void CanvasController::pointerLeft() {
    hover_.reset();
    if (hoveredTool_ != nullptr) hoveredTool_->pointerMoved(std::nullopt, *this);
    tellPointer(std::nullopt);
}

void CanvasController::tellPointer(std::optional<RealPoint> at) {
    session_->_pointerLocation = at;
    if (host_ != nullptr) host_->pointerAt(at);
}

void CanvasController::penProximity(bool isNear, PointerDevice device) {
    pointer_.penProximity(isNear, device);
}

void CanvasController::cancelGesture() {
    pan_.reset();
    if (const auto press = std::exchange(press_, std::nullopt)) {
        press->tool->cancelGesture(*this);
        if (const auto stroke = stroke_.lock()) stroke->cancel();
    }
    followTools();
}

// What was painted until then is kept.
void CanvasController::endLostGesture() {
    const auto stroke = stroke_.lock();
    if (!press_ || !stroke || !stroke->isOpen()) return cancelGesture();
    press_->tool->pointerUp(sampleOf(lastOfPress_), *this);
    press_.reset();
    stroke->end();
    followTools();
}

bool CanvasController::keyDown(const ToolKey& key, ToolModifiers modifiers) {
    modifiers_ = modifiers;
    Tool* const tool = activeTool();
    if (tool != nullptr && tool->keyDown(key, seenModifiers(), *this)) return true;
    if (isGestureActive()) {
        if (key.is(ToolKey::Named::escape)) cancelGesture();
        return key.is(ToolKey::Named::escape);
    }
    if (*session_->_isEditingType || !(modifiers & shortcutKeys).isEmpty()) return false;
    const auto letter = letterOf(key);
    return letter && switchByLetter(*letter);
}

bool CanvasController::switchByLetter(char letter) {
    if (temporary_.isHeld(letter)) return true; // the key repeats
    const ToolKind before = *session_->_activeTool;
    const auto next = ToolRegistry::toolAfter(before, letter, *session_->_recentTools);
    if (!next) return false;
    temporary_.holdLetter(letter, before);
    session_->setTool(*next);
    return true;
}

void CanvasController::keyUp(const ToolKey& key, ToolModifiers modifiers) {
    modifiers_ = modifiers;
    const auto letter = letterOf(key);
    if (!letter) return;
    if (const auto before = temporary_.releaseLetter(*letter)) session_->setTool(*before);
}

bool CanvasController::holdSpace(ToolModifiers modifiers) {
    if (*session_->_isEditingType) return false;
    temporary_.holdSpace();
    modifiersChanged(modifiers);
    return true;
}

void CanvasController::releaseSpace(ToolModifiers modifiers) {
    temporary_.releaseSpace();
    modifiersChanged(modifiers);
}

void CanvasController::modifiersChanged(ToolModifiers modifiers) {
    modifiers_ = modifiers;
    followTools();
    if (Tool* tool = activeTool()) tool->modifiersChanged(seenModifiers(), *this);
    if (host_ != nullptr) host_->cursorChanged();
}

void CanvasController::keyboardLeft() {
    temporary_.releaseAll();
    modifiersChanged({});
}

void CanvasController::wheelTurned(RealPoint notches, RealPoint at, ToolModifiers modifiers) {
    if (modifiers.contains(ToolModifiers::shift)) {
        navigation_.panBy({(notches.x + notches.y) * pointsOfNotch, 0});
    } else if (modifiers.contains(ToolModifiers::command)) {
        navigation_.panBy({notches.x * pointsOfNotch, notches.y * pointsOfNotch});
    } else {
        const bool isFine = modifiers.contains(ToolModifiers::option);
        navigation_.panBy({notches.x * pointsOfNotch, 0});
        navigation_.zoomBy(std::pow(isFine ? fineWheelFactor : wheelFactor, notches.y), at);
    }
}

void CanvasController::scrolled(RealPoint by) {
    navigation_.panBy(by);
}

void CanvasController::pinched(double factor, RealPoint at) {
    navigation_.zoomBy(factor, at);
}

void CanvasController::rotated(double radians, RealPoint at) {
    navigation_.rotateBy(radians, at);
}

} // namespace ombrel
