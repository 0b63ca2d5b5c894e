// Menus from the table of actions. Main thread.
#pragma once

#include "App/Shell/ShortcutTable.h"
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

/// Words, greying with its reason, and check marks as things stand.
void refreshActions(const std::vector<QAction*>& actions, const ActionContext& in);

/// The keys of an action. Plain ones are shown only: PlainKeys hears them.
void giveKeys(QAction& action, const ShortcutTable::Keys& keys);
ShortcutTable::Keys plainKeysOf(const QAction& action);

/// "Merge Down": without the marks of a menu.
QString plainText(const QAction& action);

} // namespace ombrel
