#include "App/Shell/DocumentWindow.h"

#include "App/Brushes/BrushList.h"
#include "App/Canvas/CanvasView.h"
#include "App/Clipboard/Pasting.h"
#include "App/Look/QtText.h"
#include "App/Panels/DockedPanel.h"
#include "App/Panels/DraggedLayers.h"
#include "App/Panels/OptionsBar.h"
#include "App/Panels/PanelCatalog.h"
#include "App/Panels/StatusFields.h"
#include "App/Panels/ToolBar.h"
#include "App/Shell/Dialogs.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/FileKinds.h"
#include "App/Shell/ImageDocument.h"
#include "App/Shell/PlainKeys.h"
#include "App/Shell/ProgressStrip.h"
#include "App/Shell/ReportCard.h"
#include "App/Shell/WindowListMenus.h"
#include "App/Shell/WindowMenus.h"
#include "Base/ThreadPool.h"
#include "Core/ViewMapping.h"
#include "Editor/DocumentSession.h"
#include "Tools/BrushTool.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPointer>
#include <QStatusBar>
#include <QTimer>
#include <QToolBar>

namespace ombrel {

namespace {

constexpr int messageMilliseconds = 8000;
constexpr QPoint asideOfOther(24, 24);
/// What the canvas offers where the tool has no menu of its own; null: a line.
constexpr const char* canvasMenu[] = {
    "undo",        "redo",    nullptr, "newLayer", "duplicateLayers", "deleteLayers", nullptr,
    "mergeLayers", "flatten", nullptr, "zoomFit",  "zoom100",         "resetRotation"};

/// Null for what comes from this window itself, or is no layers.
const DraggedLayers* layersOfAnother(const DocumentWindow& window, const QDropEvent& event) {
    const auto* layers = dynamic_cast<const DraggedLayers*>(event.mimeData());
    const QObject* source = event.source();
    while (source != nullptr && source != &window)
        source = source->parent();
    return source == nullptr ? layers : nullptr;
}

} // namespace

DocumentWindow::DocumentWindow(ImageDocument& document, DocumentController& controller,
                               AppServices& services)
    : document_(&document), controller_(controller), services_(services),
      layout_(*this, services.settings) {
    setAcceptDrops(true);
    setDockOptions(AnimatedDocks | AllowTabbedDocks | AllowNestedDocks);
    makeCanvas();
    makeMenus();
    makeStatusBar();
    connectSession();
    connectSettings();
    updateTitle();
    updateActionsNow();
}

DocumentWindow::~DocumentWindow() = default;

void DocumentWindow::makeCanvas() {
    const CanvasView::Services services{services_.main, services_.store, services_.device,
                                        services_.settings};
    canvas_ = new CanvasView(document_->session(), services, this);
    setCentralWidget(canvas_);
    canvas_->setFocus();
    connections_.push_back(
        canvas_->statusMessage.connect([this](const std::string& text) { showMessage(text); }));
    connections_.push_back(
        canvas_->menuRequested.connect([this](QPoint place) { showCanvasMenu(place); }));
}

PanelContext DocumentWindow::panelContext() {
    // Panels' own work stands back behind the canvas.
    return {document_->session(), services_.main,   ThreadPool::shared(TaskPriority::utility),
            services_.store,      services_.device, services_.settings,
            services_.brushes,    services_.dialogs};
}

std::vector<std::function<void()>> DocumentWindow::pieces() {
    const PanelContext context = panelContext();
    std::vector<std::function<void()>> pieces;
    for (const PanelDescription& panel : panelCatalog()) {
        pieces.emplace_back([this, context, &panel] {
            auto* dock = new QDockWidget(panel.title, this);
            dock->setObjectName(panel.identifier);
            dock->setWidget(new DockedPanel(panel, context, *dock));
            layout_.place(panel, *dock);
        });
    }
    pieces.emplace_back(
        [this, context] { addToolBar(Qt::TopToolBarArea, new OptionsBar(context, this)); });
    pieces.emplace_back(
        [this, context] { addToolBar(Qt::LeftToolBarArea, new ToolBar(context, this)); });
    pieces.emplace_back(
        [this, context] { statusBar()->addPermanentWidget(new StatusFields(context, this)); });
    pieces.emplace_back([this] {
        takePanels();
        takePlace();
    });
    return pieces;
}

// As the window beside it is at the moment, a little aside; else as the last one was.
void DocumentWindow::takePlace() {
    DocumentWindow* const other = otherWindow();
    if (other == nullptr) {
        layout_.restore(controller_.lastDocumentFrame());
        if (controller_.wasLastDocumentMaximized())
            setWindowState(windowState() | Qt::WindowMaximized);
        return;
    }
    other->layout_.save();
    layout_.restore({});
    setWindowState(windowState() & ~Qt::WindowStates(Qt::WindowFullScreen));
    if (!isMaximized()) move(pos() + asideOfOther);
}

/// The one in use, or one of the others that are open; null: there is none.
DocumentWindow* DocumentWindow::otherWindow() const {
    DocumentWindow* found = nullptr;
    for (const auto& document : controller_.documents()) {
        DocumentWindow* window = document->window();
        if (window == nullptr || window == this || !window->isVisible()) continue;
        found = window;
        if (window->isActiveWindow()) break;
    }
    return found;
}

void DocumentWindow::present(std::vector<std::string> report) {
    auto pieces = this->pieces();
    pieces.emplace_back([this, report = std::move(report)] {
        show();
        if (!report.empty()) showReport(report);
    });
    // One after another: each turn begins the next, so that events come between.
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this,
            [this, timer, pieces = std::move(pieces), next = std::size_t{0}]() mutable {
                if (document_ != nullptr && next < pieces.size()) return pieces[next++]();
                timer->deleteLater();
            });
    timer->start(0);
}

void DocumentWindow::makeMenus() {
    actions_ = fillMenuBar(*menuBar(), [this] { return context(); });
    keepListMenus(*menuBar(), [this] { return context(); });
    const auto mayTake = [this] {
        return document_ != nullptr && !*document_->session()->_isEditingType;
    };
    new PlainKeys(*this, *canvas_, [this] { return std::span<QAction* const>(actions_); }, mayTake);
    takeKeys();
}

void DocumentWindow::takePanels() {
    panelActions_ = addPanelActions(*menuBar(), *this);
    takeKeys();
}

void DocumentWindow::takeKeys() {
    if (document_ == nullptr) return;
    const ShortcutTable table(services_.settings);
    for (const auto& actions : {actions_, panelActions_}) {
        for (QAction* action : actions)
            giveKeys(*action, table.keysOf(fromQt(action->objectName())));
    }
}

// Who paints looks for another brush where the canvas has no menu.
void DocumentWindow::showCanvasMenu(QPoint place) {
    if (auto* const tool = dynamic_cast<BrushTool*>(document_->session()->tool()))
        return (new BrushList(panelContext(), *tool, canvas_))->openAt(place);
    updateActionsNow();
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    for (const char* identifier : canvasMenu) {
        if (identifier == nullptr)
            menu->addSeparator();
        else
            menu->addAction(action(identifier));
    }
    menu->popup(place);
}

QMenu* DocumentWindow::createPopupMenu() {
    auto* menu = new QMenu(this); // whoever asked shows and deletes it
    for (QAction* panel : panelActions_)
        menu->addAction(panel);
    menu->addSeparator();
    menu->addAction(action("resetWorkspace"));
    return menu;
}

void DocumentWindow::makeStatusBar() {
    progress_ = new ProgressStrip(services_.activities, document_, this);
    progress_->follow(document_->session());
    statusBar()->insertPermanentWidget(0, progress_);
}

void DocumentWindow::connectSession() {
    DocumentSession& session = *document_->session();
    const auto changed = [this](const auto&) { updateActions(); };
    connections_.push_back(session._state.onChange(changed));
    connections_.push_back(session._history.onChange(changed));
    connections_.push_back(session._isBusy.onChange(changed));
    connections_.push_back(session._isLiveEditing.onChange(changed));
    connections_.push_back(session._selectedLayerIDs.onChange(changed));
    connections_.push_back(session._viewTransform.onChange(changed));
    session.onError = [this](const CommandError& error) {
        QApplication::beep();
        showMessage(error.text());
    };
    session.onMessage = [this](const std::string& text) { showMessage(text); };
    session.confirmRasterize = [this](const std::string& layer) {
        return services_.dialogs.confirmNow(
            this, {.title = "Make “" + layer + "” pixels?",
                   .text = "Its contents can then be painted on, and no longer be edited as what "
                           "they are now.",
                   .accept = "Rasterize"});
    };
    session.confirmApplyTransform = [this] {
        const bool isApplied = services_.dialogs.confirmNow(
            this, {.title = "Apply the transformation?", .text = {}, .accept = "Apply"});
        return isApplied ? DocumentSession::ApplyTransformChoice::apply
                         : DocumentSession::ApplyTransformChoice::cancel;
    };
}

void DocumentWindow::connectSettings() {
    // Callbacks of settings may come in the midst of a change of several keys.
    const auto later = [this](void (DocumentWindow::*change)()) {
        return [this, change](const Json&) {
            QMetaObject::invokeMethod(
                this, [this, change] { (this->*change)(); }, Qt::QueuedConnection);
        };
    };
    Settings& settings = services_.settings;
    connections_.push_back(
        settings.onChange(ShortcutTable::settingsKey, later(&DocumentWindow::takeKeys)));
    connections_.push_back(settings.onChange(SettingKeys::historyStates.name,
                                             later(&DocumentWindow::takeHistoryStates)));
    for (const BoolSetting& key : {SettingKeys::zoomLocked, SettingKeys::rotationLocked})
        connections_.push_back(settings.onChange(key.name, later(&DocumentWindow::updateActions)));
}

void DocumentWindow::takeHistoryStates() {
    if (DocumentSession* edited = session())
        edited->setHistoryStates(services_.settings.get(SettingKeys::historyStates));
}

void DocumentWindow::release() {
    if (isVisible()) layout_.save(); // else it is not complete yet
    connections_.clear();
    DocumentSession& session = *document_->session();
    session.onError = {};
    session.onMessage = {};
    session.confirmRasterize = {};
    session.confirmApplyTransform = {};
    progress_->follow(nullptr);
    document_ = nullptr;
    hide();
    // What shows the document goes at once, and lets go of it.
    delete takeCentralWidget();
    canvas_ = nullptr;
    for (QDockWidget* dock : findChildren<QDockWidget*>())
        delete dock;
    deleteLater();
}

ActionContext DocumentWindow::context() {
    return {*this, *document_, *document_->session(), controller_};
}

void DocumentWindow::updateTitle() {
    if (document_ == nullptr) return;
    setWindowTitle(toQt(document_->displayName()) + "[*] – Ombrel");
    setWindowModified(document_->isEdited());
    setWindowFilePath({});
    updateActions();
}

void DocumentWindow::updateActions() {
    if (std::exchange(isUpdateWaiting_, true)) return;
    QTimer::singleShot(0, this, [this] { updateActionsNow(); });
}

void DocumentWindow::updateActionsNow() {
    isUpdateWaiting_ = false;
    if (document_ != nullptr) refreshActions(actions_, context());
}

DocumentSession* DocumentWindow::session() const {
    return document_ != nullptr ? document_->session().get() : nullptr;
}

QAction* DocumentWindow::action(std::string_view identifier) const {
    const auto found = std::ranges::find_if(
        actions_, [&](const QAction* action) { return action->objectName() == toQt(identifier); });
    return found != actions_.end() ? *found : nullptr;
}

void DocumentWindow::showMessage(const std::string& text) {
    statusBar()->showMessage(toQt(text), messageMilliseconds);
}

void DocumentWindow::showReport(const std::vector<std::string>& report) {
    (new ReportCard(report, canvas_))->show();
}

void DocumentWindow::closeEvent(QCloseEvent* event) {
    if (document_ == nullptr) return event->accept();
    event->ignore();
    // The answer may come from a question: the document and this window may have gone by then.
    document_->shouldClose([window = QPointer<DocumentWindow>(this)](bool mayClose) {
        if (mayClose && window && window->document_ != nullptr) window->document_->close();
    });
}

void DocumentWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (layersOfAnother(*this, *event) != nullptr) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else if (canPaste(*event->mimeData())) {
        event->acceptProposedAction();
    }
}

// Onto the canvas pictures become layers; beside it, or with Control held, files are opened.
void DocumentWindow::dropEvent(QDropEvent* event) {
    if (document_ == nullptr) return;
    const QPoint at = canvas_->mapFrom(this, event->position().toPoint());
    if (const DraggedLayers* layers = layersOfAnother(*this, *event)) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
        const auto clip = LayerClip::ofLayers(layers->document(), layers->ids());
        if (clip) paste(*document_, services_, {{*clip}}, pasteTarget(at));
        return;
    }
    if (!canPaste(*event->mimeData())) return;
    event->acceptProposedAction();
    const auto files = filesOf(*event->mimeData());
    const bool opens =
        !canvas_->rect().contains(at) || (event->modifiers() & Qt::ControlModifier) != 0;
    if (!files.empty() && opens) return controller_.openFiles(files, this);
    paste(*document_, services_, pasteSources(*event->mimeData()), pasteTarget(at));
}

PasteTarget DocumentWindow::pasteTarget(QPoint onCanvas) const {
    PasteTarget target{.canvas = {}, .visible = canvas_->navigation().visibleBounds()};
    if (canvas_->rect().contains(onCanvas)) {
        const QPointF at(onCanvas);
        target.center = documentPoint(*document_->session()->_viewTransform, {at.x(), at.y()});
    }
    return target;
}

void DocumentWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() != QEvent::WindowStateChange) return;
    layout_.windowStateChanged();
    updateActions();
}

} // namespace ombrel
