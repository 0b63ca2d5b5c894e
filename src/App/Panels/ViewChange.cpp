#include "App/Panels/ViewChange.h"

#include "Editor/CanvasController.h"

namespace ombrel {

void changeView(DocumentSession& session, const std::function<void(CanvasNavigation&)>& change) {
    const auto present = session.toolContext.lock();
    if (auto* const canvas = dynamic_cast<CanvasController*>(present.get()))
        return change(canvas->navigation());
    CanvasNavigation alone(session);
    change(alone);
}

} // namespace ombrel
