#include "App/Panels/ColorPanel.h"

#include "App/Color/ColorEditor.h"
#include "App/Color/SwatchListModel.h"
#include "App/Color/SwatchView.h"
#include "App/Look/Icons.h"
#include "App/Look/Theme.h"
#include "App/Panels/ColorWells.h"
#include "App/Panels/ScreenColor.h"
#include "Editor/DocumentSession.h"

#include <QToolButton>
#include <QVBoxLayout>

namespace ombrel {

ColorPanel::ColorPanel(const PanelContext& context, QWidget* parent)
    : QWidget(parent), session_(context.session), recent_(context.session, context.settings),
      editor_(new ColorEditor(context.settings, ColorEditor::Sliders::chosen, this)),
      recentModel_(new SwatchListModel(this)) {
    wells_ = new ColorWells(context, ColorWells::Click::selects, this);
    beyond_ = new QToolButton(this);
    beyond_->setObjectName(QStringLiteral("beyondScreen"));
    beyond_->setAutoRaise(true);
    beyond_->setIcon(ombrel::icon("triangle-alert"));
    beyond_->setAccessibleName(QStringLiteral("Beyond the screen's colors"));
    beyond_->setToolTip(QStringLiteral("The screen's colors (sRGB) lack this color of the "
                                       "document. Click to take the nearest that is shown."));
    QSizePolicy policy = beyond_->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    beyond_->setSizePolicy(policy);
    connect(beyond_, &QToolButton::clicked, this, [this] { takeNearest(); });
    editor_->setSide(wells_);
    editor_->setBesideCode(beyond_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(Spacing::tight, Spacing::tight, Spacing::tight, Spacing::tight);
    layout->setSpacing(Spacing::tight);
    layout->addWidget(editor_, 1);
    makeRecent();

    wells_->onSelect = [this](Slot slot) {
        slot_ = slot;
        follow();
    };
    editor_->onChange = [this](const PickedColor& color) { push(color); };
    editor_->onChosen = [this] {
        if (slot_ == &PaintColors::foreground) recent_.addForegroundSoon();
    };
    connections_.push_back(session_->colors.onChange([this](const auto&) { follow(); }));
    connections_.push_back(session_->_state.onChange(
        [this, profile = session_->_state->canvas.profile](const DocumentState& state) mutable {
            if (state.canvas.profile == profile) return;
            profile = state.canvas.profile;
            follow();
        }));
    follow();
}

ColorPanel::~ColorPanel() = default;

void ColorPanel::makeRecent() {
    auto* view = new SwatchView(recentModel_, this);
    view->setObjectName(QStringLiteral("recentColors"));
    view->setAccessibleName(QStringLiteral("Recent colors"));
    view->setFixedHeight(SwatchView::cell);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    view->onChoose = [this](int row, bool isForBackground) {
        PaintColors colors = *session_->colors;
        colors.*(isForBackground ? &PaintColors::background : slot_) =
            documentColor(recentModel_->swatches()[static_cast<std::size_t>(row)].color,
                          session_->_state->canvas.profile);
        session_->colors = colors;
    };
    layout()->addWidget(view);
    recent_.onChange = [this] { showRecent(); };
    showRecent();
}

void ColorPanel::showRecent() {
    std::vector<Swatch> swatches;
    for (const ColorMath::DisplayRgb& color : recent_.colors())
        swatches.push_back({{}, color});
    recentModel_->setSwatches(std::move(swatches));
}

void ColorPanel::follow() {
    const ColorProfile& profile = session_->_state->canvas.profile;
    const PremultipliedColor& color = (*session_->colors).*slot_;
    beyond_->setVisible(isBeyondScreen(color, profile));
    PickedColor shown = editor_->color();
    // What the editor made stays as it was made.
    if (documentColor(shown.rgb(), profile) == color) return;
    shown.setRgb(displayColor(color, profile));
    editor_->setColor(shown);
}

void ColorPanel::push(const PickedColor& color) {
    PaintColors colors = *session_->colors;
    colors.*slot_ = documentColor(color.rgb(), session_->_state->canvas.profile);
    session_->colors = colors;
}

void ColorPanel::takeNearest() {
    const ColorProfile& profile = session_->_state->canvas.profile;
    PaintColors colors = *session_->colors;
    colors.*slot_ = documentColor(displayColor(colors.*slot_, profile), profile);
    session_->colors = colors;
}

} // namespace ombrel
