#include "Core/CompositeProgram.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace ombrel {

namespace {

using Nodes = std::span<const LayerNode>;

CompositeProgram compileChildren(Nodes children, int depth);

void append(CompositeProgram& program, CompositeProgram steps) {
    std::ranges::move(steps, std::back_inserter(program));
}

const CowPtr<PixelLayer>& sharedLayer(const LayerNode& node) {
    return std::get<CowPtr<PixelLayer>>(node.value);
}

CompositeProgram compileGroup(const GroupLayer& group, int depth) {
    CompositeProgram steps = compileChildren(group.children, depth + 1);
    if (std::ranges::none_of(steps, &CompositeStep::hasLayer)) return {};
    const LayerProperties& properties = group.properties;
    const LayerMask* mask = group.activeMask();
    const bool passesThrough = properties.blendMode == BlendMode::passThrough;
    if (depth > maximumGroupDepth) return steps;
    if (passesThrough && properties.opacity >= 1 && mask == nullptr) return steps;

    CompositeProgram program;
    program.reserve(steps.size() + 2);
    program.push_back({BeginStep{!passesThrough}});
    append(program, std::move(steps));
    program.push_back({EndStep{!passesThrough, properties.opacity, properties.blendMode,
                               mask != nullptr ? std::optional(*mask) : std::nullopt}});
    return program;
}

CompositeProgram compileNode(const LayerNode& node, int depth) {
    if (const GroupLayer* group = node.group()) return compileGroup(*group, depth);
    CompositeProgram program;
    program.push_back({LayerStep{sharedLayer(node)}});
    return program;
}

// The pixel layers just above a base that clip to it.
Nodes clipRunAbove(Nodes children, std::size_t base) {
    std::size_t end = base + 1;
    while (end < children.size() && children[end].pixelLayer() != nullptr &&
           children[end].properties().clipsToBelow)
        ++end;
    return children.subspan(base + 1, end - base - 1);
}

// The base and its visible clipped layers in a level of their own, which takes over the opacity and
// mode of a base that is a pixel layer.
CompositeProgram clippingLevel(const LayerNode& base, CompositeProgram baseSteps,
                               CompositeProgram clippedSteps) {
    EndStep end{.isolated = true, .opacity = 1, .blendMode = BlendMode::normal, .mask = {}};
    if (const PixelLayer* layer = base.pixelLayer()) {
        end.opacity = layer->properties.opacity;
        end.blendMode = layer->properties.blendMode;
        PixelLayer plain = *layer;
        plain.properties.opacity = 1;
        plain.properties.blendMode = BlendMode::normal;
        baseSteps = CompositeProgram{{LayerStep{std::move(plain)}}};
    }
    CompositeProgram program;
    program.reserve(baseSteps.size() + clippedSteps.size() + 2);
    program.push_back({BeginStep{true}});
    append(program, std::move(baseSteps));
    append(program, std::move(clippedSteps));
    program.push_back({std::move(end)});
    return program;
}

CompositeProgram compileChildren(Nodes children, int depth) {
    CompositeProgram program;
    for (std::size_t index = 0; index < children.size();) {
        const LayerNode& base = children[index];
        const Nodes run = clipRunAbove(children, index);
        index += 1 + run.size();
        if (!base.properties().isVisible) continue;

        CompositeProgram steps = compileNode(base, depth);
        CompositeProgram clipped;
        for (const LayerNode& layer : run) {
            if (layer.properties().isVisible) clipped.push_back({ClippedStep{sharedLayer(layer)}});
        }
        // Too deep, or above nothing: the clipped layers have nothing to show themselves on.
        const bool clips = !clipped.empty() && depth <= maximumGroupDepth && !steps.empty();
        append(program, clips ? clippingLevel(base, std::move(steps), std::move(clipped))
                              : std::move(steps));
    }
    return program;
}

bool sameMaskStructure(const std::optional<LayerMask>& a, const std::optional<LayerMask>& b) {
    if (!a || !b) return !a && !b;
    return a->background == b->background && a->offset == b->offset;
}

} // namespace

bool CompositeStep::hasLayer() const {
    return pixelLayer() != nullptr;
}

const PixelLayer* CompositeStep::pixelLayer() const {
    if (const auto* step = std::get_if<LayerStep>(&value)) return step->layer.get();
    if (const auto* step = std::get_if<ClippedStep>(&value)) return step->layer.get();
    return nullptr;
}

const LayerMask* CompositeStep::mask() const {
    if (const PixelLayer* layer = pixelLayer()) return layer->activeMask();
    const auto* end = std::get_if<EndStep>(&value);
    return end != nullptr && end->mask ? &*end->mask : nullptr;
}

bool CompositeStep::operator==(const CompositeStep& other) const {
    if (value.index() != other.value.index()) return false;
    if (const PixelLayer* layer = pixelLayer()) return layer->id == other.pixelLayer()->id;
    if (const auto* begin = std::get_if<BeginStep>(&value))
        return begin->isolated == std::get<BeginStep>(other.value).isolated;
    const auto& end = std::get<EndStep>(value);
    const auto& otherEnd = std::get<EndStep>(other.value);
    return end.isolated == otherEnd.isolated && end.opacity == otherEnd.opacity &&
           end.blendMode == otherEnd.blendMode && sameMaskStructure(end.mask, otherEnd.mask);
}

CompositeProgram compileProgram(const GroupLayer& root) {
    return compileChildren(root.children, 0);
}

} // namespace ombrel
