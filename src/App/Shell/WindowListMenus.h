// The parts of a window's menus that are lists of what there is: recent files, panels, workspaces
// and open documents. Main thread.
#pragma once

#include "App/Shell/WindowAction.h"

#include <functional>
#include <vector>

class QAction;
class QMenuBar;

namespace ombrel {

/// Fills the lists, now and whenever one of them is about to be seen.
void keepListMenus(QMenuBar& bar, std::function<ActionContext()> context);

/// The panels and bars of a window, which show and hide them, in the place of the menu "panels".
std::vector<QAction*> addPanelActions(QMenuBar& bar, const DocumentWindow& window);

/// Asks for the name to keep the arrangement of the panels by.
void askToSaveWorkspace(DocumentWindow& window);

} // namespace ombrel
