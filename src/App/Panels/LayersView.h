// The tree of layers as one works in it: eyes that a drag switches in passing, parts of a row that
// answer a click, and drops into the place that is marked. What it asks for is told to whoever
// holds it. Main thread only.
#pragma once

#include "App/Panels/LayerDelegate.h"
#include "Core/Layer.h"

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
    std::function<void(LayerID, LayerDelegate::Part)> onPart; ///< a click on it
    std::function<bool(QKeyEvent&)> onKey;                    ///< true where it was for the panel

    void keyboardSearch(const QString& search) override;
    void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight,
                     const QList<int>& roles = {}) override;

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void drawBranches(QPainter* painter, const QRect& rect,
                      const QModelIndex& index) const override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event) const override;

private:
    LayerDelegate::Part partAt(QPoint point) const;
    void switchEyes(int fromY, int toY);

    LayerTreeModel& model_;
    const LayerDelegate& delegate_;
    std::optional<bool> eyesBecome_; ///< during a drag over eyes
    int lastY_ = 0;
};

} // namespace ombrel
