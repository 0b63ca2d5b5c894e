// Menus from the table of actions. Main thread.
#pragma once

#include "App/Shell/WindowAction.h"

#include <functional>
#include <string_view>
#include <vector>

class QAction;
class QMenu;
class QMenuBar;

namespace ombrel {

/// Makes all menus; `context` is asked when an action is chosen. The actions of the table that do
/// something, named by their identifiers, each knowing its place in the table.
std::vector<QAction*> fillMenuBar(QMenuBar& bar, std::function<ActionContext()> context);

/// An entry of the table without words of what to do is a menu to be filled by others.
QMenu* menuOf(QMenuBar& bar, std::string_view identifier);

/// Words, greying and check marks as things stand.
void refreshActions(const std::vector<QAction*>& actions, const ActionContext& in);

} // namespace ombrel
