#include "Base/ThreadPool.h"

#include <asio/post.hpp>
#include <asio/thread_pool.hpp>

#include <algorithm>
#include <array>
#include <csignal>
#include <latch>
#include <pthread.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace ombrel {

namespace {

struct PriorityTraits {
    const char* threadName; ///< at most 15 characters
    int niceness;
};
constexpr std::array<PriorityTraits, 2> priorityTraits{{
    {"ombrel-pool", 0},
    {"ombrel-utility", 10},
}};

/// New threads inherit the mask: signals stay with the threads that were there before.
class SignalBlock {
public:
    SignalBlock() {
        sigset_t all;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP}) {
            sigdelset(&all, fault);
        }
        pthread_sigmask(SIG_BLOCK, &all, &before_);
    }
    ~SignalBlock() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

private:
    sigset_t before_;
};

/// Linux keeps the niceness a thread. A refusal changes nothing but the speed.
void configureThread(TaskPriority priority) {
    const PriorityTraits& traits = priorityTraits[static_cast<std::size_t>(priority)];
    pthread_setname_np(pthread_self(), traits.threadName);
    if (traits.niceness != 0) {
        static_cast<void>(setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), traits.niceness));
    }
}

/// Asio starts the threads itself, so each is met once by a task that waits for all others.
void configureThreads(asio::thread_pool& context, TaskPriority priority, std::size_t threadCount) {
    const auto met = std::make_shared<std::latch>(static_cast<std::ptrdiff_t>(threadCount));
    for (std::size_t i = 0; i < threadCount; ++i) {
        asio::post(context, [met, priority] {
            configureThread(priority);
            met->arrive_and_wait();
        });
    }
}

std::unique_ptr<asio::thread_pool> makeContext(std::size_t threadCount) {
    const SignalBlock block;
    return std::make_unique<asio::thread_pool>(threadCount);
}

std::size_t hardwareThreads() {
    return std::max(1u, std::thread::hardware_concurrency());
}

} // namespace

ThreadPool& ThreadPool::shared(TaskPriority priority) {
    // Never destroyed: tasks may still run while the process ends, and objects that end with the
    // process may still post.
    if (priority == TaskPriority::utility) {
        static ThreadPool* const utility = new ThreadPool(priority, hardwareThreads());
        return *utility;
    }
    static ThreadPool* const userInitiated = new ThreadPool(priority, hardwareThreads());
    return *userInitiated;
}

ThreadPool::ThreadPool(TaskPriority priority, std::size_t threadCount)
    : threadCount_(threadCount), context_(makeContext(threadCount)) {
    configureThreads(*context_, priority, threadCount);
}

ThreadPool::~ThreadPool() {
    context_->join();
}

void ThreadPool::post(Task task) {
    asio::post(*context_, std::move(task));
}

bool ThreadPool::isCurrent() const {
    return context_->get_executor().running_in_this_thread();
}

} // namespace ombrel
