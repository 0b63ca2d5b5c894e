// Why actions are not possible, in the words that grey menu items show. Each function gives null
// where nothing stands against it. Main thread.
#pragma once

#include "App/Panels/LayerSelection.h"
#include "App/Shell/ImageDocument.h"
#include "App/Shell/WindowAction.h"

namespace ombrel::ActionReasons {

inline const char* whenFree(const ActionContext& in) {
    return *in.session._isLiveEditing ? "An edit is under way: finish it first." : nullptr;
}

inline const char* whenLayers(const ActionContext& in) {
    if (const char* why = whenFree(in)) return why;
    return LayerSelection(in.session).isEmpty() ? "No layer is chosen." : nullptr;
}

/// Where one layer or group is active, which the action reads and changes.
inline const char* whenActive(const ActionContext& in) {
    if (const char* why = whenFree(in)) return why;
    return in.session._state->activeLayer() == nullptr ? "No layer is active." : nullptr;
}

} // namespace ombrel::ActionReasons
