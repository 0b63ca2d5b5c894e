#include "App/Shell/WindowMenus.h"

#include "App/Look/QtText.h"
#include "App/Shell/DocumentWindow.h"

#include <QAction>
#include <QHelpEvent>
#include <QMenu>
#include <QMenuBar>
#include <QToolTip>

namespace ombrel {

namespace {

constexpr const char* plainKeysProperty = "plainKeys";

/// Tells in a menu why an item is grey; other items explain themselves.
class Reasons final : public QObject {
public:
    using QObject::QObject;

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::ToolTip) return QObject::eventFilter(watched, event);
        auto* menu = static_cast<QMenu*>(watched); // it is installed on menus alone
        const auto& help = static_cast<const QHelpEvent&>(*event);
        const QAction* action = menu->actionAt(help.pos());
        if (action != nullptr && !action->isEnabled())
            QToolTip::showText(help.globalPos(), action->statusTip(), menu);
        return true;
    }
};

/// The menu of a path as "&Layer/&Arrange", made where it is missing.
template <typename Menu>
QMenu* subMenu(Menu& in, const QString& path) {
    const QString title = path.section('/', 0, 0);
    const QString rest = path.section('/', 1);
    QMenu* menu = nullptr;
    for (QAction* action : in.actions()) {
        if (action->menu() != nullptr && action->menu()->title() == title) menu = action->menu();
    }
    if (menu == nullptr) {
        menu = in.addMenu(title);
        menu->installEventFilter(new Reasons(menu));
    }
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

/// What stands beside the words in a menu: keys that are no shortcuts of the toolkit.
QString withKeys(const QString& words, const QAction& action) {
    const ShortcutTable::Keys keys = plainKeysOf(action);
    return keys.isEmpty() ? words : words + '\t' + keys.first().toString(QKeySequence::NativeText);
}

QAction* addAction(QMenu& menu, std::size_t index, QWidget* window,
                   const std::function<ActionContext()>& context) {
    const WindowAction& entry = windowActions()[index];
    QAction* action = menu.addAction(entry.text);
    action->setObjectName(entry.identifier);
    action->setData(static_cast<int>(index));
    action->setCheckable(entry.isChecked != nullptr);
    action->setMenuRole(QAction::NoRole);
    QObject::connect(action, &QAction::triggered, window, [&entry, context] {
        const ActionContext in = context();
        // What was possible when the menu was drawn may no longer be.
        if (entry.isPossible.refusal(in) == nullptr) entry.run(in);
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
        const char* const why = entry.isPossible.refusal(in);
        action->setEnabled(why == nullptr);
        action->setStatusTip(why != nullptr ? why : "");
        const QString words =
            entry.currentText != nullptr ? toQt(entry.currentText(in)) : QString(entry.text);
        action->setText(withKeys(words, *action));
        if (entry.isChecked != nullptr) action->setChecked(entry.isChecked(in));
    }
}

void giveKeys(QAction& action, const ShortcutTable::Keys& keys) {
    ShortcutTable::Keys plain;
    ShortcutTable::Keys shortcuts;
    for (const QKeySequence& key : keys)
        (ShortcutTable::isPlain(key) ? plain : shortcuts).append(key);
    action.setShortcuts(shortcuts);
    action.setProperty(plainKeysProperty, QKeySequence::listToString(plain));
    action.setText(withKeys(action.text().section('\t', 0, 0), action));
}

ShortcutTable::Keys plainKeysOf(const QAction& action) {
    return ShortcutTable::keysFrom(action.property(plainKeysProperty).toString());
}

QString plainText(const QAction& action) {
    return action.text().section('\t', 0, 0).remove('&').remove("…");
}

} // namespace ombrel
