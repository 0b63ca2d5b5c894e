// Feeds a renderer with the items of a stroke so that one batch at a time is in flight: whatever
// comes meanwhile goes out together as the next one. Belongs to the main thread; `render` runs on
// an executor of its own, one call at a time, and what it gives is delivered on the main one in
// order. `finish` runs once, after the last delivery. Any of the callbacks may destroy the queue;
// once it is gone nothing is delivered nor finished, while a batch in flight ends undisturbed.
#pragma once

#include "Base/Check.h"
#include "Base/Executor.h"

#include <functional>
#include <iterator>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace ombrel {

template <typename Item, typename Result>
class SegmentQueue {
public:
    /// Nothing where there is nothing to deliver. Destroyed on either thread.
    using Render = std::move_only_function<std::optional<Result>(std::span<const Item>)>;
    using Deliver = std::move_only_function<void(Result)>;
    using Finish = std::move_only_function<void()>;

    /// The executors outlive what the queue does: all of its batches.
    SegmentQueue(Executor& renderOn, Executor& main, Render render, Deliver deliver, Finish finish)
        : state_(std::make_shared<State>(renderOn, main, std::move(render), std::move(deliver),
                                         std::move(finish))) {}
    ~SegmentQueue() { state_->isDropped = true; }
    SegmentQueue(const SegmentQueue&) = delete;
    SegmentQueue& operator=(const SegmentQueue&) = delete;

    /// Ignored after end().
    void enqueue(std::vector<Item> items) {
        if (state_->isEnded || items.empty()) return;
        std::vector<Item>& pending = state_->pending;
        if (pending.empty())
            pending = std::move(items);
        else
            pending.insert(pending.end(), std::make_move_iterator(items.begin()),
                           std::make_move_iterator(items.end()));
        pump(state_);
    }
    /// Nothing more comes. Finishes at once where nothing is left to be done.
    void end() {
        state_->isEnded = true;
        pump(state_);
    }

private:
    struct State {
        State(Executor& worker, Executor& home, Render toRender, Deliver toDeliver, Finish toFinish)
            : renderOn(worker), main(home), render(std::make_shared<Render>(std::move(toRender))),
              deliver(std::move(toDeliver)), finish(std::move(toFinish)) {}

        Executor& renderOn;
        Executor& main;
        const std::shared_ptr<Render> render; ///< all that a batch in flight touches
        Deliver deliver;
        Finish finish;
        std::vector<Item> pending;
        bool isInFlight = false;
        bool isEnded = false;
        bool isFinished = false;
        bool isDropped = false;
    };

    // The state is held by whoever works with it: callbacks may destroy the queue.
    static void pump(const std::shared_ptr<State> state) { // NOLINT(performance-*)
        if (state->isInFlight || state->isDropped || state->isFinished) return;
        if (state->pending.empty()) {
            if (!state->isEnded) return;
            state->isFinished = true;
            state->finish();
            return;
        }
        state->isInFlight = true;
        postWithAnswer(
            state->renderOn,
            [render = state->render, batch = std::exchange(state->pending, {})] {
                return (*render)(std::span<const Item>(batch));
            },
            state->main,
            [state](std::optional<Result> result) {
                if (state->isDropped) return;
                if (result) state->deliver(std::move(*result));
                state->isInFlight = false;
                pump(state);
            });
    }

    const std::shared_ptr<State> state_;
};

} // namespace ombrel
