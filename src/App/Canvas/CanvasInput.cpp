#include "App/Canvas/CanvasInput.h"

#include <QGuiApplication>
#include <QInputDevice>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointingDevice>
#include <QStyleHints>
#include <QTabletEvent>
#include <QWheelEvent>

#include <algorithm>
#include <array>
#include <cmath>

namespace ombrel {

namespace {

constexpr double degreesOfFullTilt = 90;
constexpr double angleOfNotch = 120; ///< in the toolkit's eighths of a degree

struct ModifierKey {
    int key;
    ToolModifiers modifier;
};
constexpr std::array modifierKeys{ModifierKey{Qt::Key_Shift, ToolModifiers::shift},
                                  ModifierKey{Qt::Key_Alt, ToolModifiers::option},
                                  ModifierKey{Qt::Key_Control, ToolModifiers::command},
                                  ModifierKey{Qt::Key_Meta, ToolModifiers::control}};

struct NamedKey {
    int key;
    ToolKey::Named named;
};
constexpr std::array namedKeys{NamedKey{Qt::Key_Return, ToolKey::Named::enter},
                               NamedKey{Qt::Key_Enter, ToolKey::Named::enter},
                               NamedKey{Qt::Key_Escape, ToolKey::Named::escape},
                               NamedKey{Qt::Key_Delete, ToolKey::Named::remove},
                               NamedKey{Qt::Key_Backspace, ToolKey::Named::remove},
                               NamedKey{Qt::Key_Left, ToolKey::Named::left},
                               NamedKey{Qt::Key_Right, ToolKey::Named::right},
                               NamedKey{Qt::Key_Up, ToolKey::Named::up},
                               NamedKey{Qt::Key_Down, ToolKey::Named::down},
                               NamedKey{Qt::Key_BracketLeft, ToolKey::Named::bracketLeft},
                               NamedKey{Qt::Key_BracketRight, ToolKey::Named::bracketRight},
                               NamedKey{Qt::Key_BraceLeft, ToolKey::Named::bracketLeft}, // Shift
                               NamedKey{Qt::Key_BraceRight, ToolKey::Named::bracketRight}};

/// The keys of the row of numbers, 1 to 9 and 0, as X and Wayland number them.
constexpr quint32 firstOfNumberRow = 10;
constexpr quint32 lastOfNumberRow = 19;

double secondsOf(const QInputEvent& event) {
    return static_cast<double>(event.timestamp()) / 1000;
}

} // namespace

std::optional<PointerButton> CanvasInput::buttonOf(Qt::MouseButton button) {
    switch (button) {
    case Qt::LeftButton:
        return PointerButton::primary;
    case Qt::MiddleButton:
        return PointerButton::middle;
    case Qt::RightButton:
        return PointerButton::secondary;
    default:
        return std::nullopt;
    }
}

PointerDevice CanvasInput::deviceOf(const QTabletEvent& event) {
    const bool isEraser = event.pointerType() == QPointingDevice::PointerType::Eraser;
    return isEraser ? PointerDevice::eraser : PointerDevice::pen;
}

std::optional<ToolKey> CanvasInput::keyOf(const QKeyEvent& event) {
    const auto named = std::ranges::find(namedKeys, event.key(), &NamedKey::key);
    if (named != namedKeys.end()) return ToolKey::named(named->named);
    if (event.key() >= Qt::Key_0 && event.key() <= Qt::Key_9)
        return ToolKey::digit(event.key() - Qt::Key_0);
    // With Shift held they type other characters; on some keyboards without it, too.
    const quint32 place = event.nativeScanCode();
    if (place >= firstOfNumberRow && place <= lastOfNumberRow)
        return ToolKey::digit(static_cast<int>(place - firstOfNumberRow + 1) % 10);
    // With Control held the text is a control character: then the key itself is told.
    if (event.key() >= Qt::Key_A && event.key() <= Qt::Key_Z &&
        (event.text().isEmpty() || !event.text().front().isPrint()))
        return ToolKey::character(std::string(1, static_cast<char>('a' + event.key() - Qt::Key_A)));
    if (event.text().isEmpty() || !event.text().front().isPrint()) return std::nullopt;
    return ToolKey::character(event.text().toStdString());
}

RealPoint CanvasInput::notchesOf(const QWheelEvent& event) {
    QPointF angle(event.angleDelta());
    if (event.modifiers().testFlag(Qt::AltModifier) && angle.y() == 0)
        angle = QPointF(0, angle.x());
    return {angle.x() / angleOfNotch, angle.y() / angleOfNotch};
}

std::optional<RealPoint> CanvasInput::scrollOf(const QWheelEvent& event) {
    const bool isTouchpad =
        event.device() != nullptr && event.device()->type() == QInputDevice::DeviceType::TouchPad;
    const bool isFluent = event.phase() != Qt::NoScrollPhase && !event.pixelDelta().isNull();
    if (!isTouchpad && !isFluent) return std::nullopt;
    if (!event.pixelDelta().isNull()) return pointOf(event.pixelDelta());
    // Without pixels, a notch is worth as many points as a list scrolls.
    constexpr double pointsOfNotch = 40;
    const RealPoint notches = notchesOf(event);
    return RealPoint{notches.x * pointsOfNotch, notches.y * pointsOfNotch};
}

ToolModifiers CanvasInput::modifiersOf(Qt::KeyboardModifiers modifiers) const {
    ToolModifiers result = isCapsLocked_ ? ToolModifiers::capsLock : ToolModifiers::none;
    if (modifiers.testFlag(Qt::ShiftModifier)) result = result | ToolModifiers::shift;
    if (modifiers.testFlag(Qt::AltModifier)) result = result | ToolModifiers::option;
    if (modifiers.testFlag(Qt::ControlModifier)) result = result | ToolModifiers::command;
    if (modifiers.testFlag(Qt::MetaModifier)) result = result | ToolModifiers::control;
    return result;
}

ToolModifiers CanvasInput::modifiersAfter(const QKeyEvent& event) {
    const bool isPress = event.type() == QEvent::KeyPress;
    if (event.key() == Qt::Key_CapsLock && isPress && !event.isAutoRepeat()) {
        isCapsLocked_ = !isCapsLocked_;
    } else if (isPress && !event.text().isEmpty() && event.text().front().isLetter()) {
        const bool isUpper = event.text().front().isUpper();
        isCapsLocked_ = isUpper != event.modifiers().testFlag(Qt::ShiftModifier);
    }
    ToolModifiers result = modifiersOf(event.modifiers());
    const auto own = std::ranges::find(modifierKeys, event.key(), &ModifierKey::key);
    if (own == modifierKeys.end()) return result;
    return isPress ? result | own->modifier : result.without(own->modifier);
}

PointerEvent CanvasInput::pointerOf(const QMouseEvent& event) const {
    const bool isSecondClick = event.type() == QEvent::MouseButtonDblClick;
    return {.viewLocation = pointOf(event.position()),
            .button = buttonOf(event.button()).value_or(PointerButton::primary),
            .pressure = static_cast<float>(event.points().front().pressure()),
            .timestamp = secondsOf(event),
            .modifiers = modifiersOf(event.modifiers()),
            .clickCount = isSecondClick ? 2 : 1};
}

float CanvasInput::pressureOf(const QTabletEvent& event) const {
    const double told = std::clamp(event.pressure(), 0.0, 1.0);
    if (!penFirmness_) return event.buttons() != Qt::NoButton ? 1 : 0;
    return static_cast<float>(std::pow(told, *penFirmness_));
}

PointerEvent CanvasInput::pointerOf(const QTabletEvent& event) {
    const double time = secondsOf(event);
    if (event.type() == QEvent::TabletPress) {
        const QStyleHints& hints = *QGuiApplication::styleHints();
        const QPointF way = event.position() - lastPenClick_.place;
        const bool isAgain =
            lastPenClick_.count > 0 &&
            time - lastPenClick_.time <= hints.mouseDoubleClickInterval() / 1000.0 &&
            std::hypot(way.x(), way.y()) <= hints.startDragDistance();
        lastPenClick_ = {event.position(), time, isAgain ? lastPenClick_.count + 1 : 1};
    }
    const auto tiltOf = [](double degrees) {
        return std::clamp(degrees / degreesOfFullTilt, -1.0, 1.0);
    };
    return {.viewLocation = pointOf(event.position()),
            .button = buttonOf(event.button()).value_or(PointerButton::primary),
            .isTablet = true,
            .pressure = pressureOf(event),
            .tilt = {tiltOf(event.xTilt()), tiltOf(event.yTilt())},
            .rotation = static_cast<float>(event.rotation()),
            .timestamp = time,
            .modifiers = modifiersOf(event.modifiers()),
            .clickCount = std::max<std::int64_t>(lastPenClick_.count, 1)};
}

} // namespace ombrel
