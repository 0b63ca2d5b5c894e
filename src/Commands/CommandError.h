// Why an edit was refused, in the words that the user reads as they stand.
#pragma once

#include "Engine/EngineError.h"

#include <string>

namespace ombrel {

struct CommandError {
    enum class Kind {
        layerLocked, ///< `detail` is the layer's name
        layerNotFound,
        notAPixelLayer,
        lastLayer,
        layerHidden,
        emptyRegion,
        noRedEye,
        notAShapeLayer,
        notATextLayer,
        notALiveLayer,
        noLayerBelow,
        notAGroup,
        hasMask,
        noMask,
        effectNotFound,
        unreadableProfile,
        engine,    ///< pixels could not be computed; `detail` says why
        cancelled, ///< the caller's Progress was cancelled: nothing to tell the user
    };

    Kind kind = Kind::layerNotFound;
    std::string detail;

    static CommandError of(Kind kind) { return {kind, {}}; }
    static CommandError layerLocked(std::string name) {
        return {Kind::layerLocked, std::move(name)};
    }
    static CommandError from(const EngineError& error);

    std::string text() const;
    bool operator==(const CommandError&) const = default;
};

} // namespace ombrel
