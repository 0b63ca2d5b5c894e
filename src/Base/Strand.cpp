#include "Base/Strand.h"

#include "Base/Check.h"

#include <asio/post.hpp>
#include <asio/strand.hpp>
#include <asio/thread_pool.hpp>

#include <latch>

namespace ombrel {

struct Strand::Implementation {
    ThreadPool& pool;
    asio::strand<asio::thread_pool::executor_type> strand;
};

Strand::Strand(std::string name, TaskPriority priority)
    : Strand(std::move(name), ThreadPool::shared(priority)) {}

Strand::Strand(std::string name, ThreadPool& pool)
    : name_(std::move(name)), implementation_(std::make_unique<Implementation>(
                                  pool, asio::make_strand(pool.context().get_executor()))) {}

Strand::~Strand() = default;

void Strand::post(Task task) {
    asio::post(implementation_->strand, std::move(task));
}

bool Strand::isCurrent() const {
    return implementation_->strand.running_in_this_thread();
}

void Strand::drain() {
    OMBREL_CHECK(!implementation_->pool.isCurrent(), "a strand is drained from outside its pool");
    const auto reached = std::make_shared<std::latch>(1);
    post([reached] { reached->count_down(); });
    reached->wait();
}

} // namespace ombrel
