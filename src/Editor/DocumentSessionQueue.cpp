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

DocumentSession::Applied DocumentSession::applied(const Command& command,
                                                  const DocumentState& before,
                                                  const CommandContext& in) {
    Applied applied{.result = {}, .state = before};
    applied.result = command.apply(applied.state, in);
    applied.isNothing =
        applied.result && command.nothingDone() != nullptr && applied.state == before;
    return applied;
}

void DocumentSession::performNow(const Command& command) {
    finishCommand(command, applied(command, *_state, {.store = *store_, .device = device_}));
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
    const auto progress = std::make_shared<Progress>();
    runAway(
        [command, progress, store = store_, &device = device_, before = *_state] {
            return applied(command, before,
                           {.store = *store, .device = device, .progress = progress.get()});
        },
        [command, progress](DocumentSession& session, Applied outcome) {
            // What was cancelled is not committed, even where the command did not look.
            if (progress->isCancelled())
                outcome.result = std::unexpected(CommandError::of(CommandError::Kind::cancelled));
            session._runningCommand = std::nullopt;
            if (command.runsOnQueue()) --session.slowOperations_;
            session.finishCommand(command, std::move(outcome));
            session.endOperation();
        });
    _runningCommand = RunningCommand{command.name(), progress};
}

void DocumentSession::finishCommand(const Command& command, Applied applied) {
    const CommandResult& result = applied.result;
    if (result && !applied.isNothing) {
        return commit(*_state, std::move(applied.state), command.name(), command.coalescingKey());
    }
    discard(std::move(applied.state));
    if (result) {
        if (onMessage) onMessage(command.nothingDone());
    } else if (onError && result.error().kind != CommandError::Kind::cancelled) {
        onError(result.error());
    }
}

} // namespace ombrel
