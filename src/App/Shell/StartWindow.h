// What stands on the screen while no document is open: files that were used last, the form for a
// new document, and a place to drop files. Goes when a document comes. Main thread.
#pragma once

#include "App/Shell/DocumentController.h"

#include <QWidget>

#include <memory>

class QLayout;
class QListWidget;
class QStackedWidget;

namespace ombrel {

class NewDocumentForm;

class StartWindow final : public QWidget {
public:
    explicit StartWindow(DocumentController& controller);

    /// Without ending the process.
    void closeForDocument();
    NewDocumentForm* form() const { return form_; }
    QListWidget* recentList() const { return recent_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    QWidget* makeRecentPart();
    QLayout* makeLinks();
    QWidget* makeNewPart();
    void addShortcuts();
    void fillRecent();

    DocumentController& controller_;
    QStackedWidget* recentPart_ = nullptr;
    QListWidget* recent_ = nullptr;
    NewDocumentForm* form_ = nullptr;
    bool isForDocument_ = false;
    Connection recentChanged_;
    std::shared_ptr<int> filling_; ///< thumbnails that come for a list that was replaced are late
};

} // namespace ombrel
