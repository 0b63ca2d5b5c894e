#include "Commands/CommandError.h"

namespace ombrel {

CommandError CommandError::from(const EngineError& error) {
    if (error.kind == EngineError::Kind::cancelled) return of(Kind::cancelled);
    return {Kind::engine, error.text()};
}

std::string CommandError::text() const {
    switch (kind) {
    case Kind::layerLocked:
        return "Could not complete your request because the layer \u201C" + detail +
               "\u201D is locked.";
    case Kind::layerNotFound:
        return "The layer no longer exists.";
    case Kind::notAPixelLayer:
        return "Could not complete your request because the target layer is not a pixel layer.";
    case Kind::lastLayer:
        return "A document must have at least one layer.";
    case Kind::layerHidden:
        return "Could not use the tool because the target layer is hidden.";
    case Kind::emptyRegion:
        return "The selected area is empty.";
    case Kind::noRedEye:
        return "No red eye was found there. Click the pupil, or drag a box around the eye.";
    case Kind::notAShapeLayer:
        return "The layer isn't a shape layer.";
    case Kind::notATextLayer:
        return "The layer isn't a type layer.";
    case Kind::notALiveLayer:
        return "The layer isn't a shape or type layer.";
    case Kind::noLayerBelow:
        return "There is no layer below to merge into.";
    case Kind::notAGroup:
        return "The layer isn't a group.";
    case Kind::hasMask:
        return "The layer already has a mask.";
    case Kind::noMask:
        return "The layer has no mask.";
    case Kind::effectNotFound:
        return "The effect no longer exists.";
    case Kind::unreadableProfile:
        return "The color profile can't be read.";
    case Kind::engine:
        return detail;
    case Kind::cancelled:
        return "Cancelled.";
    }
    return {};
}

} // namespace ombrel
