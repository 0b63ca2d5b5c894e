// Which layers a long list shows: those of a kind whose name holds some words. Groups around them
// stay, opened. Values and pure functions but for applyFilter, which is for the main thread.
#pragma once

#include "Core/Layer.h"

#include <QString>
#include <cstdint>
#include <span>

class QTreeView;

namespace ombrel {

class LayerTreeModel;

enum class LayerKind : std::uint8_t {
    any,
    pixels,
    group,
    shape,
    text,
    instance,
    masked,
    clipped,
    effects,
    hidden,
    locked,
};

struct LayerKindName {
    LayerKind kind;
    const char* words;
};
std::span<const LayerKindName> layerKindNames();

struct LayerFilter {
    QString name; ///< anywhere in the layer's, whatever the case; empty: any
    LayerKind kind = LayerKind::any;

    bool showsAll() const { return name.isEmpty() && kind == LayerKind::any; }
    bool shows(const LayerNode& node) const;
    bool operator==(const LayerFilter&) const = default;
};

/// Hides the other rows. Returns how many layers the filter shows.
int applyFilter(QTreeView& view, const LayerTreeModel& model, const LayerFilter& filter);

} // namespace ombrel
