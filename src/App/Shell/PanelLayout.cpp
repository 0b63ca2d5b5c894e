#include "App/Shell/PanelLayout.h"

#include "App/Look/QtText.h"
#include "App/Panels/PanelCatalog.h"

#include <QDockWidget>
#include <QLayout>
#include <QMainWindow>
#include <QScreen>
#include <QStatusBar>
#include <QStyle>
#include <QTimer>
#include <QToolBar>

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <string_view>

namespace ombrel {

namespace {

constexpr int layoutVersion = 3;
constexpr QSize usualSize(1280, 820);
constexpr int usualWidth = 264;     ///< of a column of panels
constexpr int leastRest = 250;      ///< the height that is left for those without one of their own
constexpr double lowestShare = 0.6; ///< of its height that a panel is given on a low window
constexpr std::chrono::milliseconds stateSettles{250};
constexpr const char* layoutsKey = "windowLayouts";
constexpr const char* workspacesKey = "workspaces";

Json encoded(const QByteArray& bytes) {
    return bytes.toBase64().toStdString();
}

QByteArray decoded(const Json& json, const char* key) {
    if (!json.is_object() || !json.contains(key) || !json[key].is_string()) return {};
    return QByteArray::fromBase64(QByteArray::fromStdString(json[key].get<std::string>()));
}

Json objectOf(const Settings& settings, const char* key) {
    Json stored = settings.json(key);
    return stored.is_object() ? stored : Json::object();
}

} // namespace

// A screen of another size has a layout of its own.
std::string PanelLayout::screenKey() const {
    const QSize size = window_.screen()->size();
    return fmt::format("{}x{}", size.width(), size.height());
}

void PanelLayout::restore(const std::optional<QRect>& frame) {
    const Json layouts = objectOf(settings_, layoutsKey);
    const auto found = layouts.find(screenKey());
    const Json last = found != layouts.end() ? *found : Json();
    window_.resize(usualSize);
    if (frame) {
        window_.setGeometry(*frame);
    } else if (!window_.restoreGeometry(decoded(last, "geometry"))) {
        window_.resize(usualSize.boundedTo(window_.screen()->availableGeometry().size() * 0.92));
    }
    if (!restorePanels(decoded(last, "panels"))) arrange();
}

// The toolkit leaves a dock that a state does not know where it happened to be, between others. So
// all are taken out first: what is in no area afterwards was not known.
bool PanelLayout::restorePanels(const QByteArray& state) {
    const QByteArray before = window_.saveState(layoutVersion);
    for (QDockWidget* dock : window_.findChildren<QDockWidget*>())
        window_.removeDockWidget(dock);
    if (!window_.restoreState(state, layoutVersion)) {
        window_.restoreState(before, layoutVersion);
        return false;
    }
    for (const PanelDescription& panel : panelCatalog()) {
        auto* dock = window_.findChild<QDockWidget*>(panel.identifier);
        if (window_.dockWidgetArea(dock) == Qt::NoDockWidgetArea) join(panel, *dock);
    }
    return true;
}

/// Behind the tabs of its group, wherever they are by now.
void PanelLayout::join(const PanelDescription& panel, QDockWidget& dock) {
    const std::string_view group = panel.group;
    QDockWidget* mate = nullptr;
    for (const PanelDescription& other : panelCatalog()) {
        auto* there = window_.findChild<QDockWidget*>(other.identifier);
        const bool isDocked =
            window_.dockWidgetArea(there) != Qt::NoDockWidgetArea && !there->isFloating();
        if (!group.empty() && other.group == group && isDocked) mate = there;
    }
    window_.addDockWidget(panel.area, &dock);
    if (mate != nullptr) window_.tabifyDockWidget(mate, &dock);
    dock.setFloating(false);
    dock.show();
}

void PanelLayout::save() {
    Json layouts = objectOf(settings_, layoutsKey);
    Json& last = layouts[screenKey()];
    if (!last.is_object()) last = Json::object();
    // Of a window that fills the screen the toolkit keeps the usual place as well.
    last["geometry"] = encoded(window_.saveGeometry());
    last["panels"] = encoded(state());
    settings_.setJson(layoutsKey, layouts);
}

QByteArray PanelLayout::state() const {
    return hiding_ == Hiding::nothing ? window_.saveState(layoutVersion) : shown_;
}

void PanelLayout::toggle(Hiding hiding) {
    hidesForFullScreen_ = false;
    if (hiding_ == hiding) return show();
    show();
    hide(hiding);
}

void PanelLayout::hide(Hiding hiding) {
    shown_ = window_.saveState(layoutVersion);
    hiding_ = hiding;
    for (QDockWidget* dock : window_.findChildren<QDockWidget*>())
        dock->hide();
    if (hiding != Hiding::everything) return;
    for (QToolBar* bar : window_.findChildren<QToolBar*>())
        bar->hide();
    window_.statusBar()->hide();
}

void PanelLayout::show() {
    if (hiding_ == Hiding::nothing) return;
    hiding_ = Hiding::nothing;
    window_.statusBar()->show();
    window_.restoreState(shown_, layoutVersion);
}

void PanelLayout::toggleFullScreen() {
    if (window_.isFullScreen()) {
        window_.setWindowState(window_.windowState() & ~Qt::WindowFullScreen);
        return;
    }
    if (hiding_ == Hiding::nothing) {
        hide(Hiding::everything);
        hidesForFullScreen_ = true;
    }
    window_.setWindowState(window_.windowState() | Qt::WindowFullScreen);
}

// The window manager may end it too. On its way from a maximized window to the full screen it
// passes a usual state, which is not meant.
void PanelLayout::windowStateChanged() {
    if (window_.isFullScreen() || !hidesForFullScreen_) return;
    QTimer::singleShot(stateSettles, &window_, [this] {
        if (window_.isFullScreen() || !hidesForFullScreen_) return;
        hidesForFullScreen_ = false;
        show();
    });
}

void PanelLayout::reset() {
    hiding_ = Hiding::nothing;
    window_.statusBar()->show();
    for (QToolBar* bar : window_.findChildren<QToolBar*>())
        bar->show();
    arrange();
}

void PanelLayout::place(const PanelDescription& panel, QDockWidget& dock) {
    window_.addDockWidget(panel.area, &dock);
    QDockWidget* front = frontOf(panel);
    if (front != nullptr && front != &dock) window_.tabifyDockWidget(front, &dock);
}

void PanelLayout::arrange() {
    for (const PanelDescription& panel : panelCatalog()) {
        auto* dock = window_.findChild<QDockWidget*>(panel.identifier);
        dock->setFloating(false); // which only one that has its place can do
        window_.removeDockWidget(dock);
    }
    for (const PanelDescription& panel : panelCatalog()) {
        auto* dock = window_.findChild<QDockWidget*>(panel.identifier);
        place(panel, *dock);
        dock->setFloating(false);
        dock->show();
    }
    QList<QDockWidget*> fronts;
    QList<int> heights;
    for (const PanelDescription& panel : panelCatalog()) {
        QDockWidget* front = frontOf(panel);
        if (front->objectName() != panel.identifier) continue;
        front->raise();
        fronts += front;
        heights += panel.height;
    }
    shareHeight(heights);
    window_.resizeDocks(fronts, heights, Qt::Vertical);
    window_.resizeDocks(fronts, QList<int>(fronts.size(), usualWidth), Qt::Horizontal);
}

// The toolkit takes what is too much from all alike, down to nothing: so the sum must be right.
void PanelLayout::shareHeight(QList<int>& heights) const {
    window_.layout()->activate();
    const int separators =
        window_.style()->pixelMetric(QStyle::PM_DockWidgetSeparatorExtent, nullptr, &window_);
    int rest =
        window_.centralWidget()->height() - separators * static_cast<int>(heights.size() - 1);
    for (const int height : heights)
        rest -= height;
    for (int& height : heights) {
        const int given = std::clamp(leastRest - rest, 0, height - qRound(lowestShare * height));
        height -= given;
        rest += given;
    }
    std::ranges::replace(heights, 0, std::max(rest, 1));
}

QDockWidget* PanelLayout::frontOf(const PanelDescription& panel) const {
    const auto first = std::ranges::find_if(panelCatalog(), [&](const PanelDescription& other) {
        return *panel.group != '\0' ? std::string_view(other.group) == panel.group
                                    : &other == &panel;
    });
    return window_.findChild<QDockWidget*>(first->identifier);
}

std::vector<std::string> PanelLayout::workspaces() const {
    const Json stored = objectOf(settings_, workspacesKey);
    std::vector<std::string> names;
    for (const auto& [name, state] : stored.items())
        names.push_back(name);
    return names;
}

void PanelLayout::saveWorkspace(const std::string& name) {
    Json stored = objectOf(settings_, workspacesKey);
    stored[name] = encoded(state());
    settings_.setJson(workspacesKey, stored);
}

bool PanelLayout::applyWorkspace(const std::string& name) {
    show();
    return restorePanels(decoded(objectOf(settings_, workspacesKey), name.c_str()));
}

void PanelLayout::removeWorkspace(const std::string& name) {
    Json stored = objectOf(settings_, workspacesKey);
    stored.erase(name);
    settings_.setJson(workspacesKey, stored.empty() ? Json() : stored);
}

} // namespace ombrel
