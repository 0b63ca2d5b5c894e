#include "Editor/EditRouting.h"

#include "Editor/DocumentSession.h"

#include <vector>

namespace ombrel {

EditRouting EditRouting::of(const DocumentSession& session) {
    return {session.maskTarget()};
}

std::optional<RoutedGrid> routedGrid(const DocumentState& state, LayerID layer, EditTarget target) {
    const LayerNode* node = state.find(layer);
    if (node == nullptr) return std::nullopt;
    if (target == EditTarget::mask) {
        if (!node->mask()) return std::nullopt;
        return RoutedGrid{node->mask()->pixels, node->mask()->offset, node->mask()->background};
    }
    if (node->pixelLayer() == nullptr || node->pixelLayer()->isLive()) return std::nullopt;
    return RoutedGrid{node->pixelLayer()->pixels, node->pixelLayer()->offset};
}

void writeTiles(DocumentState& state, LayerID layer, EditTarget target, const StrokeTiles& tiles) {
    const std::vector<std::pair<TileCoord, TileContent>> entries(tiles.begin(), tiles.end());
    state.update(layer, [&](LayerNode& node) {
        if (target == EditTarget::mask) {
            if (node.mask()) node.writeMask()->pixels.merge(entries);
        } else if (node.pixelLayer() != nullptr) {
            node.writePixelLayer()->pixels.merge(entries);
        }
    });
}

const DocumentState* MaskView::stateOf(const DocumentState& document, LayerID layer,
                                       TileStore& store) {
    const LayerNode* node = document.find(layer);
    if (node == nullptr || !node->mask()) {
        drop();
        return nullptr;
    }
    const bool isSameLayer = layer_ == layer && document_;
    if (isSameLayer && document == *document_) return &*state_;
    if (isSameLayer)
        picture_->update(*node->mask(), document.canvas.size, store);
    else
        picture_.emplace(*node->mask(), document.canvas.size, store);
    layer_ = layer;
    document_ = document;
    state_ = kind_ == Kind::editing ? MaskEditing::editingState(document, layer, *picture_)
                                    : MaskEditing::viewState(document, layer, *picture_);
    return &*state_;
}

void MaskView::drop() {
    layer_.reset();
    document_.reset();
    picture_.reset();
    state_.reset();
}

} // namespace ombrel
