// How a row of the layers panel looks, and which part of it lies under a point: the eye in its own
// column; then an arrow where the layer clips, its thumbnail, its mask, its name and its lock.
// Main thread only.
#pragma once

#include "Core/Layer.h"

#include <QStyledItemDelegate>
#include <cstdint>
#include <functional>

namespace ombrel {

class DocumentSession;
class LayerThumbnails;
class LayerTreeModel;

class LayerDelegate : public QStyledItemDelegate {
public:
    enum class Part : std::uint8_t { none, eye, thumbnail, mask, name, lock };

    static constexpr int rowHeight = 36;
    static constexpr int thumbnailSide = 28;
    static constexpr int eyeWidth = 28;

    LayerDelegate(const LayerTreeModel& model, LayerThumbnails& thumbnails,
                  const DocumentSession& session, QObject* parent);

    /// `rect` is the index's own.
    Part partAt(const QModelIndex& index, const QRect& rect, QPoint point) const;

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
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
    bool isTarget(const LayerNode& node, bool mask) const;

    const LayerTreeModel& model_;
    LayerThumbnails& thumbnails_;
    const DocumentSession& session_;
};

} // namespace ombrel
