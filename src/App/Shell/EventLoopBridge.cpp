#include "App/Shell/EventLoopBridge.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEvent>

namespace ombrel {

namespace {

constexpr int turnMilliseconds = 5;

const auto wakeUpEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

} // namespace

EventLoopBridge::EventLoopBridge(MainExecutor& executor) : executor_(executor) {
    connect(&rest_, &QTimer::timeout, this, [this] { run(); });
    executor_.setWakeUp([this] { QCoreApplication::postEvent(this, new QEvent(wakeUpEvent)); });
    QCoreApplication::postEvent(this, new QEvent(wakeUpEvent)); // for what waits already
}

EventLoopBridge::~EventLoopBridge() {
    executor_.setWakeUp({});
}

bool EventLoopBridge::event(QEvent* event) {
    if (event->type() != wakeUpEvent) return QObject::event(event);
    run();
    return true;
}

// The timer is set before a task runs: the task may open a dialog, whose loop takes the rest.
void EventLoopBridge::run() {
    QElapsedTimer turn;
    turn.start();
    rest_.start(0);
    while (executor_.runNext()) {
        if (turn.hasExpired(turnMilliseconds)) return;
    }
    rest_.stop();
}

} // namespace ombrel
