// All that can be done with the chosen layers, as the menu that a right click on a row opens. A
// table: an action is a line there. Main thread only.
#pragma once

#include <functional>

class QMenu;

namespace ombrel {

class DocumentSession;

/// What the panel does itself.
struct LayerMenuHooks {
    std::function<void()> rename;
    std::function<void()> showAlone;
    std::function<void(bool areOpen)> openGroups;
};

/// The session outlives the menu.
void fillLayerMenu(QMenu& menu, DocumentSession& session, const LayerMenuHooks& hooks);

} // namespace ombrel
