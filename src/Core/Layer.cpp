#include "Core/Layer.h"

namespace ombrel {

namespace {

const LayerMask* enabledMask(const std::optional<LayerMask>& mask) {
    return mask && mask->isEnabled ? &*mask : nullptr;
}

} // namespace

LayerID LayerID::make() {
    return {Uuid::make()};
}

PixelLayer PixelLayer::named(std::string name) {
    PixelLayer layer;
    layer.properties.name = std::move(name);
    return layer;
}

GroupLayer GroupLayer::named(std::string name) {
    GroupLayer group;
    group.properties.name = std::move(name);
    return group;
}

void PixelLayer::replacePixels(TileGrid grid) {
    pixels = std::move(grid);
    shape.reset();
    text.reset();
    instance.reset();
}

const LayerMask* PixelLayer::activeMask() const {
    return enabledMask(mask);
}

const LayerMask* GroupLayer::activeMask() const {
    return enabledMask(mask);
}

bool GroupLayer::operator==(const GroupLayer& other) const {
    return id == other.id && properties == other.properties && mask == other.mask &&
           children == other.children;
}

const PixelLayer* LayerNode::pixelLayer() const {
    const auto* layer = std::get_if<CowPtr<PixelLayer>>(&value);
    return layer != nullptr ? layer->get() : nullptr;
}

const GroupLayer* LayerNode::group() const {
    const auto* layer = std::get_if<CowPtr<GroupLayer>>(&value);
    return layer != nullptr ? layer->get() : nullptr;
}

PixelLayer* LayerNode::writePixelLayer() {
    auto* layer = std::get_if<CowPtr<PixelLayer>>(&value);
    return layer != nullptr ? &layer->write() : nullptr;
}

GroupLayer* LayerNode::writeGroup() {
    auto* layer = std::get_if<CowPtr<GroupLayer>>(&value);
    return layer != nullptr ? &layer->write() : nullptr;
}

LayerID LayerNode::id() const {
    return std::visit([](const auto& layer) { return layer->id; }, value);
}

const LayerProperties& LayerNode::properties() const {
    return std::visit([](const auto& layer) -> const LayerProperties& { return layer->properties; },
                      value);
}

LayerProperties& LayerNode::writeProperties() {
    return std::visit([](auto& layer) -> LayerProperties& { return layer.write().properties; },
                      value);
}

const std::optional<LayerMask>& LayerNode::mask() const {
    return std::visit(
        [](const auto& layer) -> const std::optional<LayerMask>& { return layer->mask; }, value);
}

std::optional<LayerMask>& LayerNode::writeMask() {
    return std::visit([](auto& layer) -> std::optional<LayerMask>& { return layer.write().mask; },
                      value);
}

} // namespace ombrel
