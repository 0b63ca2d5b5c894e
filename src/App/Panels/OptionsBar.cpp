#include "App/Panels/OptionsBar.h"

#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/ToolOptions.h"
#include "Editor/DocumentSession.h"
#include "Tools/SavedToolSettings.h"
#include "Tools/UnavailableTool.h"

#include <QAction>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <utility>

namespace ombrel {

OptionsBar::OptionsBar(const PanelContext& context, QWidget* parent)
    : QToolBar(QStringLiteral("Options"), parent), context_(context) {
    setObjectName(QStringLiteral("toolOptions"));
    setAccessibleName(QStringLiteral("Options of the tool"));
    setMovable(false);
    auto* body = new QWidget(this);
    icon_ = new QLabel(body);
    name_ = new QLabel(body);
    icon_->setObjectName(QStringLiteral("toolIcon"));
    name_->setObjectName(QStringLiteral("toolName"));
    auto* row = new QHBoxLayout(body);
    row->setContentsMargins(Spacing::normal, 0, Spacing::normal, 0);
    row->setSpacing(Spacing::normal);
    row->addWidget(icon_);
    row->addWidget(name_);
    body->setMinimumHeight(Spacing::toolButton);
    addWidget(body);
    toolChanges_ = context_.session->_activeTool.observe([this](ToolKind kind) { showTool(kind); });
}

OptionsBar::~OptionsBar() = default;

// A widget of the old row may be what led here, so the row goes a little later.
void OptionsBar::removeOptions() {
    for (QAction* action : std::exchange(optionActions_, {})) {
        removeAction(action);
        action->deleteLater();
    }
    if (options_ != nullptr) options_->deleteLater();
}

void OptionsBar::showTool(ToolKind kind) {
    showIcon(kind);
    name_->setText(toQt(descriptionOf(kind).displayName));
    settingsChanges_.disconnect();
    removeOptions();
    options_ = new QWidget(this);
    options_->hide();
    Tool* tool = context_.session->tool();
    if (tool == nullptr || tool->kind() != kind) return;
    if (dynamic_cast<UnavailableTool*>(tool) != nullptr) {
        auto* words = new QLabel(QStringLiteral("This tool isn’t available yet."), options_);
        words->setObjectName(QStringLiteral("toolMissing"));
        words->setEnabled(false);
        optionActions_.push_back(addWidget(words));
    }
    ToolOptionRow options = makeToolOptions(context_, *tool, options_);
    for (QWidget* widget : options.widgets)
        optionActions_.push_back(addWidget(widget));
    layout()->setSpacing(Spacing::normal);
    // Settings are changed elsewhere too, as by a menu of the canvas.
    auto* saved = dynamic_cast<SavedToolSettings*>(tool);
    if (saved != nullptr && options.refresh)
        settingsChanges_ = saved->settingsChanged.connect(options.refresh);
}

void OptionsBar::changeEvent(QEvent* event) {
    QToolBar::changeEvent(event);
    if (event->type() == QEvent::StyleChange) layout()->setSpacing(Spacing::normal);
    if (event->type() == QEvent::PaletteChange) showIcon(*context_.session->_activeTool);
}

void OptionsBar::showIcon(ToolKind kind) {
    const QSize size(Spacing::icon, Spacing::icon);
    icon_->setPixmap(icon(descriptionOf(kind).icon).pixmap(size, devicePixelRatioF()));
}

} // namespace ombrel
