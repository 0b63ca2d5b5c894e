#include "App/Shell/EventLoopBridge.h"

#include <QCoreApplication>
#include <QEvent>

namespace ombrel {

namespace {

const auto wakeUpEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

} // namespace

EventLoopBridge::EventLoopBridge(MainExecutor& executor) : executor_(executor) {
    executor_.setWakeUp([this] { QCoreApplication::postEvent(this, new QEvent(wakeUpEvent)); });
    QCoreApplication::postEvent(this, new QEvent(wakeUpEvent)); // for what waits already
}

EventLoopBridge::~EventLoopBridge() {
    executor_.setWakeUp({});
}

bool EventLoopBridge::event(QEvent* event) {
    if (event->type() != wakeUpEvent) return QObject::event(event);
    executor_.runPending();
    return true;
}

} // namespace ombrel
