// What LayerTreeModel keeps of a layer, and how the rows follow a new state. Only the model's own
// sources include this.
#pragma once

#include "App/Panels/LayerTreeModel.h"
#include "Base/Check.h"

#include <vector>

namespace ombrel {

struct LayerTreeModel::Row {
    LayerID id;
    const LayerNode* node = nullptr; ///< in the state that is shown; null for the root
    Row* parent = nullptr;
    Rows children = {};     ///< topmost first
    bool isLeaving = false; ///< while following: no longer where it was, maybe elsewhere
};

/// Rows move before any is removed, so that what leaves a group that goes is kept.
class LayerTreeModel::Following {
public:
    Following(LayerTreeModel& model) : model_(model) {}

    void run(const GroupLayer& root);

private:
    void syncChildren(Row& row, const std::vector<LayerNode>& children);
    void arrange(Row& row, const std::vector<LayerNode>& children);
    /// Whether a row that was there looks different now.
    bool update(Row& row, const LayerNode& now);
    void markLeaving(Row& row, const std::vector<LayerNode>& children);
    std::vector<const Row*> stayingRows(const Row& row,
                                        const std::vector<LayerNode>& children) const;
    /// Puts a row that is in the tree at a place of a parent; returns the place after it.
    int moveTo(Row& parent, int place, Row& moved);
    void removeLeft();
    void forget(const Row& row);

    LayerTreeModel& model_;
    std::vector<Row*> leaving_;
};

} // namespace ombrel
