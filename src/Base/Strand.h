// A serial executor: tasks run one at a time, in the order in which they were posted, on threads of
// a pool. The way to own state without a lock. Destroying a strand does not wait: tasks that were
// posted still run. An owner whose tasks refer to it calls drain() first.
#pragma once

#include "Base/Executor.h"
#include "Base/ThreadPool.h"

#include <memory>
#include <string>

namespace ombrel {

class Strand final : public Executor {
public:
    /// On the shared pool of that priority. The name is for messages and debuggers.
    explicit Strand(std::string name, TaskPriority priority = TaskPriority::userInitiated);
    Strand(std::string name, ThreadPool& pool);
    ~Strand() override;

    const std::string& name() const { return name_; }
    void post(Task task) override;
    bool isCurrent() const override;

    /// Waits until every task posted before has run. Never called on the strand itself, nor on a
    /// thread of its pool.
    void drain();

private:
    struct Implementation;
    std::string name_;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace ombrel
