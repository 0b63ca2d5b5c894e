// How the rows and their selection follow the session, and how it follows them.
#include "App/Panels/LayerMaskActions.h"
#include "App/Panels/LayerPropertyBar.h"
#include "App/Panels/LayerSelection.h"
#include "App/Panels/LayerTreeModel.h"
#include "App/Panels/LayersPanel.h"
#include "Editor/DocumentSession.h"

#include <QItemSelection>
#include <QLabel>
#include <QToolButton>
#include <algorithm>

namespace ombrel {

void LayersPanel::follow(const DocumentState& state) {
    if (state.canvas != canvas_) {
        canvas_ = state.canvas;
        thumbnails_.markAllOld();
        view_->viewport()->update();
    }
    isFollowing_ = true;
    model_->follow(state);
    isFollowing_ = false;
    expandNewGroups();
    chooseActive();
    showSelection();
    LayerMaskActions::follow(*session_);
    if (!filter_.showsAll()) showFilter();
    refreshControls();
}

void LayersPanel::expandNewGroups() {
    for (const QPersistentModelIndex& row : std::exchange(newRows_, {})) {
        if (row.isValid() && model_->node(row)->group() != nullptr) view_->expand(row);
    }
}

// What a command made active it also chose, alone.
void LayersPanel::chooseActive() {
    const DocumentState& state = *session_->_state;
    const std::optional<LayerID> active =
        state.activeLayer() != nullptr ? state.activeLayerID : std::nullopt;
    std::set<LayerID> chosen;
    for (const LayerID id : *session_->_selectedLayerIDs) {
        if (model_->indexOf(id).isValid()) chosen.insert(id);
    }
    if (active && (chosen.empty() || (active != activeShown_ && !chosen.contains(*active))))
        chosen = {*active};
    isFollowing_ = true;
    session_->_selectedLayerIDs.set(std::move(chosen));
    isFollowing_ = false;
    if (active == activeShown_) return;
    activeShown_ = active;
    if (active) view_->scrollTo(model_->indexOf(*active));
}

std::set<LayerID> LayersPanel::chosenRows() const {
    std::set<LayerID> chosen;
    for (const QItemSelectionRange& range : view_->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            chosen.insert(*model_->id(model_->index(row, 0, range.parent())));
    }
    return chosen;
}

// Neighbours are one range: a selection compares its ranges with each other.
QItemSelection LayersPanel::selectionOf(const std::set<LayerID>& ids) const {
    QModelIndexList rows;
    for (const LayerID id : ids) {
        const QModelIndex row = model_->indexOf(id, LayerTreeModel::visibilityColumn);
        if (row.isValid()) rows.push_back(row);
    }
    std::ranges::sort(rows, {}, [](const QModelIndex& row) {
        return std::pair(row.parent().internalId(), row.row());
    });
    QItemSelection selection;
    for (auto first = rows.begin(); first != rows.end();) {
        auto last = first;
        while (last + 1 != rows.end() && (last + 1)->row() == last->row() + 1 &&
               (last + 1)->parent() == last->parent())
            ++last;
        selection.select(*first, last->siblingAtColumn(LayerTreeModel::layerColumn));
        first = last + 1;
    }
    return selection;
}

void LayersPanel::showSelection() {
    const std::optional<LayerID> active = session_->_state->activeLayerID;
    const QModelIndex current = active ? model_->indexOf(*active) : QModelIndex();
    QItemSelectionModel& rows = *view_->selectionModel();
    isFollowing_ = true;
    if (rows.currentIndex().siblingAtColumn(LayerTreeModel::layerColumn) != current)
        rows.setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    // A click that is under way builds on what is selected: that is touched only to be changed.
    if (chosenRows() != *session_->_selectedLayerIDs)
        rows.select(selectionOf(*session_->_selectedLayerIDs), QItemSelectionModel::ClearAndSelect);
    isFollowing_ = false;
}

void LayersPanel::takeSelection() {
    if (isFollowing_) return;
    const std::set<LayerID> chosen = chosenRows();
    if (chosen.empty() || *session_->_isLiveEditing) return showSelection();
    isFollowing_ = true;
    session_->_selectedLayerIDs.set(chosen);
    isFollowing_ = false;
    std::optional<LayerID> active = model_->id(view_->currentIndex());
    if (!active || !chosen.contains(*active)) active = session_->_state->activeLayerID;
    if (!active || !chosen.contains(*active)) active = *chosen.begin();
    activeShown_ = active;
    if (active != session_->_state->activeLayerID) {
        session_->setActiveLayer(*active);
    } else {
        refreshControls();
    }
}

void LayersPanel::refreshControls() {
    bar_->refresh();
    const LayerSelection layers(*session_);
    clipButton_->setEnabled(layers.canClip());
    clipButton_->setChecked(layers.areClipped());
    const bool isMaskTarget = session_->maskTarget().has_value();
    maskButton_->setEnabled(LayerMaskActions::canAdd(*session_));
    deleteButton_->setEnabled(isMaskTarget || layers.canRemove());
    deleteButton_->setToolTip(isMaskTarget ? QStringLiteral("Delete the mask")
                                           : QStringLiteral("Delete"));
    deleteButton_->setAccessibleName(deleteButton_->toolTip());
}

void LayersPanel::showFilter() {
    const int count = applyFilter(*view_, *model_, filter_);
    nothing_->setVisible(count == 0);
    nothing_->setGeometry(view_->viewport()->rect());
}

} // namespace ombrel
