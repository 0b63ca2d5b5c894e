// Private copies of edited documents, so that a crash loses at most the edits since the last copy.
// A folder of pairs: "<id>.ombrel", a native document, and "<id>.json", an Entry. When copies are
// written, and who is offered them, others decide.
//
// Processes share the folder. Whoever has a document open holds the lock of its id, which the
// system frees when a process dies; nobody lists, reads or removes a copy that another one holds.
// Any thread; save, read and finish never on the main executor of an editor.
#pragma once

#include "Base/IsoDate.h"
#include "Base/ThreadAnnotations.h"
#include "Base/Uuid.h"
#include "IO/Native/NativeFile.h"

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace ombrel {

class FileLock;

class RecoveryStore {
public:
    struct Entry {
        Uuid id;          ///< the document's recoveryID
        std::string name; ///< to show
        /// Absent for a document that was never saved; stored as a file address.
        std::optional<std::filesystem::path> originalURL;
        Date savedAt;

        bool operator==(const Entry&) const = default;
    };

    /// The one of the process, in the user's data folder.
    static RecoveryStore& shared();

    /// The folder is made by the first save.
    explicit RecoveryStore(std::filesystem::path directory);
    ~RecoveryStore(); ///< lets go of all ids; their copies stay
    RecoveryStore(const RecoveryStore&) = delete;
    RecoveryStore& operator=(const RecoveryStore&) = delete;

    const std::filesystem::path& directory() const { return directory_; }

    /// Writes or replaces the copy and returns the size of its document in bytes. From the first
    /// call on this process holds the id. After a failure the copy before is as it was.
    std::expected<std::uint64_t, NativeSaveError> save(const Board& board, const Entry& entry,
                                                       Progress* progress = nullptr);
    /// What may be offered: all that can be read and nobody holds, the oldest first.
    std::vector<Entry> entries() const;
    /// Holds the id from now on, also where the copy turns out to be damaged: remove or release it.
    /// Fails with EBUSY where another process was faster.
    std::expected<Board, NativeOpenError> read(const Entry& entry, TileStore& store,
                                               Progress* progress = nullptr);
    /// Removes the copy, unless another process holds it, and lets go of the id. A save of it that
    /// is running leaves nothing behind either.
    void remove(const Uuid& id);
    /// Lets go of an id; its copy stays for others to offer.
    void release(const Uuid& id);
    /// Removes what crashes left: halves of pairs, locks without a pair, unfinished files.
    void removeOrphans();
    /// For the end of the process: saves that run end, and later ones are refused as cancelled.
    void finish();

private:
    struct Held {
        std::shared_ptr<FileLock> lock;
        int saves = 0;           ///< running
        bool isUnwanted = false; ///< removed while it was being saved
    };
    using HeldLock = std::expected<std::shared_ptr<FileLock>, FileError>;

    std::filesystem::path file(const Uuid& id, std::string_view extension) const;
    std::expected<std::uint64_t, NativeSaveError> write(const Board& board, const Entry& entry,
                                                        Progress* progress) const;
    void removeFiles(const Uuid& id, FileLock& lock) const;
    void removeOrphan(const Uuid& id) const;

    HeldLock hold(const Uuid& id, int saves);
    std::shared_ptr<FileLock> lockOf(const Uuid& id) const;
    HeldLock beginSave(const Uuid& id);
    void endSave(const Uuid& id, const std::shared_ptr<FileLock>& lock);

    const std::filesystem::path directory_;
    mutable Mutex mutex_;
    Condition saveEnded_;
    std::map<Uuid, Held> held_ OMBREL_GUARDED_BY(mutex_);
    int runningSaves_ OMBREL_GUARDED_BY(mutex_) = 0;
    bool isFinished_ OMBREL_GUARDED_BY(mutex_) = false;
};

} // namespace ombrel
