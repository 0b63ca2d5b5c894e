// The tree of layers as one works in it: eyes that a drag switches in passing, parts of a row that
// answer a click, borders between rows that clip, rows and masks that are dragged into the place
// that is marked, names that are edited in place. What it asks for is told to whoever holds it.
// Main thread only.
#pragma once

#include "App/Panels/LayerDelegate.h"
#include "App/Panels/LayerDropPlace.h"
#include "Core/Layer.h"

#include <QTimer>
#include <QTreeView>
#include <functional>
#include <optional>

namespace ombrel {

class LayersView : public QTreeView {
public:
    LayersView(LayerTreeModel& model, const LayerDelegate& delegate, QWidget* parent = nullptr);

    /// A drag over eyes: begins with what the first eye becomes; then each eye it comes to.
    std::function<void()> onEyesBegin;
    std::function<void(LayerID, bool isVisible)> onEye;
    std::function<void()> onEyesEnd;
    std::function<void(LayerID)> onAlone; ///< show this one alone, or what was shown before
    std::function<void(LayerID, LayerDelegate::Part, Qt::KeyboardModifiers)> onPart; ///< a click
    std::function<void(LayerID upper)> onClip;      ///< clip it to the row below, or release it
    std::function<bool(QKeyEvent&)> onKey;          ///< true where it was for the panel
    std::function<bool(const QKeyEvent&)> wantsKey; ///< rather than a shortcut of the window
    std::function<void(LayerID from, LayerID to, bool isCopy)> onMaskDrop;

    /// The upper one of two rows whose border is there and can clip.
    std::optional<LayerID> clippableAt(QPoint point) const;

    void keyboardSearch(const QString& search) override;
    void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                     const QList<int>& roles = {}) override;

protected:
    bool event(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void startDrag(Qt::DropActions supportedActions) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void paintEvent(QPaintEvent* event) override;
    void drawBranches(QPainter* painter, const QRect& rect,
                      const QModelIndex& index) const override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event) const override;

private:
    LayerDelegate::Part partAt(QPoint point) const;
    bool pressPart(LayerID id, LayerDelegate::Part part, const QMouseEvent& event);
    void switchEyes(int fromY, int toY);
    int openDepth(const QModelIndex& parent) const;
    void fitIndentation();
    void followHover();
    void showCursor(QPoint point, Qt::KeyboardModifiers modifiers);

    std::optional<LayerDropPlace> placeOf(const QDropEvent& drop) const;
    void showDrop(std::optional<LayerDropPlace> place);
    QPixmap pictureOfDrag(const QModelIndexList& rows, bool isMask) const;

    LayerTreeModel& model_;
    const LayerDelegate& delegate_;
    std::optional<bool> eyesBecome_; ///< during a drag over eyes
    int lastY_ = 0;
    std::optional<LayerID> pressedMask_; ///< that a drag takes along
    std::optional<LayerDropPlace> drop_; ///< that is marked
    QPersistentModelIndex hovered_;      ///< whose row is under the pointer
    QTimer fitting_;                     ///< once for many changes
};

} // namespace ombrel
