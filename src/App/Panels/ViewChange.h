// How panels and bars look elsewhere in a document: through its canvas, which keeps the view within
// its limits and fits it to the window no longer; of itself where it has none. Main thread only.
#pragma once

#include "Editor/CanvasNavigation.h"

#include <functional>

namespace ombrel {

void changeView(DocumentSession& session, const std::function<void(CanvasNavigation&)>& change);

} // namespace ombrel
