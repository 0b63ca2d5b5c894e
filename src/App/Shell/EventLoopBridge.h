// Lets Qt's event loop run the tasks of the main executor. One for an executor at a time; lives on
// the main thread, after the application object and before it goes.
#pragma once

#include "Base/MainExecutor.h"

#include <QObject>

namespace ombrel {

class EventLoopBridge final : public QObject {
public:
    explicit EventLoopBridge(MainExecutor& executor);
    ~EventLoopBridge() override;

    bool event(QEvent* event) override;

private:
    MainExecutor& executor_;
};

} // namespace ombrel
