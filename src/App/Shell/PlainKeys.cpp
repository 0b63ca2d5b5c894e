#include "App/Shell/PlainKeys.h"

#include "App/Shell/WindowMenus.h"

#include <QAction>
#include <QKeyEvent>
#include <QWidget>

namespace ombrel {

namespace {

bool isTab(const QKeyEvent& event) {
    return event.key() == Qt::Key_Tab || event.key() == Qt::Key_Backtab;
}

QKeySequence sequenceOf(const QKeyEvent& event) {
    const int key = event.key() == Qt::Key_Backtab ? int{Qt::Key_Tab} : event.key();
    const auto held = event.modifiers() & ~Qt::KeyboardModifiers(Qt::KeypadModifier);
    return QKeySequence(key | static_cast<int>(held.toInt()));
}

} // namespace

PlainKeys::PlainKeys(QWidget& window, QWidget& canvas,
                     std::function<std::span<QAction* const>()> actions,
                     std::function<bool()> mayTake)
    : QObject(&window), window_(window), actions_(std::move(actions)),
      mayTake_(std::move(mayTake)) {
    window.installEventFilter(this);
    canvas.installEventFilter(this);
}

bool PlainKeys::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        if ((watched == &window_) != isTab(key) && take(key)) return true;
    }
    return QObject::eventFilter(watched, event);
}

bool PlainKeys::take(const QKeyEvent& event) const {
    const QKeySequence keys = sequenceOf(event);
    if (event.isAutoRepeat() || !ShortcutTable::isPlain(keys) || !mayTake_()) return false;
    for (QAction* action : actions_()) {
        if (!plainKeysOf(*action).contains(keys)) continue;
        action->trigger(); // nothing where it is grey
        return true;
    }
    return false;
}

} // namespace ombrel
