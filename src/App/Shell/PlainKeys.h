// Hears the keys of actions that are no shortcuts of the toolkit: letters and Tab, which belong to
// whoever has the keyboard first. Letters come when nobody took them; Tab is taken from the canvas,
// where there is no next field to go to. Main thread.
#pragma once

#include <QObject>
#include <functional>
#include <span>

class QAction;
class QKeyEvent;
class QWidget;

namespace ombrel {

class PlainKeys final : public QObject {
public:
    /// `mayTake` is asked before each key. Window and canvas outlive it or are its parents.
    PlainKeys(QWidget& window, QWidget& canvas, std::function<std::span<QAction* const>()> actions,
              std::function<bool()> mayTake);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool take(const QKeyEvent& event) const;

    QWidget& window_;
    std::function<std::span<QAction* const>()> actions_;
    std::function<bool()> mayTake_;
};

} // namespace ombrel
