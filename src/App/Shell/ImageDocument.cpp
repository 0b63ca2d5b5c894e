#include "App/Shell/ImageDocument.h"

#include "App/Shell/Activities.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "Base/Check.h"
#include "Base/XdgFolders.h"
#include "Editor/BrushPresetStore.h"
#include "IO/Native/NativeFile.h"
#include "Tools/BrushTool.h"
#include "Tools/ToolRegistry.h"

#include <fmt/format.h>

namespace ombrel {

namespace {

/// Brushes find the tips of the user, too.
ToolSet makeTools(BrushPresetStore& brushes) {
    ToolSet tools = ToolRegistry::makeTools();
    for (const auto& [kind, tool] : tools)
        if (auto* const brush = dynamic_cast<BrushTool*>(tool.get()))
            brush->findTip = [&brushes](const Uuid& id) { return brushes.tip(id); };
    return tools;
}

/// The same file is the same name in every process.
std::string lockNameOf(const std::filesystem::path& path) {
    std::uint64_t hash = 0xCBF29CE484222325ull;
    for (const char byte : path.native())
        hash = (hash ^ static_cast<std::uint8_t>(byte)) * 0x100000001B3ull;
    return fmt::format("{:016x}.lock", hash);
}

} // namespace

std::shared_ptr<ImageDocument> ImageDocument::create(AppServices& services,
                                                     DocumentController& controller) {
    return std::make_shared<ImageDocument>(Private{}, services, controller);
}

ImageDocument::ImageDocument(Private /*unused*/, AppServices& services,
                             DocumentController& controller)
    : services_(services), controller_(controller) {}

ImageDocument::~ImageDocument() {
    if (recovery_) recovery_->leave();
    // What was read and never shown may be large.
    services_.worker.post([board = std::move(board_), loaded = loadedState_.take()] {});
}

std::expected<void, DocumentReadError> ImageDocument::readFromURL(const Path& path,
                                                                  Progress& progress) {
    auto opened = readDocument(path, services_.store, progress);
    if (!opened) return std::unexpected(std::move(opened.error()));
    loadedNative_.put(opened->format == NativeFormat::fileExtension);
    loadedReport_.put(std::move(opened->report));
    loadedState_.put(std::move(opened->board));
    return {};
}

std::expected<void, FileError> ImageDocument::takeFile(const Path& path) {
    if (loadedNative_.take().value_or(false)) {
        auto lock = lockOf(path);
        if (!lock && lock.error().code == EBUSY) return std::unexpected(FileError{path, EBUSY});
        if (lock) fileLock_.emplace(std::move(*lock));
        fileURL_ = path;
    }
    source_ = path;
    return {};
}

std::expected<FileLock, FileError> ImageDocument::lockOf(const Path& path) const {
    const Path folder = XdgFolders::fromEnvironment().state / "locks";
    if (const auto made = createPrivateFolder(folder); !made) return std::unexpected(made.error());
    return FileLock::take(folder / lockNameOf(path));
}

void ImageDocument::takeNew(Board board, std::string name) {
    loadedState_.put(std::move(board));
    name_ = std::move(name);
    historyName_ = "New";
}

void ImageDocument::takeRecovered(const RecoveryStore::Entry& entry, Board board) {
    loadedState_.put(std::move(board));
    recoveryID_ = entry.id;
    recoveredName_ = entry.name;
    historyName_ = "Recovered";
    if (entry.originalURL) source_ = entry.originalURL;
}

void ImageDocument::makeWindowControllers() {
    board_ = loadedState_.take();
    OMBREL_CHECK(board_, "a document is read before its window is made");
    makeSession(board_->activeNode().state);
    makeRecovery();
    if (recoveredName_) mark_->invalidate();
    window_ = new DocumentWindow(*this, controller_, services_);
    connectSession();
    if (recoveredName_) editedStateChanged();
    window_->present(loadedReport_.take().value_or(ImportReport()));
}

void ImageDocument::makeSession(DocumentState state) {
    session_ =
        DocumentSession::create({.main = services_.main,
                                 .worker = services_.worker,
                                 .store = services_.store,
                                 .device = services_.device,
                                 .settings = services_.settings},
                                std::move(state), historyName_, {}, makeTools(services_.brushes));
    mark_.emplace(session_->currentEntryID());
}

void ImageDocument::makeRecovery() {
    const auto copy = [this] {
        return DocumentRecovery::Copy{board(), recoveredName_.value_or(displayName()), fileURL_};
    };
    recovery_ = std::make_shared<DocumentRecovery>(
        DocumentRecovery::Services{services_.main, services_.recoveryWriter, services_.recovery,
                                   services_.recoverySleep},
        recoveryID_,
        DocumentRecovery::Questions{
            .isEdited = [this] { return isEdited(); },
            .isInterruptible = [this] { return !*session_->_isLiveEditing && !*session_->_isBusy; },
            .copy = copy});
}

void ImageDocument::connectSession() {
    session_->onDocumentChange = [this](DocumentSession::ChangeType change) {
        mark_->note(change, session_->currentEntryID());
        editedStateChanged();
    };
}

void ImageDocument::editedStateChanged() {
    if (isClosed_) return;
    if (!controller_.isTerminating()) recovery_->editedStateChanged();
    window_->updateTitle();
}

std::string ImageDocument::displayName() const {
    if (recoveredName_) return *recoveredName_ + " (Recovered)";
    return source_ ? source_->filename().string() : name_;
}

Board ImageDocument::board() const {
    Board board = *board_;
    // A live edit is no part of the document until it ends.
    const DocumentState& state =
        *session_->_isLiveEditing ? session_->_history->current() : *session_->_state;
    board.writeNode(board.activeNode().id)->state = state;
    return board;
}

ImageDocument::Path ImageDocument::proposedPath(std::string_view extension) const {
    Path name = recoveredName_ ? *recoveredName_ : displayName();
    if (name.has_extension()) name.replace_extension();
    name += fmt::format(".{}", extension);
    return source_ ? source_->parent_path() / name : controller_.lastFolder() / name;
}

void ImageDocument::close() {
    if (std::exchange(isClosed_, true)) return;
    recovery_->close();
    quiet_.disconnect();
    session_->onDocumentChange = {};
    session_->cancelLive();
    if (*session_->_runningCommand) (*session_->_runningCommand)->progress->cancel();
    controller_.removeDocument(*this); // notes the frame, then drops what it holds
    window_->release();
    window_ = nullptr;
    session_.reset();
    services_.worker.post([board = std::exchange(board_, std::nullopt)] {});
    fileLock_.reset();
}

void ImageDocument::writeRecoveryNow() {
    if (recovery_ && !isClosed_) recovery_->writeNow();
}

void ImageDocument::leaveRecovery() {
    if (recovery_) recovery_->leave();
}

} // namespace ombrel
