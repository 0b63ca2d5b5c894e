#include "Commands/TranslateLayersCommand.h"

#include "Commands/LayerTree.h"

#include <algorithm>

namespace ombrel {

namespace {

constexpr std::int64_t farthestOffset = std::int64_t{1} << 36; ///< far from where tiles end

PixelOffset sum(PixelOffset offset, PixelOffset by) {
    const auto limited = [](std::int64_t value) {
        return std::clamp(value, -farthestOffset, farthestOffset);
    };
    return {limited(offset.dx + limited(by.dx)), limited(offset.dy + limited(by.dy))};
}

void translate(LayerNode& node, PixelOffset by) {
    if (node.mask() && node.mask()->isLinked) {
        LayerMask& mask = *node.writeMask();
        mask.offset = sum(mask.offset, by);
    }
    if (PixelLayer* layer = node.writePixelLayer()) {
        layer->offset = sum(layer->offset, by);
    } else {
        for (LayerNode& child : node.writeGroup()->children)
            translate(child, by);
    }
}

const LayerNode* lockedWithin(const LayerNode& node, LayerLocks locks) {
    if ((node.properties().locks.rawValue & locks.rawValue) != 0) return &node;
    if (const GroupLayer* group = node.group()) {
        for (const LayerNode& child : group->children)
            if (const LayerNode* locked = lockedWithin(child, locks)) return locked;
    }
    return nullptr;
}

} // namespace

std::optional<std::string> TranslateLayersCommand::coalescingKey() const {
    if (!coalesces) return std::nullopt;
    std::vector<LayerID> sorted = layerIDs;
    std::ranges::sort(sorted);
    std::string key = "translate";
    for (const LayerID id : sorted)
        key.append(" ").append(id.rawValue.text());
    return key;
}

CommandResult TranslateLayersCommand::apply(DocumentState& state, const CommandContext&) const {
    const auto ids = LayerTree::reduced(state, layerIDs);
    if (!ids) return std::unexpected(ids.error());
    if (const LayerNode* locked = lockedNode(state, *ids, LayerLocks::position))
        return std::unexpected(CommandError::layerLocked(locked->properties().name));
    translateLayers(state, *ids, {dx, dy});
    return {};
}

void translateLayers(DocumentState& state, std::span<const LayerID> ids, PixelOffset by) {
    for (const LayerID id : ids)
        state.update(id, [&](LayerNode& node) { translate(node, by); });
}

const LayerNode* lockedNode(const DocumentState& state, std::span<const LayerID> ids,
                            LayerLocks locks) {
    for (const LayerID id : ids) {
        const LayerNode* node = state.find(id);
        if (node == nullptr) continue;
        if (const LayerNode* locked = lockedWithin(*node, locks)) return locked;
    }
    return nullptr;
}

} // namespace ombrel
