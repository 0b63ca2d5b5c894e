// The toolkit's events as the canvas takes them: keys, modifiers, pointers. Follows Caps Lock and
// the clicks of a pen, which the toolkit does not tell. Belongs to one view.
#pragma once

#include "Editor/CanvasPointer.h"
#include "Tools/ToolKey.h"

#include <QPointF>
#include <Qt>

#include <cstdint>
#include <optional>

class QKeyEvent;
class QMouseEvent;
class QTabletEvent;
class QWheelEvent;

namespace ombrel {

class CanvasInput {
public:
    static RealPoint pointOf(QPointF point) { return {point.x(), point.y()}; }
    static std::optional<PointerButton> buttonOf(Qt::MouseButton button);
    /// The end of the pen that a tablet's event is of.
    static PointerDevice deviceOf(const QTabletEvent& event);
    static std::optional<ToolKey> keyOf(const QKeyEvent& event);
    /// The wheel's notches; with Option held the toolkit may tell them sideways.
    static RealPoint notchesOf(const QWheelEvent& event);
    /// What fingers on a touchpad scrolled, in view points; nothing for a wheel.
    static std::optional<RealPoint> scrollOf(const QWheelEvent& event);

    /// What a pen tells becomes that to the power of `firmness`; without, pens do not press.
    void setPen(std::optional<double> firmness) { penFirmness_ = firmness; }
    ToolModifiers modifiersOf(Qt::KeyboardModifiers modifiers) const;
    /// After the event: a modifier's own key counts.
    ToolModifiers modifiersAfter(const QKeyEvent& event);
    PointerEvent pointerOf(const QMouseEvent& event) const;
    PointerEvent pointerOf(const QTabletEvent& event);

private:
    struct Click {
        QPointF place;
        double time = 0; ///< seconds
        std::int64_t count = 0;
    };

    float pressureOf(const QTabletEvent& event) const;

    bool isCapsLocked_ = false;
    std::optional<double> penFirmness_ = 1;
    Click lastPenClick_;
};

} // namespace ombrel
