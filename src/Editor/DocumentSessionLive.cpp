// Live edits. Previews run on the worker, one at a time; what comes back after the edit has ended
// is known by its generation and dropped.
#include "Editor/DocumentSession.h"

#include "Base/Check.h"

#include <utility>

namespace ombrel {

bool DocumentSession::beginLive() {
    checkThread();
    if (*_isLiveEditing || queuedOperations_ != 0) return false;
    openLive();
    return true;
}

void DocumentSession::openLive() {
    OMBREL_CHECK(!*_isLiveEditing, "there is one live edit at a time");
    liveBase_ = *_state;
    ++liveGeneration_;
    _isLiveEditing = true;
}

bool DocumentSession::beginLiveInTurn(std::move_only_function<void()> begun) {
    checkThread();
    if (*_isLiveEditing && !isLiveInTurn_) return false;
    if (slowOperations_ > 0) return false;
    const auto self = shared_from_this();
    Operation turn = [begun = std::move(begun)](DocumentSession& session) mutable {
        session.isLiveInTurn_ = true;
        session.openLive();
        begun();
    };
    if (queuedOperations_ > 0) {
        enqueue(std::move(turn));
    } else {
        ++queuedOperations_;
        turn(*this);
        if (queuedOperations_ > 0) _isBusy = true;
    }
    return true;
}

bool DocumentSession::takesUndo() const {
    checkThread();
    return *_isLiveEditing ? isLiveInTurn_ : _history->canUndo();
}

bool DocumentSession::takesRedo() const {
    checkThread();
    return !*_isLiveEditing && _history->canRedo();
}

void DocumentSession::previewLive(Transform transform) {
    checkThread();
    OMBREL_CHECK(transform, "a preview is a transform");
    if (!*_isLiveEditing) return;
    pendingPreview_ = std::move(transform);
    runNextPreview();
}

void DocumentSession::runNextPreview() {
    if (isPreviewRunning_ || !pendingPreview_ || !liveBase_) return;
    isPreviewRunning_ = true;
    runAway([transform = std::exchange(pendingPreview_, nullptr),
             base = *liveBase_]() mutable { return transform(std::move(base)); },
            [generation = liveGeneration_](DocumentSession& session, DocumentState result) {
                session.finishPreview(generation, std::move(result));
            });
}

void DocumentSession::finishPreview(std::int64_t generation, DocumentState result) {
    isPreviewRunning_ = false;
    if (generation == liveGeneration_ && *_isLiveEditing) {
        show(std::move(result));
        _state.tell();
        announceDisplay();
    } else {
        discard(std::move(result));
    }
    runNextPreview();
}

void DocumentSession::updateLive(const std::function<void(DocumentState&)>& change) {
    checkThread();
    if (!*_isLiveEditing) return;
    const auto self = shared_from_this();
    DocumentState next = *_state;
    change(next);
    show(std::move(next));
    _state.tell();
    announceDisplay();
}

void DocumentSession::commitLive(std::string name, Transform finish) {
    checkThread();
    if (!*_isLiveEditing) return;
    const auto self = shared_from_this();
    const bool wasInTurn = std::exchange(isLiveInTurn_, false);
    DocumentState base = endLive();
    if (finish) ++slowOperations_;
    if (finish && wasInTurn) {
        runFinish(std::move(name), std::move(finish), std::move(base));
    } else if (finish) {
        enqueue([name = std::move(name), finish = std::move(finish),
                 base = std::move(base)](DocumentSession& session) mutable {
            session.runFinish(std::move(name), std::move(finish), std::move(base));
        });
    } else {
        commit(base, *_state, std::move(name), std::nullopt);
        discard(std::move(base));
        if (wasInTurn) endOperation();
    }
    _isLiveEditing.tell();
}

void DocumentSession::runFinish(std::string name, Transform finish, DocumentState base) {
    auto work = [finish = std::move(finish), base]() mutable { return finish(std::move(base)); };
    runAway(std::move(work), [name = std::move(name), base = std::move(base)](
                                 DocumentSession& session, DocumentState result) mutable {
        session.commit(base, std::move(result), std::move(name), std::nullopt);
        session.discard(std::move(base));
        --session.slowOperations_;
        session.endOperation();
    });
}

void DocumentSession::cancelLive() {
    checkThread();
    if (!*_isLiveEditing) return;
    const auto self = shared_from_this();
    const bool wasInTurn = std::exchange(isLiveInTurn_, false);
    show(endLive());
    _state.tell();
    if (wasInTurn) endOperation();
    _isLiveEditing.tell();
    announceDisplay();
}

// Unheard as yet; gives the state at the beginning.
DocumentState DocumentSession::endLive() {
    ++liveGeneration_;
    discard(std::exchange(pendingPreview_, nullptr));
    _isLiveEditing.updateQuietly([](bool& isLive) { isLive = false; });
    DocumentState base = std::move(*liveBase_);
    liveBase_.reset();
    return base;
}

} // namespace ombrel
