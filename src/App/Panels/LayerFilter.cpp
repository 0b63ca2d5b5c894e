#include "App/Panels/LayerFilter.h"

#include "App/Look/QtText.h"
#include "App/Panels/LayerTreeModel.h"

#include <QTreeView>
#include <array>

namespace ombrel {

namespace {

constexpr std::array<LayerKindName, 11> kindNames{{
    {LayerKind::any, "All kinds"},
    {LayerKind::pixels, "Pixels"},
    {LayerKind::group, "Groups"},
    {LayerKind::shape, "Shapes"},
    {LayerKind::text, "Text"},
    {LayerKind::instance, "Instances"},
    {LayerKind::masked, "With a mask"},
    {LayerKind::clipped, "Clipped"},
    {LayerKind::effects, "With effects"},
    {LayerKind::hidden, "Hidden"},
    {LayerKind::locked, "Locked"},
}};

bool isOfKind(const LayerNode& node, LayerKind kind) {
    const PixelLayer* layer = node.pixelLayer();
    switch (kind) {
    case LayerKind::any:
        return true;
    case LayerKind::pixels:
        return layer != nullptr && !layer->isLive();
    case LayerKind::group:
        return layer == nullptr;
    case LayerKind::shape:
        return layer != nullptr && layer->shape;
    case LayerKind::text:
        return layer != nullptr && layer->text;
    case LayerKind::instance:
        return layer != nullptr && layer->instance;
    case LayerKind::masked:
        return node.mask().has_value();
    case LayerKind::clipped:
        return layer != nullptr && layer->properties.clipsToBelow;
    case LayerKind::effects:
        return layer != nullptr && !layer->effects->empty();
    case LayerKind::hidden:
        return !node.properties().isVisible;
    case LayerKind::locked:
        return node.properties().locks.rawValue != 0;
    }
    return true;
}

struct Applying {
    QTreeView& view;
    const LayerTreeModel& model;
    const LayerFilter& filter;

    /// How many layers below `parent` are shown for their own sake.
    int run(const QModelIndex& parent) const {
        int count = 0;
        for (int row = 0; row < model.rowCount(parent); ++row) {
            const QModelIndex index = model.index(row, LayerTreeModel::visibilityColumn, parent);
            const int inside = run(index);
            const bool isShown = filter.shows(*model.node(index));
            const bool isHidden = !isShown && inside == 0;
            if (view.isRowHidden(row, parent) != isHidden) view.setRowHidden(row, parent, isHidden);
            if (inside > 0 && !filter.showsAll()) view.expand(index);
            count += inside + static_cast<int>(isShown);
        }
        return count;
    }
};

} // namespace

std::span<const LayerKindName> layerKindNames() {
    return kindNames;
}

bool LayerFilter::shows(const LayerNode& node) const {
    return isOfKind(node, kind) &&
           (name.isEmpty() || toQt(node.properties().name).contains(name, Qt::CaseInsensitive));
}

int applyFilter(QTreeView& view, const LayerTreeModel& model, const LayerFilter& filter) {
    return Applying{view, model, filter}.run({});
}

} // namespace ombrel
