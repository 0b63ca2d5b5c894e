#include "Commands/ClipStacks.h"

namespace ombrel::ClipStacks {

namespace {

/// The active layer among its siblings.
struct Place {
    std::vector<LayerNode> siblings;
    std::size_t index = 0;
};

/// Absent for groups too, where new layers go inside.
std::optional<Place> activePlace(const DocumentState& state) {
    const PixelLayer* layer = state.activePixelLayer();
    if (layer == nullptr) return std::nullopt;
    const DocumentState::Location location = state.location(layer->id).value();
    return Place{state.children(location.parent), location.index};
}

} // namespace

bool clips(const LayerNode& node) {
    return node.pixelLayer() != nullptr && node.properties().clipsToBelow;
}

std::size_t baseOf(std::span<const LayerNode> siblings, std::size_t index) {
    while (index > 0 && clips(siblings[index]))
        --index;
    return index;
}

std::size_t endOf(std::span<const LayerNode> siblings, std::size_t index) {
    ++index;
    while (index < siblings.size() && clips(siblings[index]))
        ++index;
    return index;
}

std::optional<LayerID> placeAbove(const DocumentState& state) {
    const std::optional<Place> place = activePlace(state);
    if (!place) return std::nullopt;
    const std::size_t end = endOf(place->siblings, place->index);
    if (end == place->index + 1) return std::nullopt;
    return place->siblings[end - 1].id();
}

bool isAmongClipped(const DocumentState& state) {
    const std::optional<Place> place = activePlace(state);
    return place && place->index > 0 && clips(place->siblings[place->index]) &&
           endOf(place->siblings, place->index) > place->index + 1;
}

} // namespace ombrel::ClipStacks
