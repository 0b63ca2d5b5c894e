#include "Editor/CanvasPointer.h"

#include "Core/ViewMapping.h"

namespace ombrel {

void CanvasPointer::penProximity(bool isNear, PointerDevice device) {
    isPenNear_ = isNear;
    if (isNear) device_ = device;
}

PointerSample CanvasPointer::sampleOf(const PointerEvent& event, const ViewTransform& view,
                                      ToolModifiers modifiers) const {
    PointerSample sample{.location = documentPoint(view, event.viewLocation),
                         .viewLocation = event.viewLocation,
                         .timestamp = event.timestamp,
                         .modifiers = modifiers,
                         .clickCount = event.clickCount};
    if (event.isTablet) {
        sample.pressure = event.pressure;
        sample.tilt = event.tilt;
        sample.rotation = event.rotation;
        sample.device = device_;
    } else if (isPenNear_) {
        sample.pressure = event.pressure;
    }
    return sample;
}

} // namespace ombrel
