// The threads of the process: one pool a priority, each with as many threads as the machine runs at
// once, made on first use and kept to the end of the process. Tasks run in parallel in no set
// order. A task may compute and do blocking I/O, but never waits for another task of its pool.
// Threads of the pools take no signals: those reach the main thread.
#pragma once

#include "Base/Executor.h"

#include <cstddef>
#include <memory>

namespace asio {
class thread_pool;
}

namespace ombrel {

enum class TaskPriority {
    userInitiated, ///< somebody waits for the answer
    utility,       ///< background work; yields the processor to everything else
};

class ThreadPool final : public Executor {
public:
    static ThreadPool& shared(TaskPriority priority = TaskPriority::userInitiated);

    /// A pool of its own; the destructor waits until every posted task has run.
    ThreadPool(TaskPriority priority, std::size_t threadCount);
    ~ThreadPool() override;

    std::size_t threadCount() const { return threadCount_; }
    void post(Task task) override;
    bool isCurrent() const override;

    /// For executors built on the pool.
    asio::thread_pool& context() { return *context_; }

private:
    std::size_t threadCount_;
    std::unique_ptr<asio::thread_pool> context_;
};

} // namespace ombrel
