#include "App/Shell/Watchdog.h"

#include "Base/Log.h"

#include <QElapsedTimer>
#include <QEvent>
#include <QThread>

#include <typeinfo>

namespace ombrel {

namespace {

#ifdef NDEBUG
constexpr auto level = LogLevel::debug;
#else
constexpr auto level = LogLevel::warning;
#endif

} // namespace

WatchedApplication::WatchedApplication(int& argc, char** argv)
    : QApplication(argc, argv), isWatching_(Log::isShown(level)) {}

bool WatchedApplication::notify(QObject* receiver, QEvent* event) {
    if (!isWatching_ || QThread::currentThread() != thread())
        return QApplication::notify(receiver, event);
    return watchedNotify(receiver, event);
}

// Events within events count for the outermost one; a dialog's own loop counts for nobody.
bool WatchedApplication::watchedNotify(QObject* receiver, QEvent* event) {
    const int loopLevel = thread()->loopLevel();
    const bool isInner = !loopLevels_.empty() && loopLevels_.back() == loopLevel;
    if (isInner) return QApplication::notify(receiver, event);
    if (!loopLevels_.empty()) isNested_ = true;
    const QEvent::Type type = event->type();
    const std::string what = typeid(*receiver).name();
    loopLevels_.push_back(loopLevel);
    QElapsedTimer timer;
    timer.start();
    const bool isHandled = QApplication::notify(receiver, event);
    loopLevels_.pop_back();
    const bool hadLoop = loopLevels_.empty() ? std::exchange(isNested_, false) : false;
    if (!hadLoop && timer.elapsed() > longestMilliseconds) {
        Log::write(level, fmt::format("The main thread was blocked for {} ms by event {} of {}",
                                      timer.elapsed(), static_cast<int>(type), what));
    }
    return isHandled;
}

} // namespace ombrel
