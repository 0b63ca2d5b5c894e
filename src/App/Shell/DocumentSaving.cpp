// Saving, exporting, reverting and the question before a document is closed.
#include "App/Look/QtText.h"
#include "App/Shell/Activities.h"
#include "App/Shell/Dialogs.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/FileKinds.h"
#include "App/Shell/ImageDocument.h"
#include "Engine/StateBands.h"
#include "IO/Native/NativeFile.h"

#include <fmt/format.h>

namespace ombrel {

void ImageDocument::save(SaveCompletion completion) {
    if (fileURL_) return saveToURL(*fileURL_, std::move(completion));
    saveAs(std::move(completion));
}

namespace {

Dialogs::SavePlace nativePlace(const char* title, std::filesystem::path proposed) {
    return {.title = title,
            .proposed = std::move(proposed),
            .filter = fromQt(nativeFilter()),
            .suffix = std::string(NativeFormat::fileExtension)};
}

} // namespace

void ImageDocument::saveCopy() {
    Path proposed = proposedPath(NativeFormat::fileExtension);
    proposed.replace_filename(
        fmt::format("{} copy.{}", proposed.stem().string(), NativeFormat::fileExtension));
    services_.dialogs.choosePlace(window_, nativePlace("Save a Copy", proposed),
                                  [weak = weak_from_this()](const std::optional<Path>& path) {
                                      const auto self = weak.lock();
                                      if (self && !self->isClosed_ && path) self->writeCopy(*path);
                                  });
}

void ImageDocument::writeCopy(const Path& path) {
    const std::string name = path.filename().string();
    if (path == fileURL_ || controller_.isOpenElsewhere(path, *this)) {
        services_.dialogs.tellFailure(window_, fmt::format("“{}” could not be saved.", name),
                                      "A document with this name is open.");
        return;
    }
    auto activity = services_.activities.begin(fmt::format("Saving {}", name), this);
    const auto work = [board = board(), path, progress = activity->progress()] {
        return saveNative(board, path, progress.get());
    };
    postWithAnswer(services_.worker, work, services_.main,
                   [weak = weak_from_this(), activity, name](auto written) mutable {
                       activity.reset();
                       const auto self = weak.lock();
                       if (!self || self->isClosed_) return;
                       if (written) return self->window_->showMessage("Saved a copy as " + name);
                       if (written.error().isCancelled()) return;
                       self->services_.dialogs.tellFailure(
                           self->window_, fmt::format("“{}” could not be saved.", name),
                           written.error().text());
                   });
}

void ImageDocument::saveAs(SaveCompletion completion) {
    services_.dialogs.choosePlace(
        window_, nativePlace("Save As", proposedPath(NativeFormat::fileExtension)),
        [weak = weak_from_this(), completion = std::move(completion)](std::optional<Path> path) {
            const auto self = weak.lock();
            if (!self || self->isClosed_) return;
            if (path) return self->saveToURL(*path, completion);
            if (completion) completion(SaveResult::cancelled);
        });
}

void ImageDocument::saveToURL(const Path& path, SaveCompletion completion) {
    if (isSaving_) { // one after the other: this one has newer contents
        whenSaved_.emplace_back([weak = weak_from_this(), path, completion](SaveResult) {
            if (const auto self = weak.lock()) self->saveToURL(path, completion);
        });
        return;
    }
    if (controller_.isOpenElsewhere(path, *this)) {
        services_.dialogs.tellFailure(
            window_, fmt::format("“{}” could not be saved.", path.filename().string()),
            "A document with this name is open in another window.");
        if (completion) completion(SaveResult::failed);
        return;
    }
    if (completion) whenSaved_.push_back(std::move(completion));
    isSaving_ = true;
    mark_->beginSaving();
    savingState_.put(board());
    auto activity =
        services_.activities.begin(fmt::format("Saving {}", path.filename().string()), this);
    window_->updateActions();
    postWithAnswer(
        services_.worker,
        [this, path, progress = activity->progress()] { return writeToURL(path, *progress); },
        services_.main,
        [self = shared_from_this(), activity, path](auto written) mutable {
            activity.reset();
            self->finishSave(path, written);
        });
}

std::expected<std::uint64_t, NativeSaveError> ImageDocument::writeToURL(const Path& path,
                                                                        Progress& progress) {
    const std::optional<Board> board = savingState_.take();
    return saveNative(*board, path, &progress);
}

void ImageDocument::finishSave(const Path& path,
                               const std::expected<std::uint64_t, NativeSaveError>& written) {
    mark_->endSaving(written.has_value());
    if (!written) {
        if (!written.error().isCancelled() && window_ != nullptr) {
            services_.dialogs.tellFailure(
                window_, fmt::format("“{}” could not be saved.", path.filename().string()),
                written.error().text());
        }
        return endSaving(written.error().isCancelled() ? SaveResult::cancelled
                                                       : SaveResult::failed);
    }
    if (fileURL_ != path) {
        fileLock_.reset();
        if (auto lock = lockOf(path)) fileLock_.emplace(std::move(*lock));
    }
    fileURL_ = path;
    source_ = path;
    recoveredName_.reset();
    if (!isClosed_) {
        controller_.noteFile(*this);
        editedStateChanged();
    }
    endSaving(SaveResult::saved);
}

void ImageDocument::endSaving(SaveResult result) {
    isSaving_ = false;
    if (window_ != nullptr) window_->updateActions();
    for (const SaveCompletion& completion : std::exchange(whenSaved_, {}))
        completion(result);
}

void ImageDocument::exportToURL(const Path& path, ImageFormat format,
                                const ExportOptions& options) {
    auto activity =
        services_.activities.begin(fmt::format("Exporting {}", path.filename().string()), this);
    const auto work = [&device = services_.device, &store = services_.store,
                       state = board().activeNode().state, path, format, options,
                       progress = activity->progress()] {
        StateBands bands(state, device, store, nullptr, progress.get());
        return ImageExporter::write(bands, format, options, state.canvas, path, progress.get());
    };
    postWithAnswer(services_.worker, work, services_.main,
                   [weak = weak_from_this(), activity, path](auto written) mutable {
                       activity.reset();
                       const auto self = weak.lock();
                       if (!self || self->isClosed_) return;
                       const std::string name = path.filename().string();
                       if (written) return self->window_->showMessage("Exported " + name);
                       if (written.error().kind == ImageIOError::Kind::cancelled) return;
                       self->services_.dialogs.tellFailure(
                           self->window_, fmt::format("“{}” could not be exported.", name),
                           written.error().text());
                   });
}

void ImageDocument::revert() {
    if (!source_ || isReverting_ || isSaving_) return;
    const Dialogs::Confirmation question{
        .title = fmt::format("Revert to what “{}” holds?", source_->filename().string()),
        .text = "What was changed since is lost, and cannot be undone.",
        .accept = "Revert"};
    services_.dialogs.confirm(window_, question, [weak = weak_from_this()](bool isWanted) {
        const auto self = weak.lock();
        if (isWanted && self && !self->isClosed_) self->revertToContentsOfURL(*self->source_);
    });
}

void ImageDocument::revertToContentsOfURL(const Path& path) {
    isReverting_ = true;
    auto activity =
        services_.activities.begin(fmt::format("Reverting {}", path.filename().string()), this);
    window_->updateActions();
    postWithAnswer(
        services_.worker,
        [this, path, progress = activity->progress()] { return readFromURL(path, *progress); },
        services_.main,
        [self = shared_from_this(), activity, path](auto read) mutable {
            activity.reset();
            self->isReverting_ = false;
            if (self->isClosed_) return;
            self->finishRevert(path, read);
            self->window_->updateActions();
        });
}

void ImageDocument::finishRevert(const Path& path,
                                 const std::expected<void, DocumentReadError>& read) {
    const std::string title = fmt::format("“{}” could not be read.", path.filename().string());
    if (!read) {
        if (!read.error().isCancelled())
            services_.dialogs.tellFailure(window_, title, read.error().text());
        return;
    }
    std::optional<Board> board = loadedState_.take();
    session_->cancelLive();
    if (!session_->replaceDocument(board->activeNode().state, "Revert")) {
        services_.worker.post([board = std::move(board)] {});
        return window_->showMessage("Still busy: try again when the work has ended.");
    }
    services_.worker.post([before = std::exchange(board_, std::move(board))] {});
    mark_.emplace(session_->currentEntryID());
    editedStateChanged();
}

// Work that is queued changes the document: it ends, or is cancelled, before anything is decided.
void ImageDocument::askToWait(std::function<void(bool)> answer) {
    const auto& running = *session_->_runningCommand;
    const std::string name = running ? running->name : "The work on the document";
    const Dialogs::Confirmation question{
        .title = fmt::format("Wait for “{}” and close then?", name),
        .text = "It has not ended. To close without it, cancel it below the canvas first.",
        .accept = "Wait and Close"};
    services_.dialogs.confirm(
        window_, question,
        [weak = weak_from_this(), answer = std::move(answer)](bool isWanted) mutable {
            const auto self = weak.lock();
            if (!self || self->isClosed_) return;
            if (!isWanted) return answer(false);
            self->whenQuiet([weak, answer = std::move(answer)] {
                const auto waiting = weak.lock();
                if (!waiting || waiting->isClosed_) return answer(true); // another was first
                waiting->shouldClose(answer);
            });
        });
}

void ImageDocument::whenQuiet(std::function<void()> then) {
    if (!*session_->_isBusy) return then();
    whenQuiet_.push_back(std::move(then));
    quiet_ = session_->_isBusy.onChange([this](bool isBusy) {
        if (isBusy) return;
        // In a turn of its own: the last operation is still being ended.
        for (auto& waiting : std::exchange(whenQuiet_, {}))
            services_.main.post(std::move(waiting));
        quiet_.disconnect();
    });
}

void ImageDocument::shouldClose(std::function<void(bool)> answer) {
    if (isSaving_) {
        whenSaved_.emplace_back([weak = weak_from_this(), answer](SaveResult) {
            if (const auto self = weak.lock()) self->shouldClose(answer);
        });
        return;
    }
    if (*session_->_isBusy && !session_->isLiveInTurn()) return askToWait(std::move(answer));
    // A stroke that is still being rendered is an edit as soon as it ends.
    if (!isEdited() && !session_->isLiveInTurn()) return answer(true);
    services_.dialogs.askToSave(
        window_, displayName(),
        [weak = weak_from_this(), answer = std::move(answer)](Dialogs::SaveAnswer said) {
            const auto self = weak.lock();
            if (!self || self->isClosed_) return;
            if (said != Dialogs::SaveAnswer::save)
                return answer(said == Dialogs::SaveAnswer::discard);
            self->save([answer](SaveResult result) { answer(result == SaveResult::saved); });
        });
}

} // namespace ombrel
