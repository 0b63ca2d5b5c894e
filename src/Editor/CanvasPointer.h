// Events of pointers as a view hands them over, and how they become the samples that tools get.
// Remembers which end of a pen is near the tablet. Main thread.
#pragma once

#include "Core/ViewTransform.h"
#include "Tools/PointerSample.h"

#include <cstdint>

namespace ombrel {

enum class PointerButton : std::uint8_t { primary, middle, secondary };

struct PointerEvent {
    RealPoint viewLocation; ///< view points from the upper left corner
    PointerButton button = PointerButton::primary;
    bool isTablet = false;        ///< a point of a tablet's own, not one told as a mouse's
    float pressure = 0;           ///< as the system told it, 0 to 1
    RealPoint tilt = {};          ///< of a tablet: -1 to 1 in both directions
    float rotation = 0;           ///< of a tablet: degrees
    double timestamp = 0;         ///< seconds
    ToolModifiers modifiers = {}; ///< of the keyboard
    std::int64_t clickCount = 1;
};

class CanvasPointer {
public:
    /// A pen comes near the tablet or goes.
    void penProximity(bool isNear, PointerDevice device);
    bool isPenNear() const { return isPenNear_; }

    /// `modifiers` are those that tools are to see.
    PointerSample sampleOf(const PointerEvent& event, const ViewTransform& view,
                           ToolModifiers modifiers) const;

private:
    bool isPenNear_ = false;
    PointerDevice device_ = PointerDevice::pen;
};

} // namespace ombrel
