#include "App/Brushes/BrushPanel.h"

#include "App/Brushes/BrushChoice.h"
#include "App/Brushes/BrushPresetGrid.h"
#include "App/Brushes/BrushTipDial.h"
#include "App/Brushes/FoldingSection.h"
#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/ScrollBox.h"
#include "App/Shell/Dialogs.h"
#include "Editor/BrushPresetStore.h"
#include "Editor/BrushTipImport.h"
#include "Editor/DocumentSession.h"
#include "Tools/BrushTool.h"
#include "Tools/BuiltInBrushes.h"

#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <array>

namespace ombrel {

namespace {

constexpr int previewHeight = 48;
constexpr int gridHeight = 54;     ///< at least
constexpr int settingsHeight = 35; ///< at least
constexpr int titleWidth = 88;
constexpr int tipTitleWidth = 66;
constexpr std::array tipNames{"Chalk", "Charcoal", "Spatter", "Bristle", "Dry Brush", "Leaf"};

QIcon tipIcon(const SharedBrushTip& tip, const QPalette& palette) {
    const int side = 2 * Spacing::toolIcon;
    QImage picture(side, side, QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QColor ink = palette.color(QPalette::Text);
    if (tip) {
        const QImage small = coverageImage(tip).scaled(picture.size(), Qt::KeepAspectRatio,
                                                       Qt::SmoothTransformation);
        painter.drawImage((side - small.width()) / 2, (side - small.height()) / 2,
                          tinted(small, ink, 1));
    } else {
        painter.setBrush(ink);
        painter.setPen(Qt::NoPen);
        painter.drawEllipse(QRect(6, 6, side - 12, side - 12));
    }
    return QIcon(QPixmap::fromImage(picture));
}

QToolButton* button(const char* name, const char* words, const char* iconName, QWidget* parent) {
    auto* made = new QToolButton(parent);
    made->setObjectName(QLatin1String(name));
    made->setAutoRaise(true);
    made->setIcon(icon(iconName));
    made->setToolTip(QLatin1String(words));
    made->setAccessibleName(made->toolTip());
    made->setFocusPolicy(Qt::TabFocus);
    return made;
}

} // namespace

BrushPanel::BrushPanel(const PanelContext& context, QWidget* parent)
    : QWidget(parent), context_(context),
      binding_([this] { return tool_ != nullptr ? &tool_->options() : nullptr; }),
      preview_(new QWidget(this)),
      previews_({context.main, context.worker, context.device, context.store},
                BrushPreviews::Keep::newest),
      self_(std::make_shared<BrushPanel*>(this)) {
    previews_.onReady = [this] { preview_->update(); };
    preview_->setObjectName(QStringLiteral("brushPreview"));
    preview_->setAccessibleName(QStringLiteral("A stroke of this brush"));
    preview_->setFixedHeight(previewHeight);
    preview_->installEventFilter(this);
    auto* parts = new QSplitter(Qt::Vertical, this);
    parts->setChildrenCollapsible(false);
    parts->addWidget(buildPresets());
    parts->addWidget(buildSettings());
    parts->setStretchFactor(0, 1);
    parts->setStretchFactor(1, 1);
    parts->setSizes({200, 190});
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(parts, 1);
    rows->addWidget(preview_);
    toolChanges_ = context_.session->_activeTool.observe([this](ToolKind /*kind*/) { follow(); });
    presetChanges_ =
        context_.brushes._userPresets.onChange([this](const auto& /*now*/) { refreshButtons(); });
    problems_ = context_.brushes._problem.onChange([this](const std::string& words) {
        if (!words.empty())
            context_.dialogs.tellFailure(window(), "The brushes could not be saved.", words);
    });
}

BrushPanel::~BrushPanel() = default;

QWidget* BrushPanel::buildPresets() {
    auto* box = new QWidget(this);
    grid_ = new BrushPresetGrid(
        context_.brushes, {context_.main, context_.worker, context_.device, context_.store}, box);
    grid_->setMinimumHeight(gridHeight);
    grid_->onChoose = [this](const BrushPreset& preset) { choose(preset); };
    grid_->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(grid_, &QWidget::customContextMenuRequested, this, [this](QPoint place) {
        auto* menu = new QMenu(this);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        fillMenu(*menu);
        menu->popup(grid_->viewport()->mapToGlobal(place));
    });
    connect(grid_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { refreshButtons(); });
    grid_->installEventFilter(this);
    auto* rows = new QVBoxLayout(box);
    rows->setContentsMargins(Spacing::tight, Spacing::tight, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(grid_, 1);
    rows->addWidget(buildButtons());
    return box;
}

QWidget* BrushPanel::buildButtons() {
    auto* bar = new QWidget(this);
    auto* row = new QHBoxLayout(bar);
    row->setContentsMargins(0, Spacing::hair, Spacing::tight, Spacing::hair);
    row->setSpacing(Spacing::hair);
    row->addStretch();
    const auto add = [&](const char* name, const char* words, const char* iconName,
                         void (BrushPanel::*action)()) {
        QToolButton* made = button(name, words, iconName, bar);
        connect(made, &QToolButton::clicked, this, [this, action] { (this->*action)(); });
        row->addWidget(made);
    };
    add("keepBrush", "Keep these settings as a new brush", "plus", &BrushPanel::keep);
    add("updateBrush", "Change this brush to these settings", "save", &BrushPanel::update);
    add("renameBrush", "Rename", "pencil", &BrushPanel::rename);
    add("removeBrush", "Delete", "trash-2", &BrushPanel::remove);
    return bar;
}

QWidget* BrushPanel::buildSettings() {
    auto* inner = new QWidget;
    auto* column = new QVBoxLayout(inner);
    column->setContentsMargins(0, Spacing::tight, 0, Spacing::tight);
    column->setSpacing(Spacing::hair);
    column->addWidget(buildTip());
    for (const BrushSection& section : brushSections())
        buildSection(section, *column);
    column->addStretch();
    auto* area = new ScrollBox(settingsHeight, this);
    area->setObjectName(QStringLiteral("brushSettings"));
    area->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    area->setContent(inner);
    return area;
}

QWidget* BrushPanel::buildTip() {
    auto* box = new QWidget(this);
    dial_ = new BrushTipDial(box);
    dial_->onAngle = [this](double degrees) {
        binding_.change([&](BrushSettings& settings) { settings.angle = degrees; });
    };
    dial_->onRoundness = [this](double roundness) {
        binding_.change([&](BrushSettings& settings) { settings.roundness = roundness; });
    };
    binding_.addView([this](const BrushSettings& settings) { dial_->setTip(settings); });
    tipButton_ = new QToolButton(box);
    tipButton_->setObjectName(QStringLiteral("brushTip"));
    tipButton_->setText(QStringLiteral("Tip"));
    tipButton_->setToolTip(QStringLiteral("Choose the picture of the tip"));
    tipButton_->setAccessibleName(QStringLiteral("Tip"));
    tipButton_->setFocusPolicy(Qt::TabFocus);
    tipButton_->setPopupMode(QToolButton::InstantPopup);
    tipButton_->setMenu(new QMenu(tipButton_));
    tipButton_->setFixedWidth(dial_->sizeHint().width());
    connect(tipButton_->menu(), &QMenu::aboutToShow, this, [this] { fillTipMenu(); });
    auto* left = new QVBoxLayout;
    left->setSpacing(Spacing::hair);
    left->addWidget(dial_);
    left->addWidget(tipButton_);
    left->addStretch();
    auto* right = new QVBoxLayout;
    right->setSpacing(Spacing::hair);
    for (const BrushField& field : tipFields()) {
        NumberField* made = binding_.addField(field, NumberField::Form::withSlider, box);
        made->setTitleWidth(tipTitleWidth);
        if (&field == &brushField("hardness")) hardnessWidgets_.push_back(made);
        right->addWidget(made);
    }
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(Spacing::tight, 0, Spacing::normal, Spacing::tight);
    row->setSpacing(Spacing::tight);
    row->addLayout(left);
    row->addLayout(right, 1);
    return box;
}

void BrushPanel::buildSection(const BrushSection& section, QVBoxLayout& column) {
    auto* made =
        new FoldingSection(QLatin1String(section.name), QLatin1String(section.title), this);
    if (section.enabled != nullptr) {
        made->setSwitch(binding_.addSwitch(*section.enabled, this));
        binding_.addView([made, toggle = section.enabled](const BrushSettings& settings) {
            made->body().setEnabled(toggle->isOn(settings));
        });
    }
    for (const BrushControl& control : section.controls) {
        auto* row = new QHBoxLayout;
        auto* title = new QLabel(QString::fromUtf8(control.title), &made->body());
        title->setFixedWidth(titleWidth);
        QComboBox* box = binding_.addControl(control, &made->body());
        row->addWidget(title);
        row->addWidget(box, 1);
        made->rows().addLayout(row);
    }
    for (const BrushField& field : section.fields) {
        NumberField* number =
            binding_.addField(field, NumberField::Form::withSlider, &made->body());
        number->setTitleWidth(titleWidth);
        made->rows().addWidget(number);
    }
    for (const BrushSwitch& toggle : section.switches)
        made->rows().addWidget(binding_.addSwitch(toggle, &made->body()));
    column.addWidget(made);
}

void BrushPanel::follow() {
    DocumentSession& session = *context_.session;
    auto* tool = dynamic_cast<BrushTool*>(session.tool());
    if (tool == nullptr && tool_ == nullptr)
        tool = dynamic_cast<BrushTool*>(session.toolOf(ToolKind::brush));
    setEnabled(tool != nullptr || tool_ != nullptr);
    if (tool != nullptr && tool != tool_) setTool(*tool);
}

void BrushPanel::setTool(BrushTool& tool) {
    tool_ = &tool;
    settingsChanges_ = tool.settingsChanged.connect([this] { refresh(); });
    for (QWidget* widget : hardnessWidgets_)
        widget->setEnabled(tool.changesHardness());
    tipButton_->setEnabled(tool.kind() != ToolKind::pencil);
    refresh();
}

void BrushPanel::refresh() {
    binding_.refresh();
    const auto preset = BrushChoice::presetOf(tool_->options(), context_.brushes);
    grid_->setUsed(preset ? std::optional(preset->id) : std::nullopt);
    refreshButtons();
    preview_->update();
}

void BrushPanel::refreshButtons() {
    const auto own = ownPreset();
    const bool isOwn = own.has_value();
    const bool isOther =
        isOwn && tool_ != nullptr && BrushChoice::isChanged(tool_->options(), *own);
    findChild<QToolButton*>(QStringLiteral("updateBrush"))->setEnabled(isOther);
    findChild<QToolButton*>(QStringLiteral("renameBrush"))->setEnabled(isOwn);
    findChild<QToolButton*>(QStringLiteral("removeBrush"))->setEnabled(isOwn);
}

std::optional<BrushPreset> BrushPanel::ownPreset() const {
    const BrushPreset* current = grid_->current();
    if (current == nullptr || BrushPresetStore::isBuiltIn(current->id)) return std::nullopt;
    return *current;
}

void BrushPanel::choose(const BrushPreset& preset) {
    if (tool_ == nullptr) return;
    BrushChoice::putOn(preset, tool_->options(), context_.brushes);
    context_.session->setTool(tool_->kind()); // who takes a brush wants to paint
}

void BrushPanel::keep() {
    if (tool_ == nullptr) return;
    const auto from = BrushChoice::presetOf(tool_->options(), context_.brushes);
    const Uuid id =
        BrushChoice::keep(tool_->options(), context_.brushes, from ? from->name : "Brush");
    grid_->beginRename(id);
}

void BrushPanel::update() {
    const auto own = ownPreset();
    if (own) context_.brushes.replace(own->id, BrushPreset::of(tool_->options().get(), {}));
    refresh();
}

void BrushPanel::rename() {
    if (const auto own = ownPreset()) grid_->beginRename(own->id);
}

void BrushPanel::remove() {
    if (const auto own = ownPreset()) context_.brushes.remove(own->id);
    refresh();
}

void BrushPanel::move(int by) {
    const auto own = ownPreset();
    if (!own) return;
    const auto& all = *context_.brushes._userPresets;
    const auto at = std::ranges::find(all, own->id, &BrushPreset::id) - all.begin();
    if (at + by >= 0) context_.brushes.move(own->id, static_cast<std::size_t>(at + by));
    grid_->scrollTo(grid_->currentIndex());
}

void BrushPanel::fillMenu(QMenu& menu) {
    const bool isOwn = ownPreset().has_value();
    const auto add = [&](const QString& words, bool isPossible, std::function<void()> action) {
        menu.addAction(words, this, std::move(action))->setEnabled(isPossible);
    };
    add(QStringLiteral("New Brush"), true, [this] { keep(); });
    add(QStringLiteral("Rename"), isOwn, [this] { rename(); });
    add(QStringLiteral("Delete"), isOwn, [this] { remove(); });
    menu.addSeparator();
    add(QStringLiteral("Move Up"), isOwn, [this] { move(-1); });
    add(QStringLiteral("Move Down"), isOwn, [this] { move(1); });
    menu.addSeparator();
    add(QStringLiteral("Import Tip…"), true, [this] { importTip(); });
}

void BrushPanel::fillTipMenu() {
    QMenu& menu = *tipButton_->menu();
    menu.clear();
    const SharedBrushTip present = tool_->options()->tipImage;
    const auto add = [&](const QString& words, const SharedBrushTip& tip) {
        QAction* action = menu.addAction(tipIcon(tip, palette()), words, this,
                                         [this, tip] { tool_->options().setTip(tip); });
        action->setCheckable(true);
        action->setChecked(tip == present);
    };
    add(QStringLiteral("Round"), nullptr);
    for (std::size_t i = 0; i < tipNames.size(); ++i)
        add(QLatin1String(tipNames.at(i)), BuiltInBrushes::tip(BuiltInBrushes::tipIDs().at(i)));
    if (!context_.brushes._userTips->empty()) menu.addSeparator();
    for (const BrushPresetStore::TipName& name : *context_.brushes._userTips)
        if (const SharedBrushTip tip = context_.brushes.tip(name.id)) add(toQt(name.name), tip);
    menu.addSeparator();
    menu.addAction(QStringLiteral("Import Tip…"), this, [this] { importTip(); });
}

void BrushPanel::importTip() {
    context_.dialogs.chooseFilesToOpen(
        window(), {},
        [weak = std::weak_ptr(self_)](const std::vector<std::filesystem::path>& files) {
            const auto self = weak.lock();
            if (!self || files.empty()) return;
            BrushPanel& panel = **self;
            panel.context_.worker.post([weak, file = files.front(), &main = panel.context_.main,
                                        &store = panel.context_.store] {
                main.post([weak, file, tip = importBrushTip(file, store)]() mutable {
                    if (const auto still = weak.lock()) (*still)->takeTip(file, std::move(tip));
                });
            });
        });
}

void BrushPanel::takeTip(const std::filesystem::path& file,
                         std::expected<BrushTipImage, std::string> tip) {
    if (!tip) {
        context_.dialogs.tellFailure(window(), "The tip could not be imported.", tip.error());
        return;
    }
    const SharedBrushTip added = context_.brushes.addTip(std::move(*tip), file.stem().string());
    if (tool_ != nullptr) tool_->options().setTip(added);
}

bool BrushPanel::eventFilter(QObject* watched, QEvent* event) {
    if (watched == grid_ && event->type() == QEvent::KeyPress) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        if (key.key() == Qt::Key_Delete || key.key() == Qt::Key_Backspace) return remove(), true;
        const bool isMove = (key.modifiers() & Qt::AltModifier) != 0;
        if (isMove && key.key() == Qt::Key_Up) return move(-1), true;
        if (isMove && key.key() == Qt::Key_Down) return move(1), true;
    }
    if (watched != preview_ || event->type() != QEvent::Paint || tool_ == nullptr)
        return QWidget::eventFilter(watched, event);
    QPainter painter(preview_);
    painter.fillRect(preview_->rect(), Theme::color(ThemeColor::field));
    const double scale = devicePixelRatioF();
    const QSize size = preview_->size() - QSize(2 * Spacing::tight, 2 * Spacing::tight);
    const QImage picture = previews_.of({tool_->options().get(), tool_->kind() == ToolKind::pencil,
                                         (QSizeF(size) * scale).toSize(), scale});
    if (!picture.isNull()) shown_ = picture;
    if (!shown_.isNull())
        painter.drawImage(QPoint(Spacing::tight, Spacing::tight),
                          tinted(shown_, Theme::color(ThemeColor::text), scale));
    return true;
}

} // namespace ombrel
