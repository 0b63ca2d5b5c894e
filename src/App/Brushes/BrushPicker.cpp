#include "App/Brushes/BrushPicker.h"

#include "App/Brushes/BrushChoice.h"
#include "App/Brushes/BrushList.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "Editor/BrushPresetStore.h"
#include "Tools/BrushTool.h"

#include <QPainter>
#include <QStyleOption>

namespace ombrel {

namespace {

constexpr QSize strokeSize(84, 24);

} // namespace

BrushPicker::BrushPicker(const PanelContext& context, BrushTool& tool, QWidget* parent)
    : QToolButton(parent), context_(context), tool_(tool),
      previews_({context.main, context.worker, context.device, context.store},
                BrushPreviews::Keep::newest) {
    setObjectName(QStringLiteral("brushPicker"));
    setFocusPolicy(Qt::TabFocus);
    setAutoRaise(true);
    setToolTip(QStringLiteral("Choose a brush"));
    previews_.onReady = [this] { update(); };
    connect(this, &QToolButton::clicked, this, [this] { open(); });
}

BrushPicker::~BrushPicker() = default;

QSize BrushPicker::sizeHint() const {
    return {strokeSize.width() + 22, strokeSize.height() + 4};
}

void BrushPicker::refresh() {
    const auto preset = BrushChoice::presetOf(tool_.options(), context_.brushes);
    const QString name = preset ? toQt(preset->name) : QStringLiteral("Own settings");
    setAccessibleName(QStringLiteral("Brush: %1").arg(name));
    setToolTip(QStringLiteral("%1: choose a brush").arg(name));
    update();
}

void BrushPicker::paintEvent(QPaintEvent* event) {
    QToolButton::paintEvent(event);
    QPainter painter(this);
    const double scale = devicePixelRatioF();
    const QImage picture = previews_.of({tool_.options().get(), tool_.kind() == ToolKind::pencil,
                                         (QSizeF(strokeSize) * scale).toSize(), scale});
    if (!picture.isNull()) shown_ = picture;
    const int top = (height() - strokeSize.height()) / 2;
    if (!shown_.isNull())
        painter.drawImage(QPoint(4, top), tinted(shown_, Theme::color(ThemeColor::text), scale));
    QStyleOption arrow;
    arrow.initFrom(this);
    arrow.rect = QRect(width() - 15, (height() - 9) / 2, 9, 9);
    style()->drawPrimitive(QStyle::PE_IndicatorArrowDown, &arrow, &painter, this);
}

void BrushPicker::open() {
    (new BrushList(context_, tool_, this))->openAt(mapToGlobal(QPoint(0, height() + 2)));
}

} // namespace ombrel
