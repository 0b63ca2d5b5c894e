#include "App/Panels/LayerDelegate.h"

#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/LayerThumbnails.h"
#include "App/Panels/LayerTreeModel.h"
#include "Editor/DocumentSession.h"

#include <QLineEdit>
#include <QPainter>
#include <cmath>

namespace ombrel {

/// Where the parts of a row lie; a part that the layer lacks is empty.
struct LayerDelegate::Places {
    QRect clip;
    QRect thumbnail;
    QRect mask;
    QRect name;
    QRect lock;

    Places(const LayerNode& node, const QRect& rect) {
        int left = rect.left() + Spacing::tight;
        const auto take = [&](int width, int height) {
            const QRect part(left, rect.center().y() - height / 2, width, height);
            left += width + Spacing::tight;
            return part;
        };
        if (node.properties().clipsToBelow) clip = take(12, 12);
        thumbnail = node.group() != nullptr ? take(Spacing::icon, Spacing::icon)
                                            : take(thumbnailSide, thumbnailSide);
        if (node.mask()) mask = take(thumbnailSide, thumbnailSide);
        left += Spacing::hair;
        int right = rect.right() - Spacing::tight;
        if (node.properties().locks.rawValue != 0) {
            lock = QRect(right - 13, rect.center().y() - 6, 13, 13);
            right = lock.left() - Spacing::tight;
        }
        name = QRect(QPoint(left, rect.top()), QPoint(right, rect.bottom()));
    }
};

namespace {

QIcon::Mode iconMode(const QStyleOptionViewItem& option) {
    return (option.state & QStyle::State_Selected) != 0 ? QIcon::Selected : QIcon::Normal;
}

void paintChecks(QPainter& painter, const QRect& rect) {
    constexpr int side = 4;
    painter.fillRect(rect, Theme::color(ThemeColor::checkerLight));
    const QColor dark = Theme::color(ThemeColor::checkerDark);
    for (int y = 0; y * side < rect.height(); ++y) {
        for (int x = y % 2; x * side < rect.width(); x += 2) {
            const QRect check(rect.left() + x * side, rect.top() + y * side, side, side);
            painter.fillRect(check & rect, dark);
        }
    }
}

/// The picture in the middle of its place, at its own size on the device.
QRect paintPicture(QPainter& painter, const QRect& place, const QImage& picture, bool hasChecks) {
    const qreal scale = painter.device()->devicePixelRatioF();
    const QSize size = picture.isNull()
                           ? place.size()
                           : (QSizeF(picture.size()) / scale).toSize().expandedTo({2, 2});
    QRect rect(QPoint(), size);
    rect.moveCenter(place.center());
    if (hasChecks) {
        paintChecks(painter, rect);
    } else {
        painter.fillRect(rect, Qt::black);
    }
    if (!picture.isNull()) painter.drawImage(rect, picture);
    return rect;
}

void frame(QPainter& painter, const QRect& rect, bool isTarget) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Theme::color(ThemeColor::edge));
    painter.drawRect(QRectF(rect).adjusted(-0.5, -0.5, 0.5, 0.5));
    if (!isTarget) return;
    painter.setPen(QPen(Theme::color(ThemeColor::selectedText), 1));
    painter.drawRect(QRectF(rect).adjusted(-1.5, -1.5, 1.5, 1.5));
}

int deviceSide(const QStyleOptionViewItem& option) {
    const qreal scale = option.widget != nullptr ? option.widget->devicePixelRatioF() : 1;
    return static_cast<int>(std::lround(LayerDelegate::thumbnailSide * scale));
}

} // namespace

LayerDelegate::LayerDelegate(const LayerTreeModel& model, LayerThumbnails& thumbnails,
                             const DocumentSession& session, QObject* parent)
    : QStyledItemDelegate(parent), model_(model), thumbnails_(thumbnails), session_(session) {}

LayerDelegate::Part LayerDelegate::partAt(const QModelIndex& index, const QRect& rect,
                                          QPoint point) const {
    const LayerNode* node = model_.node(index);
    if (node == nullptr || !rect.contains(point)) return Part::none;
    if (index.column() == LayerTreeModel::visibilityColumn) return Part::eye;
    const Places places(*node, rect);
    if (places.mask.contains(point)) return Part::mask;
    if (places.thumbnail.contains(point)) return Part::thumbnail;
    if (places.lock.adjusted(-4, -8, 4, 8).contains(point) && !places.lock.isEmpty())
        return Part::lock;
    return places.name.contains(point) ? Part::name : Part::none;
}

void LayerDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const {
    const LayerNode* node = model_.node(index);
    if (node == nullptr) return;
    option.widget->style()->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter,
                                          option.widget);
    painter->save();
    const bool isShown = model_.isShown(index);
    if (index.column() == LayerTreeModel::visibilityColumn) {
        paintEye(*painter, option, *node, isShown);
    } else {
        const Places places(*node, option.rect);
        paintPictures(*painter, option, *node, places);
        paintName(*painter, option, *node, places, isShown);
    }
    painter->restore();
}

void LayerDelegate::paintEye(QPainter& painter, const QStyleOptionViewItem& option,
                             const LayerNode& node, bool isShown) const {
    static const QIcon open = icon("eye");
    static const QIcon closed = icon("eye-off");
    QRect rect(0, 0, Spacing::icon, Spacing::icon);
    rect.moveCenter(option.rect.center());
    const QIcon& eye = node.properties().isVisible ? open : closed;
    if (session_._state->activeLayerID == node.id())
        painter.fillRect(QRect(option.rect.topLeft(), QSize(3, option.rect.height())),
                         Theme::color(ThemeColor::accent));
    painter.setOpacity(isShown ? 1 : 0.4);
    eye.paint(&painter, rect, Qt::AlignCenter, iconMode(option));
}

void LayerDelegate::paintPictures(QPainter& painter, const QStyleOptionViewItem& option,
                                  const LayerNode& node, const Places& places) const {
    static const QIcon folder = icon("folder");
    static const QIcon arrow = icon("corner-left-down");
    const QIcon::Mode mode = iconMode(option);
    if (!places.clip.isEmpty()) arrow.paint(&painter, places.clip, Qt::AlignCenter, mode);
    const bool isGroup = node.group() != nullptr;
    if (isGroup) folder.paint(&painter, places.thumbnail, Qt::AlignCenter, mode);
    if (isGroup && places.mask.isEmpty()) return;
    const LayerThumbnail& thumbnail =
        thumbnails_.of(node, session_._state->canvas, deviceSide(option));
    if (!isGroup) {
        const QRect rect = paintPicture(painter, places.thumbnail, thumbnail.picture, true);
        frame(painter, rect, isTarget(node, false));
    }
    if (places.mask.isEmpty()) return;
    const QRect rect = paintPicture(painter, places.mask, thumbnail.mask, false);
    frame(painter, rect, isTarget(node, true));
    if (node.mask()->isEnabled) return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0xE0, 0x4A, 0x4A), 2));
    painter.drawLine(rect.topLeft(), rect.bottomRight());
    painter.drawLine(rect.topRight(), rect.bottomLeft());
}

void LayerDelegate::paintName(QPainter& painter, const QStyleOptionViewItem& option,
                              const LayerNode& node, const Places& places, bool isShown) const {
    static const QIcon lock = icon("lock");
    const bool isSelected = (option.state & QStyle::State_Selected) != 0;
    const LayerProperties& properties = node.properties();
    painter.setPen(Theme::color(isSelected ? ThemeColor::selectedText
                                : isShown  ? ThemeColor::text
                                           : ThemeColor::dimText));
    const QString name =
        option.fontMetrics.elidedText(toQt(properties.name), Qt::ElideRight, places.name.width());
    painter.drawText(places.name, Qt::AlignVCenter | Qt::AlignLeft, name);
    if (places.lock.isEmpty()) return;
    painter.setOpacity(properties.locks == LayerLocks::all ? 1 : 0.5);
    lock.paint(&painter, places.lock, Qt::AlignCenter, iconMode(option));
}

bool LayerDelegate::isTarget(const LayerNode& node, bool mask) const {
    if (session_._state->activeLayerID != node.id() || !node.mask()) return false;
    return session_.maskTarget().has_value() == mask;
}

QSize LayerDelegate::sizeHint(const QStyleOptionViewItem& /*option*/,
                              const QModelIndex& index) const {
    const bool isEye = index.column() == LayerTreeModel::visibilityColumn;
    return {isEye ? eyeWidth : 120, rowHeight};
}

QWidget* LayerDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                                     const QModelIndex& /*index*/) const {
    auto* editor = new QLineEdit(parent); // the view owns it
    editor->setAccessibleName(QStringLiteral("Layer name"));
    return editor;
}

void LayerDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                         const QModelIndex& index) const {
    const LayerNode* node = model_.node(index);
    if (node == nullptr) return;
    QRect rect = Places(*node, option.rect).name.adjusted(-Spacing::tight, 0, 0, 0);
    const int height = std::min(rect.height(), editor->sizeHint().height());
    rect.setTop(rect.center().y() - height / 2);
    rect.setHeight(height);
    editor->setGeometry(rect);
}

} // namespace ombrel
