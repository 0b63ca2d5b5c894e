#include "IO/RecoveryStore.h"

#include "Base/AtomicFile.h"
#include "Base/FileAddress.h"
#include "Base/FileLock.h"
#include "Base/Json.h"
#include "Base/XdgFolders.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <set>
#include <tuple>

namespace ombrel {

namespace {

constexpr std::string_view documentExtension = ".ombrel";
constexpr std::string_view entryExtension = ".json";
constexpr std::string_view lockExtension = ".lock";
constexpr std::uint64_t largestEntry = 1 << 20;

std::string textOf(const RecoveryStore::Entry& entry) {
    Json json{{"id", entry.id.text()}, {"name", entry.name}, {"savedAt", isoText(entry.savedAt)}};
    if (entry.originalURL) json["originalURL"] = fileAddress(*entry.originalURL);
    return indentedText(json);
}

std::optional<RecoveryStore::Entry> entryOf(std::string_view text) {
    const auto json = parseJson(text);
    if (!json) return std::nullopt;
    const auto id = stringField(*json, "id");
    const auto name = stringField(*json, "name");
    const auto savedAt = stringField(*json, "savedAt");
    if (!id || !name || !savedAt) return std::nullopt;
    const auto uuid = Uuid::parse(*id);
    const auto date = parseIsoDate(*savedAt);
    if (!uuid || !date) return std::nullopt;
    RecoveryStore::Entry entry{*uuid, *name, std::nullopt, *date};
    if (hasField(*json, "originalURL")) {
        const auto address = stringField(*json, "originalURL");
        if (!address) return std::nullopt;
        entry.originalURL = pathOfFileAddress(*address);
        if (!entry.originalURL) return std::nullopt;
    }
    return entry;
}

bool isFile(const std::filesystem::path& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path, error);
}

/// The ids of all files of this store in its folder, by their extensions.
std::map<Uuid, std::set<std::string>> filesIn(const std::filesystem::path& directory) {
    constexpr std::array ours{documentExtension, entryExtension, lockExtension};
    std::map<Uuid, std::set<std::string>> files;
    std::error_code error;
    for (std::filesystem::directory_iterator each(directory, error), end; !error && each != end;
         each.increment(error)) {
        const std::filesystem::path& path = each->path();
        const std::string extension = path.extension().string();
        const auto id = Uuid::parse(path.stem().native());
        const bool isOurs = id && id->text() == path.stem().native() &&
                            std::ranges::find(ours, extension) != ours.end();
        if (isOurs) files[*id].insert(extension);
    }
    return files;
}

bool isPair(const std::set<std::string>& extensions) {
    return extensions.contains(std::string(documentExtension)) &&
           extensions.contains(std::string(entryExtension));
}

} // namespace

RecoveryStore& RecoveryStore::shared() {
    static RecoveryStore store(XdgFolders::fromEnvironment().data / "Recovery");
    return store;
}

RecoveryStore::RecoveryStore(std::filesystem::path directory) : directory_(std::move(directory)) {}

RecoveryStore::~RecoveryStore() = default;

std::filesystem::path RecoveryStore::file(const Uuid& id, std::string_view extension) const {
    return directory_ / (id.text() + std::string(extension));
}

std::expected<std::uint64_t, NativeSaveError>
RecoveryStore::save(const Board& board, const Entry& entry, Progress* progress) {
    {
        const LockGuard guard(mutex_);
        if (isFinished_) return std::unexpected(NativeSaveError{});
        ++runningSaves_;
    }
    std::expected<std::uint64_t, NativeSaveError> written;
    if (const HeldLock lock = beginSave(entry.id)) {
        written = write(board, entry, progress);
        endSave(entry.id, *lock);
    } else {
        written = std::unexpected(NativeSaveError{lock.error()});
    }
    const LockGuard guard(mutex_);
    --runningSaves_;
    saveEnded_.notifyAll();
    return written;
}

/// The document first: a pair with an entry always has a whole document beside it.
std::expected<std::uint64_t, NativeSaveError>
RecoveryStore::write(const Board& board, const Entry& entry, Progress* progress) const {
    const auto size = saveNative(board, file(entry.id, documentExtension), progress);
    if (!size) return size;
    const auto done = writeFileAtomically(file(entry.id, entryExtension), textOf(entry));
    if (!done) return std::unexpected(NativeSaveError{done.error()});
    return size;
}

std::vector<RecoveryStore::Entry> RecoveryStore::entries() const {
    std::vector<Entry> entries;
    for (const auto& [id, extensions] : filesIn(directory_)) {
        if (!isPair(extensions) || FileLock::isHeld(file(id, lockExtension))) continue;
        const auto text = readSmallFile(file(id, entryExtension), largestEntry);
        std::optional<Entry> entry = text ? entryOf(*text) : std::nullopt;
        if (entry && entry->id == id) entries.push_back(std::move(*entry));
    }
    std::ranges::sort(entries, {}, [](const Entry& e) { return std::tuple(e.savedAt, e.id); });
    return entries;
}

std::expected<Board, NativeOpenError> RecoveryStore::read(const Entry& entry, TileStore& store,
                                                          Progress* progress) {
    if (const HeldLock lock = hold(entry.id, 0); !lock) return std::unexpected(lock.error());
    return openNative(file(entry.id, documentExtension), store, progress);
}

void RecoveryStore::remove(const Uuid& id) {
    std::shared_ptr<FileLock> lock;
    {
        const LockGuard guard(mutex_);
        if (const auto found = held_.find(id); found != held_.end()) {
            if (found->second.saves > 0) {
                found->second.isUnwanted = true;
                return;
            }
            lock = found->second.lock;
            held_.erase(found);
        }
    }
    if (lock) return removeFiles(id, *lock);
    auto taken = FileLock::take(file(id, lockExtension));
    if (taken) removeFiles(id, *taken);
}

void RecoveryStore::release(const Uuid& id) {
    std::shared_ptr<FileLock> lock; // is let go without the mutex
    const LockGuard guard(mutex_);
    if (const auto found = held_.find(id); found != held_.end()) {
        lock = found->second.lock;
        held_.erase(found);
    }
}

void RecoveryStore::finish() {
    const LockGuard guard(mutex_);
    isFinished_ = true;
    while (runningSaves_ > 0)
        saveEnded_.wait(mutex_);
}

void RecoveryStore::removeOrphans() {
    for (const auto& [id, extensions] : filesIn(directory_))
        if (!isPair(extensions)) removeOrphan(id);
    AtomicFile::removeLeftovers(directory_);
}

void RecoveryStore::removeOrphan(const Uuid& id) const {
    const std::filesystem::path path = file(id, lockExtension);
    if (FileLock::isHeld(path)) return;
    auto lock = FileLock::take(path);
    // Somebody may have completed the pair before the lock was taken.
    if (!lock || (isFile(file(id, documentExtension)) && isFile(file(id, entryExtension)))) return;
    removeFiles(id, *lock);
}

/// The entry first: what has none is not offered.
void RecoveryStore::removeFiles(const Uuid& id, FileLock& lock) const {
    if (!lock.isInPlace()) return;
    std::error_code ignored;
    std::filesystem::remove(file(id, entryExtension), ignored);
    std::filesystem::remove(file(id, documentExtension), ignored);
    lock.removeFile();
}

std::shared_ptr<FileLock> RecoveryStore::lockOf(const Uuid& id) const {
    const LockGuard guard(mutex_);
    const auto found = held_.find(id);
    return found == held_.end() ? nullptr : found->second.lock;
}

/// Counts `saves` as running where the id is held.
RecoveryStore::HeldLock RecoveryStore::hold(const Uuid& id, int saves) {
    while (true) {
        std::shared_ptr<FileLock> known = lockOf(id);
        if (known && known->isInPlace()) {
            const LockGuard guard(mutex_);
            const auto found = held_.find(id);
            if (found == held_.end() || found->second.lock != known) continue; // just removed
            found->second.saves += saves;
            if (saves > 0) found->second.isUnwanted = false;
            return known;
        }
        auto taken = FileLock::take(file(id, lockExtension));
        if (taken) {
            auto lock = std::make_shared<FileLock>(std::move(*taken));
            const LockGuard guard(mutex_);
            held_.insert_or_assign(id, Held{lock, saves, false});
            return lock;
        }
        // Another thread of this process may have been faster.
        if (taken.error().code != EBUSY || lockOf(id) == known) {
            return std::unexpected(taken.error());
        }
    }
}

RecoveryStore::HeldLock RecoveryStore::beginSave(const Uuid& id) {
    if (const auto made = createPrivateFolder(directory_); !made)
        return std::unexpected(made.error());
    return hold(id, 1);
}

void RecoveryStore::endSave(const Uuid& id, const std::shared_ptr<FileLock>& lock) {
    {
        const LockGuard guard(mutex_);
        const auto found = held_.find(id);
        if (found == held_.end() || found->second.lock != lock) return;
        if (--found->second.saves > 0 || !found->second.isUnwanted) return;
        held_.erase(found);
    }
    removeFiles(id, *lock);
}

} // namespace ombrel
