// The layer tree as rows, topmost layer first, in two columns: visibility and the layer. Follows
// each new state by the rows that differ, found through what the states share: a change costs by
// what it changed and by the siblings of that, and rows that only moved are moved, so that a view
// keeps what is chosen, unfolded and being renamed. What a user changes here becomes a command.
// Main thread only.
#pragma once

#include "Commands/Command.h"

#include <QAbstractItemModel>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace ombrel {

class LayerTreeModel : public QAbstractItemModel {
public:
    enum Column { visibilityColumn, layerColumn, columnTotal };
    static constexpr const char* maskMimeType = "com.ombrel.layer-mask";

    explicit LayerTreeModel(QObject* parent = nullptr);
    ~LayerTreeModel() override;

    std::function<void(const Command&)> perform;  ///< renames and drops
    std::function<void(LayerID)> onPictureChange; ///< of the layer or its mask
    std::function<void(LayerID)> onRemoval;
    /// Takes what is shown no longer: dropping it may take long.
    std::function<void(DocumentState)> discard;

    void follow(const DocumentState& state);
    /// Null for an index that is none of this model's.
    const LayerNode* node(const QModelIndex& index) const;
    std::optional<LayerID> id(const QModelIndex& index) const;
    QModelIndex indexOf(LayerID id, int column = layerColumn) const; ///< invalid where unknown
    /// Whether it and all groups around it are visible.
    bool isShown(const QModelIndex& index) const;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    Qt::DropActions supportedDropActions() const override;
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    /// Moving performs a move, copying duplicates. `row` counts from the top, as rows do; -1 is on
    /// top in a group, and below everything where there is no parent.
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

    /// A drag of the layer's mask; the caller owns it.
    static QMimeData* maskData(LayerID id);
    static std::optional<LayerID> draggedMask(const QMimeData& data); ///< absent for rows

private:
    struct Row;
    using Rows = std::vector<std::unique_ptr<Row>>;
    class Following; ///< one walk from the old rows to a new state

    Row* rowOf(const QModelIndex& index) const; ///< the root for an invalid one
    Row* find(LayerID id) const;                ///< null where unknown
    int placeOf(const Row& row) const;
    QModelIndex indexOf(const Row& row, int column) const;
    std::vector<LayerID> draggedLayers(const QMimeData& data) const;

    std::unique_ptr<Row> root_;
    std::unordered_map<Uuid, Row*> rowsByID_;
    DocumentState state_; ///< what the rows show
};

} // namespace ombrel
