#include "App/Panels/ToolBar.h"

#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/ColorWells.h"
#include "Base/Settings.h"
#include "Editor/DocumentSession.h"
#include "Tools/ToolGroup.h"
#include "Tools/ToolLetters.h"
#include "Tools/ToolRegistry.h"

#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QMenu>
#include <QPainter>
#include <QStyleOptionToolButton>
#include <QToolButton>
#include <algorithm>
#include <iterator>

namespace ombrel {

namespace {

/// "Move (V)"
QString wordsOf(ToolKind kind) {
    const QString name = toQt(descriptionOf(kind).displayName);
    const std::optional<char> letter = ToolLetters::of(kind);
    if (!letter) return name;
    return QStringLiteral("%1 (%2)").arg(name, QString(QLatin1Char(*letter)).toUpper());
}

} // namespace

class ToolBar::Slot : public QToolButton {
public:
    Slot(std::span<const ToolKind> tools, DocumentSession& session, QWidget* parent)
        : QToolButton(parent), session_(session) {
        std::ranges::copy_if(tools, std::back_inserter(tools_),
                             [](ToolKind kind) { return !ombrel::isHidden(kind); });
        setObjectName(toQt(descriptionOf(tools_.front()).identifier));
        setCheckable(true);
        setAutoRaise(true);
        setFixedSize(Spacing::toolButton + Spacing::tight, Spacing::toolButton);
        setIconSize({Spacing::toolIcon, Spacing::toolIcon});
        setFocusPolicy(Qt::TabFocus);
        connect(this, &QToolButton::clicked, this, [this] {
            session_.setTool(shown_);
            refresh(); // where the tool in use could not be left, the click marks nothing
        });
        if (tools_.size() > 1) makeMenu();
        show(tools_.front());
    }

    bool holds(ToolKind kind) const { return std::ranges::find(tools_, kind) != tools_.end(); }
    void refresh() {
        const auto& recent = *session_._recentTools;
        const ToolKind active = *session_._activeTool;
        const auto last = std::ranges::find_if(recent, [&](ToolKind kind) { return holds(kind); });
        if (holds(active)) {
            show(active);
        } else if (last != recent.end()) {
            show(*last);
        }
        setChecked(holds(active));
    }

protected:
    void contextMenuEvent(QContextMenuEvent* event) override {
        if (menu() != nullptr) showMenu();
        event->accept();
    }
    void paintEvent(QPaintEvent* event) override {
        QToolButton::paintEvent(event);
        if (menu() == nullptr) return;
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(
            Theme::color(isChecked() ? ThemeColor::selectedText : ThemeColor::dimText));
        const QPointF corner(width() - 4, height() - 4);
        painter.drawPolygon(QPolygonF{{corner, corner - QPointF(4, 0), corner - QPointF(0, 4)}});
    }
    void initStyleOption(QStyleOptionToolButton* option) const override {
        QToolButton::initStyleOption(option);
        option->features &= ~QStyleOptionToolButton::HasMenu; // the corner says so
    }

private:
    void makeMenu() {
        auto* menu = new QMenu(this);
        for (const ToolKind kind : tools_) {
            QAction* action = menu->addAction(ombrel::icon(descriptionOf(kind).icon), wordsOf(kind),
                                              this, [this, kind] { session_.setTool(kind); });
            action->setObjectName(toQt(descriptionOf(kind).identifier));
            connect(menu, &QMenu::aboutToShow, action,
                    [action, kind] { action->setText(wordsOf(kind)); }); // letters may change
        }
        setMenu(menu);
        setPopupMode(QToolButton::DelayedPopup);
    }
    void show(ToolKind kind) {
        shown_ = kind;
        setIcon(ombrel::icon(descriptionOf(kind).icon));
        setToolTip(wordsOf(kind));
        setAccessibleName(toQt(descriptionOf(kind).displayName));
    }

    DocumentSession& session_;
    std::vector<ToolKind> tools_;
    ToolKind shown_{};
};

ToolBar::ToolBar(const PanelContext& context, QWidget* parent)
    : QToolBar(QStringLiteral("Tools"), parent), session_(context.session) {
    setObjectName(QStringLiteral("tools"));
    setAccessibleName(QStringLiteral("Tools"));
    setOrientation(Qt::Vertical);
    setMovable(false);
    for (const std::span<const ToolGroup> column : toolColumns()) {
        for (const ToolGroup& group : column) {
            for (const ToolGroup::Section& section : group.sections)
                addSlot(section);
        }
        if (&column != &toolColumns().back()) addSeparator();
    }
    for (const ToolKind& kind : ungroupedTools)
        addSlot({&kind, 1});
    addSeparator();
    auto* frame = new QWidget(this);
    auto* layout = new QHBoxLayout(frame);
    layout->setContentsMargins(0, Spacing::tight, 0, Spacing::tight);
    auto* wells = new ColorWells(context, ColorWells::Click::asks, frame);
    layout->addWidget(wells, 0, Qt::AlignHCenter);
    addWidget(frame);
    connections_.push_back(session_->_activeTool.observe([this](ToolKind) { refresh(); }));
    connections_.push_back(session_->_recentTools.onChange([this](const auto&) { refresh(); }));
    connections_.push_back(context.settings.onChange("shortcuts", [this](const Json&) {
        QMetaObject::invokeMethod(this, [this] { refresh(); }, Qt::QueuedConnection);
    }));
}

ToolBar::~ToolBar() = default;

// Keys that the widget with the keyboard leaves come to the window.
void ToolBar::showEvent(QShowEvent* event) {
    QToolBar::showEvent(event);
    window()->installEventFilter(this);
}

bool ToolBar::eventFilter(QObject* watched, QEvent* event) {
    if (watched == window() && event->type() == QEvent::KeyPress) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        const bool isLetter = key.key() >= Qt::Key_A && key.key() <= Qt::Key_Z;
        if (isLetter && key.modifiers() == Qt::NoModifier && !key.isAutoRepeat() &&
            takeLetter(static_cast<char>('a' + key.key() - Qt::Key_A)))
            return true;
    }
    return QToolBar::eventFilter(watched, event);
}

bool ToolBar::takeLetter(char letter) {
    const auto tool =
        ToolRegistry::toolAfter(*session_->_activeTool, letter, *session_->_recentTools);
    if (tool) session_->setTool(*tool);
    return tool.has_value();
}

void ToolBar::addSlot(std::span<const ToolKind> tools) {
    slots_.push_back(new Slot(tools, *session_, this));
    addWidget(slots_.back());
}

void ToolBar::refresh() {
    for (Slot* slot : slots_)
        slot->refresh();
}

} // namespace ombrel
