// When recovery copies of one document are written: a while after it was edited, the longer the
// larger the last copy was, again and again while edits go on, and never in the middle of a live
// edit or of queued work. A document that is not edited has no copy. Main thread; copies are
// written on the worker.
#pragma once

#include "Base/Executor.h"
#include "Base/Timer.h"
#include "IO/RecoveryStore.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace ombrel {

class DocumentRecovery : public std::enable_shared_from_this<DocumentRecovery> {
public:
    /// Everything referred to outlives this and its work.
    struct Services {
        Executor& main;
        Executor& worker; ///< one task at a time, in order: a Strand
        RecoveryStore& store;
        /// Calls back on `main` after a while; empty: by the clock.
        std::function<void(Timer::Duration, Executor::Task)> sleep = {};
    };
    struct Copy {
        Board board;
        std::string name;
        std::optional<std::filesystem::path> originalURL;
    };
    /// What is asked of the document, on the main thread, while this is open.
    struct Questions {
        std::function<bool()> isEdited;
        std::function<bool()> isInterruptible; ///< neither live-editing nor busy
        std::function<Copy()> copy;
    };

    DocumentRecovery(const Services& services, const Uuid& recoveryID, Questions questions);

    /// At each change of the document's edited state, and at each change while it is edited.
    void editedStateChanged();
    /// What the delays are measured by until the first copy is written.
    void setLastRecoveryBytes(std::int64_t bytes) { lastRecoveryBytes_ = bytes; }
    /// The copy goes, and no other will be written.
    void close();
    /// No other copy will be written, and what there is stays for the next start.
    void leave();
    /// A copy of what is not in one yet, at once and on this thread, for the end of the process.
    void writeNow();

    /// From the size of the last copy in bytes: 500 kB a second, from 20 to 300 seconds.
    static std::chrono::duration<double> delayAfter(std::int64_t lastRecoveryBytes);
    std::chrono::duration<double> delay() const { return delayAfter(lastRecoveryBytes_); }
    bool isScheduled() const { return isTaskUnderWay_; }

private:
    void schedule();
    void wake(std::int64_t task);
    void write();
    void finishWrite(std::int64_t task, std::expected<std::uint64_t, NativeSaveError> written);
    void dropTask();
    void removeCopy();
    RecoveryStore::Entry entryOf(const Copy& copy) const;

    const Services services_;
    const Uuid recoveryID_;
    Questions questions_;
    Timer timer_;
    bool isTaskUnderWay_ = false; ///< asleep or writing
    std::int64_t task_ = 0;       ///< raised when a task is dropped
    bool changedSinceRecovery_ = false;
    bool isClosed_ = false;
    std::int64_t lastRecoveryBytes_ = 0;
};

} // namespace ombrel
