// The application object. In debug builds, and where debug messages are shown, it tells of every
// event that kept the main thread longer than a user should notice.
#pragma once

#include <QApplication>

#include <vector>

namespace ombrel {

class WatchedApplication final : public QApplication {
public:
    static constexpr int longestMilliseconds = 20;

    WatchedApplication(int& argc, char** argv);

    bool notify(QObject* receiver, QEvent* event) override;

private:
    bool watchedNotify(QObject* receiver, QEvent* event);

    const bool isWatching_;
    std::vector<int> loopLevels_; ///< of the events under way, the outermost first
    bool isNested_ = false;       ///< the outermost one has run an event loop of its own
};

} // namespace ombrel
