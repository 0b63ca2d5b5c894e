// Swatches as the rows of a list that can be put into another order by dragging. It holds what it
// is given and tells what the user asks for; the owner changes its own list and gives that back.
// Main thread only.
#pragma once

#include "IO/Swatches.h"

#include <QAbstractListModel>
#include <functional>
#include <vector>

namespace ombrel {

class SwatchListModel : public QAbstractListModel {
public:
    explicit SwatchListModel(QObject* parent = nullptr) : QAbstractListModel(parent) {}

    const std::vector<Swatch>& swatches() const { return swatches_; }
    void setSwatches(std::vector<Swatch> swatches);

    /// From one row to before another; empty where the order is fixed.
    std::function<void(int from, int before)> onMove;
    std::function<void(int row, const std::string& name)> onRename;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

private:
    std::vector<Swatch> swatches_;
};

} // namespace ombrel
