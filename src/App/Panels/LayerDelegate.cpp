#include "App/Panels/LayerDelegate.h"

#include "App/Look/Icons.h"
#include "App/Look/QtText.h"
#include "App/Look/Theme.h"
#include "App/Panels/LayerThumbnails.h"
#include "App/Panels/LayerTreeModel.h"
#include "App/Panels/LayerWords.h"
#include "Editor/DocumentSession.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QLineEdit>
#include <QPainter>
#include <QToolTip>
#include <cmath>

namespace ombrel {

/// Where the parts of a row lie; a part that the layer lacks is empty.
struct LayerDelegate::Places {
    QRect clip;
    QRect thumbnail;
    QRect link;
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
        if (node.mask()) {
            left -= Spacing::hair;
            link = take(10, thumbnailSide);
            left -= Spacing::hair;
            mask = take(thumbnailSide, thumbnailSide);
        }
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

/// `mark` is drawn around the picture where it receives edits or is looked at.
void frame(QPainter& painter, const QRect& rect, const QColor& mark) {
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Theme::color(ThemeColor::edge));
    painter.drawRect(QRectF(rect).adjusted(-0.5, -0.5, 0.5, 0.5));
    if (!mark.isValid()) return;
    painter.setPen(QPen(mark, 1));
    painter.drawRect(QRectF(rect).adjusted(-1.5, -1.5, 1.5, 1.5));
}

/// The icon that tells what else than pixels a layer holds; null for pixels.
const QIcon* kindIcon(const PixelLayer& layer) {
    static const QIcon shape = icon("shapes");
    static const QIcon text = icon("type");
    static const QIcon instance = icon("layers");
    if (layer.shape) return &shape;
    if (layer.text) return &text;
    return layer.instance ? &instance : nullptr;
}

/// In the lower right corner of a thumbnail.
void paintKind(QPainter& painter, const QRect& picture, const QIcon& kind) {
    QRect place(0, 0, 12, 12);
    place.moveBottomRight(picture.bottomRight());
    painter.fillRect(place, Theme::color(ThemeColor::panel));
    kind.paint(&painter, place.adjusted(1, 1, -1, -1));
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
    if (places.link.contains(point)) return Part::link;
    if (places.thumbnail.contains(point)) return Part::thumbnail;
    if (places.lock.adjusted(-4, -8, 4, 8).contains(point) && !places.lock.isEmpty())
        return Part::lock;
    return places.name.contains(point) ? Part::name : Part::none;
}

QRect LayerDelegate::rectOf(Part part, const QModelIndex& index, const QRect& rect) const {
    const LayerNode* node = model_.node(index);
    if (node == nullptr) return {};
    const Places places(*node, rect);
    switch (part) {
    case Part::eye:
        return rect;
    case Part::thumbnail:
        return places.thumbnail;
    case Part::link:
        return places.link;
    case Part::mask:
        return places.mask;
    case Part::name:
        return places.name;
    case Part::lock:
        return places.lock;
    case Part::none:
        break;
    }
    return {};
}

QString LayerDelegate::words(Part part, const QModelIndex& index) const {
    const LayerNode* node = model_.node(index);
    if (node == nullptr) return {};
    switch (part) {
    case Part::eye:
        return node->properties().isVisible
                   ? QStringLiteral("Hide\nDrag over eyes to hide several; Alt-click shows this "
                                    "layer alone")
                   : QStringLiteral("Show\nDrag over eyes to show several; Alt-click shows this "
                                    "layer alone");
    case Part::thumbnail:
        return node->group() != nullptr ? QStringLiteral("Double-click opens or closes the group")
                                        : QStringLiteral("Layer: click to edit its pixels");
    case Part::link:
        return node->mask()->isLinked ? QStringLiteral("Let the mask stay when the layer moves")
                                      : QStringLiteral("Move the mask with the layer");
    case Part::mask:
        return QStringLiteral("Mask: click to edit it, Shift-click turns it %1, Alt-click shows "
                              "it.\nDrag it to another layer to move it, with Alt to copy it.")
            .arg(node->mask()->isEnabled ? QStringLiteral("off") : QStringLiteral("on"));
    case Part::lock:
        return QStringLiteral("Unlock");
    case Part::name: {
        const QString details = blendWords(node->properties());
        const QString name = toQt(node->properties().name);
        return details.isEmpty() ? name : name + u'\n' + details;
    }
    case Part::none:
        break;
    }
    return {};
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
    const PixelLayer* layer = node.pixelLayer();
    if (layer == nullptr) folder.paint(&painter, places.thumbnail, Qt::AlignCenter, mode);
    if (layer == nullptr && places.mask.isEmpty()) return;
    const LayerThumbnail& thumbnail =
        thumbnails_.of(node, session_._state->canvas, deviceSide(option));
    if (layer != nullptr) {
        const QRect rect = paintPicture(painter, places.thumbnail, thumbnail.picture, true);
        if (const QIcon* kind = kindIcon(*layer)) paintKind(painter, rect, *kind);
        frame(painter, rect,
              isTarget(node, false) ? Theme::color(ThemeColor::selectedText) : QColor());
    }
    if (!places.mask.isEmpty()) paintMask(painter, node, places, thumbnail.mask, mode);
}

void LayerDelegate::paintMask(QPainter& painter, const LayerNode& node, const Places& places,
                              const QImage& picture, QIcon::Mode mode) const {
    static const QIcon link = icon("link");
    QRect chain(0, 0, places.link.width(), places.link.width());
    chain.moveCenter(places.link.center());
    if (node.mask()->isLinked) link.paint(&painter, chain, Qt::AlignCenter, mode);
    const QRect rect = paintPicture(painter, places.mask, picture, false);
    const bool isViewed = *session_._maskViewID == node.id();
    frame(painter, rect,
          isViewed               ? Theme::color(ThemeColor::accent)
          : isTarget(node, true) ? Theme::color(ThemeColor::selectedText)
                                 : QColor());
    if (isViewed) {
        painter.setPen(QPen(Theme::color(ThemeColor::accent), 2));
        painter.drawRect(rect.adjusted(1, 1, -1, -1));
    }
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
    const QColor bright = Theme::color(isSelected ? ThemeColor::selectedText : ThemeColor::text);
    const QColor dim = Theme::color(isSelected ? ThemeColor::selectedText : ThemeColor::dimText);
    const QString details = blendWords(properties);
    QRect line = places.name;
    if (!details.isEmpty()) line.setBottom(line.center().y() + 2);
    const auto draw = [&](const QString& text) {
        painter.drawText(
            line, Qt::AlignVCenter | Qt::AlignLeft,
            painter.fontMetrics().elidedText(text, Qt::ElideRight, places.name.width()));
    };
    painter.setPen(isShown ? bright : dim);
    draw(toQt(properties.name));
    if (!details.isEmpty()) {
        QFont small = option.font;
        small.setPointSizeF(small.pointSizeF() * 0.82);
        painter.setFont(small);
        painter.setPen(dim);
        painter.setOpacity(isSelected ? 0.8 : 1);
        line = QRect(QPoint(line.left(), line.bottom() - 1), places.name.bottomRight());
        draw(details);
    }
    if (places.lock.isEmpty()) return;
    painter.setOpacity(properties.locks == LayerLocks::all ? 1 : 0.5);
    lock.paint(&painter, places.lock, Qt::AlignCenter, iconMode(option));
}

bool LayerDelegate::isTarget(const LayerNode& node, bool mask) const {
    if (session_._state->activeLayerID != node.id()) return false;
    return session_.maskTarget().has_value() == mask;
}

bool LayerDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view,
                              const QStyleOptionViewItem& option, const QModelIndex& index) {
    const Part part = partAt(index, option.rect, event->pos());
    QToolTip::showText(event->globalPos(), words(part, index), view->viewport(),
                       rectOf(part, index, option.rect));
    return true;
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
