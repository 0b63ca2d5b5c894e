// The window of one document: the canvas in the middle, panels in docks around it, menus made from
// the table of actions, and a status bar with messages and the progress of long work. It belongs to
// its document and goes with it. Main thread.
#pragma once

#include "App/Shell/AppServices.h"
#include "App/Shell/PanelLayout.h"
#include "App/Shell/WindowAction.h"
#include "Base/Signal.h"

#include <QMainWindow>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

class QDockWidget;
class QMenu;

namespace ombrel {

class CanvasView;
class DocumentController;
class ImageDocument;
class ProgressStrip;
struct PanelContext;
struct PasteTarget;
struct PanelDescription;

class DocumentWindow final : public QMainWindow {
public:
    DocumentWindow(ImageDocument& document, DocumentController& controller, AppServices& services);
    ~DocumentWindow() override;

    /// Shows the window once all that stands around the canvas is built, a piece a turn of the
    /// event loop: together they would hold up other windows for several frames.
    void present(std::vector<std::string> report);
    /// Hides the window and lets go of the document; the window is deleted a little later.
    void release();
    void updateTitle();
    /// What may be done now, in menus and shortcuts; soon, and once for many changes.
    void updateActions();
    void showMessage(const std::string& text);
    /// What an importer could not keep, on a card over the canvas.
    void showReport(const std::vector<std::string>& report);

    CanvasView& canvas() const { return *canvas_; }
    PanelLayout& layout() { return layout_; }
    DocumentSession* session() const;                   ///< null once released
    QAction* action(std::string_view identifier) const; ///< null where there is none

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void changeEvent(QEvent* event) override;
    QMenu* createPopupMenu() override; ///< of docks and bars

private:
    void makeCanvas();
    void makeMenus();
    void makeStatusBar();
    PanelContext panelContext();
    PasteTarget pasteTarget(QPoint onCanvas) const; ///< in the middle of the view if beside it
    std::vector<std::function<void()>> pieces();
    void takePlace();
    DocumentWindow* otherWindow() const;
    void takePanels();
    void takeKeys();
    void takeHistoryStates();
    void showCanvasMenu(QPoint place);
    void connectSession();
    void connectSettings();
    void updateActionsNow();
    ActionContext context();

    ImageDocument* document_; ///< null once released
    DocumentController& controller_;
    AppServices& services_;
    CanvasView* canvas_ = nullptr;
    ProgressStrip* progress_ = nullptr;
    PanelLayout layout_;
    std::vector<QAction*> actions_;      ///< as in the table
    std::vector<QAction*> panelActions_; ///< show and hide panels and bars
    bool isUpdateWaiting_ = false;
    std::vector<Connection> connections_;
};

} // namespace ombrel
