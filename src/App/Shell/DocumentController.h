// All open documents of the process, the start window, and how the process ends. Main thread.
#pragma once

#include "App/Shell/Activities.h"
#include "App/Shell/AppServices.h"
#include "App/Shell/ImageDocument.h"
#include "Editor/RecentFiles.h"

#include <QRect>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <vector>

class QWidget;

namespace ombrel {

class StartWindow;
class Thumbnails;

class DocumentController {
public:
    using Path = std::filesystem::path;

    /// `ended` is called once, when the process may end.
    DocumentController(AppServices& services, std::function<void()> ended);
    ~DocumentController();
    DocumentController(const DocumentController&) = delete;
    DocumentController& operator=(const DocumentController&) = delete;

    /// Offers recovery copies, opens the files, and shows the start window where there are none.
    void start(const std::vector<Path>& files);
    /// Files from another process: opens them, or brings a window to the front.
    void activate(const std::vector<Path>& files);
    void showStartWindow();

    /// The form on a document's window, or the start window, which has the same form.
    void newDocument(QWidget* on = nullptr);
    void makeDocument(const Canvas& canvas, const DocumentState::Background& background);
    void chooseAndOpen(QWidget* on);
    void openFiles(const std::vector<Path>& paths, QWidget* on = nullptr);
    /// The same picture in a document of its own, without a file.
    void duplicate(const ImageDocument& document);
    void raiseDocument(ImageDocument& document);
    /// The window of the document so many places further, round and round.
    void raiseNextTo(const ImageDocument& document, std::ptrdiff_t steps);
    /// Asks for every unsaved document; those before a cancelled question are closed.
    void closeAll();
    /// After a document went. The start window comes when it was the last.
    void removeDocument(ImageDocument& document);

    /// Asks for every unsaved document, then ends the process.
    void quit();
    /// Without questions: unsaved documents are kept as recovery copies.
    void endAtOnce();

    std::span<const std::shared_ptr<ImageDocument>> documents() const { return documents_; }
    StartWindow* startWindow() const { return startWindow_; }
    /// Of one that filled the screen, the frame it would have had else.
    const std::optional<QRect>& lastDocumentFrame() const { return lastDocumentFrame_; }
    bool wasLastDocumentMaximized() const { return wasLastDocumentMaximized_; }
    bool isTerminating() const { return isTerminating_; }
    bool isOpenElsewhere(const Path& path, const ImageDocument& asking) const;
    RecentFiles& recentFiles() { return recentFiles_; }
    Thumbnails& thumbnails() { return *thumbnails_; }
    AppServices& services() { return services_; }
    /// After a document was opened from a file or saved to one.
    void noteFile(const ImageDocument& document);
    /// Where file dialogs begin.
    Path lastFolder() const;
    /// Of a start window that the user closes: without documents the process ends.
    void startWindowClosed();

private:
    using Documents = std::vector<std::shared_ptr<ImageDocument>>;

    void offerRecovery();
    void offerNext(std::shared_ptr<std::vector<RecoveryStore::Entry>> entries);
    void openFile(const Path& path, QWidget* on);
    void finishOpening(const std::shared_ptr<ImageDocument>& document, const Path& path,
                       QWidget* on, const std::expected<void, DocumentReadError>& read);
    void showSlowOpening();
    std::optional<Activities::Activity> unfinishedExport() const;
    void tellNotOpened(QWidget* on, const Path& path, const std::string& text);
    void showStartWindowIfEmpty();
    void add(const std::shared_ptr<ImageDocument>& document);
    /// An answer that comes too late is dropped.
    template <typename Answer>
    auto whileAlive(Answer answer) const {
        return [alive = std::weak_ptr<int>(alive_),
                answer = std::move(answer)](auto&& result) mutable {
            if (!alive.expired()) answer(std::forward<decltype(result)>(result));
        };
    }
    void closeNext(Documents left);
    void askNext(Documents left);
    void finish();

    AppServices& services_;
    std::function<void()> ended_;
    RecentFiles recentFiles_;
    std::unique_ptr<Thumbnails> thumbnails_;
    Documents documents_;
    std::set<Path> opening_;
    Timer slowOpening_;
    StartWindow* startWindow_ = nullptr; ///< deletes itself
    std::optional<QRect> lastDocumentFrame_;
    bool wasLastDocumentMaximized_ = false;
    int untitledCount_ = 0;
    bool isRecovering_ = false;
    bool isAskingToQuit_ = false;
    bool isTerminating_ = false;
    std::shared_ptr<int> alive_ = std::make_shared<int>();
};

} // namespace ombrel
