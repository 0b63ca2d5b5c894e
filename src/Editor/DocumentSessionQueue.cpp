// Commands, at once or in their turn. Each operation of the queue begins in a task of its own on
// the main thread once the one before it has ended; tasks hold the session weakly.
#include "Core/TileStore.h"
#include "Editor/DocumentSession.h"

#include <utility>

namespace ombrel {

void DocumentSession::perform(const Command& command) {
    checkThread();
    if (!command.runsOnQueue() && queuedOperations_ < 1) return performNow(command);
    if (command.runsOnQueue()) ++slowOperations_;
    enqueue([command](DocumentSession& session) { session.runCommand(command); });
}

void DocumentSession::perform(const Command& command, std::move_only_function<void()> completion) {
    const auto self = shared_from_this();
    perform(command);
    if (queuedOperations_ < 1) return completion();
    enqueueStep([completion = std::move(completion)](DocumentSession&) mutable { completion(); });
}

void DocumentSession::performInstantly(const Command& command) {
    checkThread();
    if (queuedOperations_ < 1) return performNow(command);
    perform(command);
}

std::int64_t DocumentSession::queuedOperations() const {
    checkThread();
    return queuedOperations_;
}

void DocumentSession::performNow(const Command& command) {
    DocumentState next = *_state;
    const CommandResult result = command.apply(next, {.store = *store_, .device = device_});
    finishCommand(command, result, std::move(next));
}

void DocumentSession::enqueue(Operation operation) {
    queue_.push_back(std::move(operation));
    if (++queuedOperations_ == 1) startNextOperation();
    _isBusy = true;
}

void DocumentSession::enqueueStep(std::move_only_function<void(DocumentSession&)> step) {
    enqueue([step = std::move(step)](DocumentSession& session) mutable {
        step(session);
        session.endOperation();
    });
}

void DocumentSession::startNextOperation() {
    main_.post([weak = weak_from_this()] {
        const auto self = weak.lock();
        if (!self) return;
        Operation operation = std::move(self->queue_.front());
        self->queue_.pop_front();
        operation(*self);
    });
}

void DocumentSession::endOperation() {
    if (--queuedOperations_ > 0) {
        startNextOperation();
    } else {
        _isBusy = false;
    }
}

void DocumentSession::runCommand(const Command& command) {
    struct Outcome {
        CommandResult result;
        DocumentState state;
    };
    const auto progress = std::make_shared<Progress>();
    runAway(
        [command, progress, store = store_, &device = device_, state = *_state]() mutable {
            CommandResult result = command.apply(
                state, {.store = *store, .device = device, .progress = progress.get()});
            return Outcome{std::move(result), std::move(state)};
        },
        [command, progress](DocumentSession& session, Outcome outcome) {
            // What was cancelled is not committed, even where the command did not look.
            if (progress->isCancelled())
                outcome.result = std::unexpected(CommandError::of(CommandError::Kind::cancelled));
            session._runningCommand = std::nullopt;
            if (command.runsOnQueue()) --session.slowOperations_;
            session.finishCommand(command, outcome.result, std::move(outcome.state));
            session.endOperation();
        });
    _runningCommand = RunningCommand{command.name(), progress};
}

void DocumentSession::finishCommand(const Command& command, const CommandResult& result,
                                    DocumentState next) {
    if (result) return commit(*_state, std::move(next), command.name(), command.coalescingKey());
    discard(std::move(next));
    if (onError && result.error().kind != CommandError::Kind::cancelled) onError(result.error());
}

} // namespace ombrel
