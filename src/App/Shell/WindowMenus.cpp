#include "App/Shell/WindowMenus.h"

#include "App/Look/QtText.h"
#include "App/Shell/DocumentWindow.h"

#include <QAction>
#include <QMenu>
#include <QMenuBar>

namespace ombrel {

namespace {

/// The menu of a path as "&Layer/&Arrange", made where it is missing.
template <typename Menu>
QMenu* subMenu(Menu& in, const QString& path) {
    const QString title = path.section('/', 0, 0);
    const QString rest = path.section('/', 1);
    QMenu* menu = nullptr;
    for (QAction* action : in.actions()) {
        if (action->menu() != nullptr && action->menu()->title() == title) menu = action->menu();
    }
    if (menu == nullptr) menu = in.addMenu(title);
    return rest.isEmpty() ? menu : subMenu(*menu, rest);
}

const WindowAction& entryOf(const QAction& action) {
    return windowActions()[static_cast<std::size_t>(action.data().toInt())];
}

void addMenuToFill(QMenu& menu, const WindowAction& entry) {
    QMenu* filled = menu.addMenu(entry.text);
    filled->setObjectName(entry.identifier);
    filled->setToolTipsVisible(true);
}

QAction* addAction(QMenu& menu, std::size_t index, QWidget* window,
                   const std::function<ActionContext()>& context) {
    const WindowAction& entry = windowActions()[index];
    QAction* action = menu.addAction(entry.text);
    action->setObjectName(entry.identifier);
    action->setData(static_cast<int>(index));
    action->setShortcut(QKeySequence(entry.shortcut));
    action->setCheckable(entry.isChecked != nullptr);
    action->setMenuRole(QAction::NoRole);
    QObject::connect(action, &QAction::triggered, window, [&entry, context] {
        const ActionContext in = context();
        // What was possible when the menu was drawn may no longer be.
        if (entry.isPossible == nullptr || entry.isPossible(in)) entry.run(in);
    });
    return action;
}

} // namespace

std::vector<QAction*> fillMenuBar(QMenuBar& bar, std::function<ActionContext()> context) {
    std::vector<QAction*> actions;
    for (std::size_t index = 0; index < windowActions().size(); ++index) {
        const WindowAction& entry = windowActions()[index];
        QMenu* menu = subMenu(bar, entry.menu);
        if (entry.identifier == nullptr) {
            menu->addSeparator();
        } else if (entry.run == nullptr) {
            addMenuToFill(*menu, entry);
        } else {
            actions.push_back(addAction(*menu, index, bar.parentWidget(), context));
        }
    }
    return actions;
}

QMenu* menuOf(QMenuBar& bar, std::string_view identifier) {
    return bar.findChild<QMenu*>(toQt(identifier));
}

void refreshActions(const std::vector<QAction*>& actions, const ActionContext& in) {
    for (QAction* action : actions) {
        const WindowAction& entry = entryOf(*action);
        action->setEnabled(entry.isPossible == nullptr || entry.isPossible(in));
        if (entry.currentText != nullptr) action->setText(toQt(entry.currentText(in)));
        if (entry.isChecked != nullptr) action->setChecked(entry.isChecked(in));
    }
}

} // namespace ombrel
