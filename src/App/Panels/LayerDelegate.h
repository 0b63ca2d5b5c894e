// How a row of the layers panel looks, and which part of it lies under a point: the eye in its own
// column; then an arrow where the layer clips, its thumbnail, the link to its mask, the mask, its
// name and its lock. A frame tells which of thumbnail and mask receives edits. Main thread only.
#pragma once

#include "Core/Layer.h"

#include <QIcon>
#include <QStyledItemDelegate>
#include <cstdint>
#include <functional>

namespace ombrel {

class DocumentSession;
class LayerThumbnails;
class LayerTreeModel;

class LayerDelegate : public QStyledItemDelegate {
public:
    enum class Part : std::uint8_t { none, eye, thumbnail, link, mask, name, lock };

    static constexpr int rowHeight = 36;
    static constexpr int thumbnailSide = 28;
    static constexpr int eyeWidth = 28;

    LayerDelegate(const LayerTreeModel& model, LayerThumbnails& thumbnails,
                  const DocumentSession& session, QObject* parent);

    /// `rect` is the index's own.
    Part partAt(const QModelIndex& index, const QRect& rect, QPoint point) const;
    QRect rectOf(Part part, const QModelIndex& index, const QRect& rect) const;
    /// What a click on the part does, with the keys that change it.
    QString words(Part part, const QModelIndex& index) const;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;

private:
    struct Places;

    void paintEye(QPainter& painter, const QStyleOptionViewItem& option, const LayerNode& node,
                  bool isShown) const;
    void paintPictures(QPainter& painter, const QStyleOptionViewItem& option, const LayerNode& node,
                       const Places& places) const;
    void paintName(QPainter& painter, const QStyleOptionViewItem& option, const LayerNode& node,
                   const Places& places, bool isShown) const;
    void paintMask(QPainter& painter, const LayerNode& node, const Places& places,
                   const QImage& picture, QIcon::Mode mode) const;
    bool isTarget(const LayerNode& node, bool mask) const;

    const LayerTreeModel& model_;
    LayerThumbnails& thumbnails_;
    const DocumentSession& session_;
};

} // namespace ombrel
