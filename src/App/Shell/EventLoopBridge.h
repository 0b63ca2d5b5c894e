// Lets Qt's event loop run the tasks of the main executor, a few milliseconds at a time, so that
// input and painting come between. One for an executor at a time; lives on
// the main thread, after the application object and before it goes.
#pragma once

#include "Base/MainExecutor.h"

#include <QObject>
#include <QTimer>

namespace ombrel {

class EventLoopBridge final : public QObject {
public:
    explicit EventLoopBridge(MainExecutor& executor);
    ~EventLoopBridge() override;

    bool event(QEvent* event) override;

private:
    void run();

    MainExecutor& executor_;
    QTimer rest_; ///< runs while tasks may be left
};

} // namespace ombrel
