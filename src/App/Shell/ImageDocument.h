// One open document: joins a file, a window and the session that edits it. It knows whether it must
// be saved, reads and writes its file off the main thread, and keeps recovery copies while it is
// edited. The session edits the active node of the board; the other nodes are kept as they were
// read and go back into the file.
//
// Everything on the main thread but readFromURL and writeToURL, which touch only the hand-over
// fields behind their locks.
#pragma once

#include "App/Shell/AppServices.h"
#include "Base/FileLock.h"
#include "Core/Board.h"
#include "Editor/DocumentRecovery.h"
#include "Editor/DocumentSession.h"
#include "Editor/EditedMark.h"
#include "IO/DocumentReader.h"
#include "IO/ImageExporter.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace ombrel {

class DocumentController;
class DocumentWindow;

/// A value that one thread leaves for another to take.
template <typename T>
class HandOver {
public:
    void put(T value) {
        const std::lock_guard guard(mutex_);
        value_ = std::move(value);
    }
    std::optional<T> take() {
        const std::lock_guard guard(mutex_);
        return std::exchange(value_, std::nullopt);
    }

private:
    std::mutex mutex_;
    std::optional<T> value_;
};

class ImageDocument : public std::enable_shared_from_this<ImageDocument> {
    struct Private {};

public:
    using Path = std::filesystem::path;
    using ImportReport = std::vector<std::string>;

    enum class SaveResult { saved, failed, cancelled };
    using SaveCompletion = std::function<void(SaveResult)>;

    static std::shared_ptr<ImageDocument> create(AppServices& services,
                                                 DocumentController& controller);
    ImageDocument(Private, AppServices& services, DocumentController& controller);
    ~ImageDocument();
    ImageDocument(const ImageDocument&) = delete;
    ImageDocument& operator=(const ImageDocument&) = delete;

    // Where a document comes from; makeWindowControllers() then takes the state up.

    /// Not on the main thread.
    std::expected<void, DocumentReadError> readFromURL(const Path& path, Progress& progress);
    /// After readFromURL: the file is this document's. EBUSY where another process has it open.
    std::expected<void, FileError> takeFile(const Path& path);
    void takeNew(Board board, std::string name);
    void takeRecovered(const RecoveryStore::Entry& entry, Board board);
    /// The session from the loaded state, and the window on it.
    void makeWindowControllers();

    // What it is.

    const std::shared_ptr<DocumentSession>& session() const { return session_; }
    DocumentWindow* window() const { return window_; }
    std::string displayName() const;
    /// The native file that it is saved to; absent for one that was never saved, or imported.
    const std::optional<Path>& fileURL() const { return fileURL_; }
    /// The file that it was read from or saved to last.
    const std::optional<Path>& source() const { return source_; }
    bool isEdited() const { return mark_ && mark_->isEdited(); }
    bool isSaving() const { return isSaving_; }
    bool isReverting() const { return isReverting_; }
    /// The board with what the session has made of its active node.
    Board board() const;
    Path proposedPath(std::string_view extension) const;

    // What may be done with it. Completions come later, on the main thread.

    /// To its file, or to one that is asked for.
    void save(SaveCompletion completion = {});
    void saveAs(SaveCompletion completion = {});
    void saveCopy(); ///< beside its own file, which it stays with
    void saveToURL(const Path& path, SaveCompletion completion);
    void exportToURL(const Path& path, ImageFormat format, const ExportOptions& options);
    void revert(); ///< asks first
    void revertToContentsOfURL(const Path& path);
    /// Asks about unsaved changes; true where it may be closed.
    void shouldClose(std::function<void(bool)> answer);
    /// Without asking. The last one that holds the document is its controller.
    void close();
    /// For the end of the process: a recovery copy of what is not saved, at once.
    void writeRecoveryNow();
    void leaveRecovery(); ///< what copy there is stays for the next start

private:
    std::expected<std::uint64_t, NativeSaveError> writeToURL(const Path& path, Progress& progress);
    void makeSession(DocumentState state);
    void makeRecovery();
    void connectSession();
    void editedStateChanged();
    void writeCopy(const Path& path);
    void askToWait(std::function<void(bool)> answer);
    void whenQuiet(std::function<void()> then); ///< once no operation is queued
    void finishSave(const Path& path, const std::expected<std::uint64_t, NativeSaveError>& written);
    void finishRevert(const Path& path, const std::expected<void, DocumentReadError>& read);
    void endSaving(SaveResult result);
    std::expected<FileLock, FileError> lockOf(const Path& path) const;

    AppServices& services_;
    DocumentController& controller_;
    std::shared_ptr<DocumentSession> session_;
    HandOver<Board> loadedState_;
    HandOver<Board> savingState_;
    HandOver<ImportReport> loadedReport_;
    HandOver<bool> loadedNative_;    ///< whether the file is of the kind that is saved to
    Uuid recoveryID_ = Uuid::make(); ///< names the recovery copy
    std::optional<std::string> recoveredName_;
    std::shared_ptr<DocumentRecovery> recovery_;
    bool isClosed_ = false;

    std::optional<Board> board_; ///< as it was read or saved; its active node lives in the session
    std::string name_;           ///< while there is no file
    std::string historyName_ = "Open";
    std::optional<Path> fileURL_;
    std::optional<Path> source_;
    std::optional<FileLock> fileLock_;
    std::optional<EditedMark> mark_;
    DocumentWindow* window_ = nullptr;
    Connection quiet_; ///< waits for the end of queued work
    std::vector<std::function<void()>> whenQuiet_;
    bool isSaving_ = false;
    bool isReverting_ = false;
    std::vector<SaveCompletion> whenSaved_;
};

} // namespace ombrel
