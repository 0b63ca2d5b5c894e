#include "App/Panels/SlicedWork.h"

#include <atomic>
#include <optional>
#include <utility>

namespace ombrel {

struct SlicedWork::Core : std::enable_shared_from_this<Core> {
    struct Wish {
        Slice slice;
        std::function<void()> answer;
    };

    Core(Executor& onMain, Executor& onWorker) : main(onMain), worker(onWorker) {}

    void startNext() {
        running = std::exchange(next, std::nullopt);
        if (!running) return;
        isOvertaken = false;
        post(std::make_shared<Slice>(std::move(running->slice)));
    }
    void post(std::shared_ptr<Slice> slice) {
        worker.post([self = shared_from_this(), slice = std::move(slice)]() mutable {
            const bool isDone = !self->isOvertaken && (*slice)();
            if (!isDone && !self->isOvertaken) return self->post(std::move(slice));
            slice.reset(); // what only it holds ends here
            Executor& answerOn = self->main;
            answerOn.post([self = std::move(self), isDone] { self->finish(isDone); });
        });
    }
    void finish(bool isDone) {
        std::function<void()> answer = std::move(running->answer);
        running.reset();
        const bool isAnswered = isDone && !isOvertaken;
        startNext();
        if (isAnswered && answer) answer();
    }

    Executor& main;
    Executor& worker;
    std::optional<Wish> running; ///< its slice is on its way
    std::optional<Wish> next;
    std::atomic<bool> isOvertaken = false;
};

SlicedWork::SlicedWork(Executor& main, Executor& worker)
    : core_(std::make_shared<Core>(main, worker)) {}

SlicedWork::~SlicedWork() {
    cancel();
}

void SlicedWork::start(Slice slice, std::function<void()> answer) {
    core_->next = Core::Wish{std::move(slice), std::move(answer)};
    if (core_->running) {
        core_->isOvertaken = true;
    } else {
        core_->startNext();
    }
}

void SlicedWork::cancel() {
    core_->next.reset();
    core_->isOvertaken = true;
}

bool SlicedWork::isBusy() const {
    return core_->running.has_value() || core_->next.has_value();
}

} // namespace ombrel
