// The brushes of the program and the user as a list: names to edit, the user's own to drag into
// another order. Follows the store by the rows that differ, so that rows keep their selection and
// their editors. Main thread only.
#pragma once

#include "Base/Signal.h"
#include "Tools/BrushSettings.h"

#include <QAbstractListModel>
#include <optional>
#include <vector>

namespace ombrel {

class BrushPresetStore;

class BrushPresetModel : public QAbstractListModel {
public:
    BrushPresetModel(BrushPresetStore& store, QObject* parent);

    const BrushPreset* presetAt(const QModelIndex& index) const; ///< null: no row
    QModelIndex indexOf(const Uuid& id) const;                   ///< invalid: not here
    const std::vector<BrushPreset>& presets() const { return presets_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

private:
    void follow(std::vector<BrushPreset> presets);
    bool isUsers(int row) const;

    BrushPresetStore& store_;
    std::vector<BrushPreset> presets_;
    Connection changes_;
};

} // namespace ombrel
