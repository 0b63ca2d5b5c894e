// A loop whose iterations run on a pool and on the calling thread at once. The caller takes part
// and waits only for iterations that have begun, so the loop may also be run from a task of the
// pool itself, and a busy pool merely makes it slower.
#pragma once

#include "Base/ThreadPool.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <latch>
#include <memory>

namespace ombrel {

/// Calls body(i) once for every i below `count`, in no set order, and returns when all are done.
/// `body` must not throw.
template <typename Body>
void parallelFor(ThreadPool& pool, std::size_t count, const Body& body) {
    struct Loop {
        explicit Loop(std::size_t iterations)
            : count(iterations), unfinished(static_cast<std::ptrdiff_t>(iterations)) {}

        /// A helper that comes late finds no iteration left and never touches the body, which may
        /// be gone by then.
        void work(const Body& iteration) {
            for (std::size_t i = next.fetch_add(1); i < count; i = next.fetch_add(1)) {
                iteration(i);
                unfinished.count_down();
            }
        }

        std::atomic<std::size_t> next = 0;
        const std::size_t count;
        std::latch unfinished;
    };
    if (count == 0) return;
    const auto loop = std::make_shared<Loop>(count);
    // With the caller as many as the pool has threads: one more would stand still with an iteration
    // that all the others wait for.
    const std::size_t helpers = std::min(pool.threadCount(), count) - 1;
    for (std::size_t i = 0; i < helpers; ++i) {
        pool.post([loop, &body] { loop->work(body); });
    }
    loop->work(body);
    loop->unfinished.wait();
}

} // namespace ombrel
