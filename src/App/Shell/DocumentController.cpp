#include "App/Shell/DocumentController.h"

#include "App/Shell/Activities.h"
#include "App/Shell/Dialogs.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/NewDocumentForm.h"
#include "App/Shell/StartWindow.h"
#include "App/Shell/Thumbnails.h"

#include <QPointer>
#include <QTimer>

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>

namespace ombrel {

namespace {

/// Absolute, links followed, whether or not the file is there.
std::filesystem::path resolved(const std::filesystem::path& path) {
    std::error_code error;
    const auto canonical = std::filesystem::weakly_canonical(path, error);
    return error ? std::filesystem::absolute(path, error) : canonical;
}

/// How long a file may take before there is a window that tells of it.
constexpr auto unseenOpening = std::chrono::milliseconds(400);

void raise(QWidget& window) {
    if (window.isMinimized()) window.showNormal();
    window.show();
    window.raise();
    window.activateWindow();
}

} // namespace

DocumentController::DocumentController(AppServices& services, std::function<void()> ended)
    : services_(services), ended_(std::move(ended)), recentFiles_(services.settings),
      thumbnails_(std::make_unique<Thumbnails>(services)) {}

DocumentController::~DocumentController() {
    isTerminating_ = true;
    for (const auto& document : Documents(documents_))
        document->close();
    delete startWindow_;
}

void DocumentController::start(const std::vector<Path>& files) {
    offerRecovery();
    openFiles(files);
    showStartWindowIfEmpty();
}

void DocumentController::activate(const std::vector<Path>& files) {
    if (!files.empty()) return openFiles(files);
    if (startWindow_ == nullptr && !documents_.empty()) {
        return raise(*documents_.back()->window());
    }
    showStartWindow();
}

void DocumentController::offerRecovery() {
    isRecovering_ = true;
    postWithAnswer(
        services_.recoveryWriter, [&store = services_.recovery] { return store.entries(); },
        services_.main, whileAlive([this](std::vector<RecoveryStore::Entry> entries) {
            services_.recoveryWriter.post([&store = services_.recovery] { store.removeOrphans(); });
            std::ranges::reverse(entries); // taken from the end, the oldest first
            offerNext(std::make_shared<std::vector<RecoveryStore::Entry>>(std::move(entries)));
        }));
}

void DocumentController::offerNext(std::shared_ptr<std::vector<RecoveryStore::Entry>> entries) {
    if (entries->empty() || isTerminating_) {
        isRecovering_ = false;
        return showStartWindowIfEmpty();
    }
    const RecoveryStore::Entry entry = entries->back();
    entries->pop_back();
    auto activity = services_.activities.begin(fmt::format("Recovering {}", entry.name));
    postWithAnswer(
        services_.worker,
        [&recovery = services_.recovery, &store = services_.store, entry,
         progress = activity->progress()] {
            auto board = recovery.read(entry, store, progress.get());
            const bool isKept = board || progress->isCancelled() ||
                                (std::holds_alternative<FileError>(board.error()) &&
                                 std::get<FileError>(board.error()).code == EBUSY);
            if (!isKept) recovery.remove(entry.id);
            if (!board) recovery.release(entry.id);
            return board;
        },
        services_.main, whileAlive([this, entries, entry, activity](auto board) mutable {
            activity.reset();
            if (board && !isTerminating_) {
                const auto document = ImageDocument::create(services_, *this);
                document->takeRecovered(entry, std::move(*board));
                add(document);
            }
            offerNext(entries);
        }));
}

void DocumentController::add(const std::shared_ptr<ImageDocument>& document) {
    documents_.push_back(document);
    document->makeWindowControllers();
    if (startWindow_ != nullptr) startWindow_->closeForDocument();
    startWindow_ = nullptr;
}

void DocumentController::newDocument(QWidget* on) {
    if (on == nullptr) return showStartWindow();
    NewDocumentForm::showOn(
        *on, services_.settings,
        [this](const Canvas& canvas, const auto& background) { makeDocument(canvas, background); });
}

void DocumentController::makeDocument(const Canvas& canvas,
                                      const DocumentState::Background& background) {
    ++untitledCount_;
    const auto document = ImageDocument::create(services_, *this);
    document->takeNew(
        Board(DocumentState::make(canvas, background, true, services_.store), "Node 1"),
        untitledCount_ == 1 ? "Untitled" : fmt::format("Untitled {}", untitledCount_));
    add(document);
}

void DocumentController::duplicate(const ImageDocument& document) {
    const auto copy = ImageDocument::create(services_, *this);
    copy->takeNew(document.board(), document.displayName() + " copy");
    add(copy);
}

void DocumentController::raiseDocument(ImageDocument& document) {
    if (document.window() != nullptr) raise(*document.window());
}

void DocumentController::raiseNextTo(const ImageDocument& document, std::ptrdiff_t steps) {
    const auto at = std::ranges::find(documents_, &document, &std::shared_ptr<ImageDocument>::get);
    if (at == documents_.end()) return;
    const std::ptrdiff_t count = std::ssize(documents_);
    const std::ptrdiff_t wanted = (at - documents_.begin() + steps % count + count) % count;
    raiseDocument(*documents_[static_cast<std::size_t>(wanted)]);
}

void DocumentController::closeAll() {
    Documents all = documents_;
    std::ranges::reverse(all);
    closeNext(std::move(all));
}

void DocumentController::closeNext(Documents left) {
    while (!left.empty() && left.back()->window() == nullptr)
        left.pop_back();
    if (left.empty()) return;
    const auto document = left.back();
    left.pop_back();
    if (document->isEdited()) raise(*document->window());
    document->shouldClose(
        [this, document, left = std::move(left), alive = std::weak_ptr(alive_)](bool mayClose) {
            if (!mayClose || alive.expired()) return;
            document->close();
            closeNext(left);
        });
}

void DocumentController::chooseAndOpen(QWidget* on) {
    services_.dialogs.chooseFilesToOpen(
        on, lastFolder(), [this, on = QPointer<QWidget>(on)](const std::vector<Path>& paths) {
            openFiles(paths, on.data());
        });
}

void DocumentController::openFiles(const std::vector<Path>& paths, QWidget* on) {
    for (const Path& path : paths)
        openFile(resolved(path), on);
}

void DocumentController::openFile(const Path& path, QWidget* on) {
    for (const auto& document : documents_) {
        if (document->source() == path && document->fileURL() == path)
            return raise(*document->window());
    }
    if (!opening_.insert(path).second) return;
    showSlowOpening();
    const auto document = ImageDocument::create(services_, *this);
    auto activity = services_.activities.begin(fmt::format("Opening {}", path.filename().string()));
    postWithAnswer(
        services_.worker,
        [reading = document.get(), path, progress = activity->progress()] {
            return reading->readFromURL(path, *progress);
        },
        services_.main,
        whileAlive([this, document, path, activity, on = QPointer<QWidget>(on)](auto read) mutable {
            opening_.erase(path);
            activity.reset();
            if (!isTerminating_) finishOpening(document, path, on.data(), read);
        }));
}

void DocumentController::finishOpening(const std::shared_ptr<ImageDocument>& document,
                                       const Path& path, QWidget* on,
                                       const std::expected<void, DocumentReadError>& read) {
    if (!read) {
        const auto* error = std::get_if<FileError>(&read.error().reason);
        if (error != nullptr && error->code == ENOENT) recentFiles_.forget(path);
        if (!read.error().isCancelled()) tellNotOpened(on, path, read.error().text());
        return showStartWindowIfEmpty();
    }
    if (!document->takeFile(path)) {
        tellNotOpened(on, path, "It is open in another Ombrel. Close it there first.");
        return showStartWindowIfEmpty();
    }
    add(document);
    noteFile(*document);
}

// A file that is soon there needs no window before its own.
void DocumentController::showSlowOpening() {
    if (!documents_.empty() || startWindow_ != nullptr || slowOpening_.isActive()) return;
    slowOpening_.startOnce(unseenOpening, services_.main, [this] {
        if (documents_.empty() && !opening_.empty() && !isTerminating_) showStartWindow();
    });
}

// Where the window that asked has gone, or there never was one, the start window tells it.
void DocumentController::tellNotOpened(QWidget* on, const Path& path, const std::string& text) {
    if (on == nullptr && documents_.empty()) showStartWindow();
    QWidget* const where = on != nullptr ? on : startWindow_;
    services_.dialogs.tellFailure(
        where, fmt::format("“{}” could not be opened.", path.filename().string()), text);
}

void DocumentController::noteFile(const ImageDocument& document) {
    recentFiles_.note(*document.source());
    thumbnails_->make(*document.source(), document.board().activeNode().state);
}

DocumentController::Path DocumentController::lastFolder() const {
    const std::vector<Path> recent = recentFiles_.paths();
    std::error_code error;
    if (!recent.empty() && std::filesystem::is_directory(recent.front().parent_path(), error))
        return recent.front().parent_path();
    const char* home = std::getenv("HOME");
    return home != nullptr ? home : "/";
}

bool DocumentController::isOpenElsewhere(const Path& path, const ImageDocument& asking) const {
    return std::ranges::any_of(documents_, [&](const auto& document) {
        return document.get() != &asking && document->fileURL() == resolved(path);
    });
}

void DocumentController::removeDocument(ImageDocument& document) {
    if (const DocumentWindow* window = document.window()) {
        wasLastDocumentMaximized_ = window->isMaximized();
        const bool isUsual = !window->isMaximized() && !window->isFullScreen();
        lastDocumentFrame_ = isUsual ? window->geometry() : window->normalGeometry();
    }
    // The caller may be the document itself: it ends when all this has returned.
    const auto found =
        std::ranges::find(documents_, &document, &std::shared_ptr<ImageDocument>::get);
    if (found == documents_.end()) return;
    services_.main.post([kept = std::move(*found)] {});
    documents_.erase(found);
    showStartWindowIfEmpty();
}

void DocumentController::showStartWindowIfEmpty() {
    if (isTerminating_ || !documents_.empty()) return;
    // While files are on their way the start window would come only to go again.
    if (!opening_.empty() || isRecovering_) return;
    showStartWindow();
}

void DocumentController::showStartWindow() {
    if (startWindow_ == nullptr) {
        startWindow_ = new StartWindow(*this);
        if (lastDocumentFrame_) startWindow_->setGeometry(*lastDocumentFrame_);
        // In a turn of its own: together with making it this takes more than a frame.
        QTimer::singleShot(0, startWindow_, [window = startWindow_] { raise(*window); });
        return;
    }
    raise(*startWindow_);
}

void DocumentController::startWindowClosed() {
    startWindow_ = nullptr;
    if (documents_.empty() && opening_.empty()) finish();
}

void DocumentController::quit() {
    if (isAskingToQuit_ || isTerminating_) return;
    isAskingToQuit_ = true;
    const auto ask = [this](bool mayGoOn) {
        isAskingToQuit_ = mayGoOn;
        Documents asked = documents_;
        std::ranges::reverse(asked);
        if (mayGoOn) askNext(std::move(asked));
    };
    const std::optional<Activities::Activity> work = unfinishedExport();
    if (!work) return ask(true);
    services_.dialogs.confirm(
        nullptr,
        {.title = "Quit before the work has ended?",
         .text = fmt::format("“{}” has not ended; nothing of it will be left.", work->text),
         .accept = "Quit"},
        ask);
}

// Saving is waited for before a document closes; reading leaves nothing behind.
std::optional<Activities::Activity> DocumentController::unfinishedExport() const {
    for (const Activities::Activity& activity : services_.activities.all()) {
        if (activity.document != nullptr && !activity.document->isSaving()) return activity;
    }
    return std::nullopt;
}

void DocumentController::askNext(Documents left) {
    while (!left.empty() && left.back()->window() == nullptr)
        left.pop_back();
    if (left.empty()) return finish();
    const auto document = left.back();
    left.pop_back();
    if (document->isEdited()) raise(*document->window());
    document->shouldClose([this, left = std::move(left)](bool mayClose) mutable {
        if (!mayClose) {
            isAskingToQuit_ = false;
            return;
        }
        askNext(std::move(left));
    });
}

void DocumentController::finish() {
    if (std::exchange(isTerminating_, true)) return;
    for (const auto& activity : services_.activities.all())
        activity.progress->cancel();
    for (const auto& document : Documents(documents_))
        document->close();
    if (startWindow_ != nullptr) startWindow_->closeForDocument();
    startWindow_ = nullptr;
    ended_();
}

void DocumentController::endAtOnce() {
    if (isTerminating_) return;
    services_.recoveryWriter.drain();
    for (const auto& document : documents_)
        document->writeRecoveryNow();
    for (const auto& document : documents_)
        document->leaveRecovery();
    finish();
}

} // namespace ombrel
