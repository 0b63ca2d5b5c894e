#include "Commands/TreeModel.h"

#include <algorithm>
#include <cmath>

namespace ombrel::test {

namespace {

constexpr auto layerNotFound = CommandError::Kind::layerNotFound;

} // namespace

std::optional<LayerID> TreeModel::Found::parent() const {
    if (ancestors.empty()) return std::nullopt;
    return ancestors.back()->layer->id();
}

TreeModel::Nodes TreeModel::nodesOf(const std::vector<LayerNode>& layers) {
    Nodes nodes;
    for (const LayerNode& layer : layers) {
        Node node{layer, {}};
        if (GroupLayer* group = node.layer->writeGroup()) {
            node.children = nodesOf(group->children);
            group->children.clear();
        }
        nodes.push_back(std::move(node));
    }
    return nodes;
}

std::vector<LayerNode> TreeModel::layersOf(const Nodes& nodes) {
    std::vector<LayerNode> layers;
    for (const Node& node : nodes) {
        LayerNode layer = *node.layer;
        if (GroupLayer* group = layer.writeGroup()) group->children = layersOf(node.children);
        layers.push_back(std::move(layer));
    }
    return layers;
}

TreeModel::Found TreeModel::find(const std::function<bool(const Node&)>& matches) {
    std::vector<Found> open{{{}, &children_, 0}};
    while (!open.empty()) {
        Found here = open.back();
        open.pop_back();
        if (here.index >= here.siblings->size()) continue;
        if (matches(here.node())) return here;
        open.push_back({here.ancestors, here.siblings, here.index + 1});
        Found inside{here.ancestors, &here.node().children, 0};
        inside.ancestors.push_back(&here.node());
        open.push_back(inside);
    }
    return {};
}

std::set<LayerID> TreeModel::idsIn(const Node& node) const {
    std::set<LayerID> ids;
    if (node.layer) ids.insert(node.layer->id());
    for (const Node& child : node.children)
        ids.merge(idsIn(child));
    return ids;
}

std::vector<LayerID> TreeModel::outermost(const std::vector<LayerID>& ids) {
    std::vector<LayerID> result;
    find([&](const Node& node) { // visits everything, bottom to top
        const auto isListed = [&](const Node& n) {
            return std::ranges::find(ids, n.layer->id()) != ids.end();
        };
        const auto ancestors = find(node.layer->id()).ancestors;
        if (isListed(node) &&
            std::ranges::none_of(ancestors, [&](const Node* above) { return isListed(*above); }))
            result.push_back(node.layer->id());
        return false;
    });
    return result;
}

TreeModel::Node TreeModel::take(LayerID id) {
    const Found found = find(id);
    Node node = std::move(found.node());
    found.siblings->erase(found.siblings->begin() + static_cast<std::ptrdiff_t>(found.index));
    return node;
}

void TreeModel::putMarker(Nodes& siblings, std::int64_t index) {
    const auto place = std::clamp<std::int64_t>(index, 0, std::ssize(siblings));
    siblings.insert(siblings.begin() + place, Node{});
}

void TreeModel::replaceMarker(Nodes nodes) {
    const Found marker = find([](const Node& node) { return !node.layer; });
    const auto place = marker.siblings->begin() + static_cast<std::ptrdiff_t>(marker.index);
    marker.siblings->insert(marker.siblings->erase(place), nodes.begin(), nodes.end());
}

void TreeModel::addAboveActive(LayerNode layer, std::optional<LayerID> above) {
    if (!above) above = active_;
    active_ = layer.id();
    Nodes added = nodesOf({std::move(layer)});
    const Found found = above ? find(*above) : Found{};
    if (!found)
        putMarker(children_, std::ssize(children_));
    else if (found.node().isGroup())
        putMarker(found.node().children, std::ssize(found.node().children));
    else
        putMarker(*found.siblings, static_cast<std::int64_t>(found.index) + 1);
    replaceMarker(std::move(added));
}

TreeModel::Fault TreeModel::apply(const AddLayerCommand& command) {
    addAboveActive(command.layer, command.above);
    return {};
}

TreeModel::Fault TreeModel::apply(const AddRectangleLayerCommand& command) {
    addAboveActive(command.layer, {});
    return {};
}

TreeModel::Fault TreeModel::apply(const NewGroupCommand& command) {
    addAboveActive(command.group, command.above);
    return {};
}

TreeModel::Fault TreeModel::apply(const PasteLayerCommand& command) {
    addAboveActive(command.layer, {});
    return {};
}

TreeModel::Fault TreeModel::apply(const PlaceImageCommand& command) {
    PixelLayer layer = PixelLayer::named(command.layerName);
    layer.id = command.layerID;
    layer.pixels = command.pixels;
    // The nearest whole place to the middle.
    layer.offset = {std::llround(command.center.x - static_cast<double>(command.size.width) / 2),
                    std::llround(command.center.y - static_cast<double>(command.size.height) / 2)};
    addAboveActive(layer, command.above);
    return {};
}

TreeModel::Fault TreeModel::apply(const GroupLayersCommand& command) {
    const std::vector<LayerID> ids = outermost(command.layerIDs);
    if (ids.empty()) return layerNotFound;
    const Found top = find(ids.back());
    putMarker(*top.siblings, static_cast<std::int64_t>(top.index) + 1);
    Node group = nodesOf({command.group}).front();
    group.children.clear();
    for (const LayerID id : ids)
        group.children.push_back(take(id));
    replaceMarker({group});
    active_ = command.group.id;
    return {};
}

TreeModel::Fault TreeModel::apply(const UngroupCommand& command) {
    const Found found = find(command.layerID);
    if (!found) return layerNotFound;
    if (!found.node().isGroup()) return CommandError::Kind::notAGroup;
    if (found.node().children.empty()) {
        const DeleteLayersCommand removal{{command.layerID}};
        return apply(removal);
    }
    active_ = found.node().children.back().layer->id();
    putMarker(*found.siblings, static_cast<std::int64_t>(found.index));
    replaceMarker(take(command.layerID).children);
    return {};
}

TreeModel::Fault TreeModel::apply(const DeleteLayersCommand& command) {
    const std::vector<LayerID> ids = outermost(command.layerIDs);
    if (ids.empty()) return layerNotFound;
    const auto isGoing = [&](const Node& node) {
        return std::ranges::find(ids, node.layer->id()) != ids.end();
    };
    if (std::ranges::all_of(children_, isGoing)) return CommandError::Kind::lastLayer;
    for (const LayerID id : ids) {
        const Found going = find(id);
        if (!active_ || !idsIn(going.node()).contains(*active_)) continue;
        // The nearest that stays: first downward, then upward, then the parent.
        std::optional<LayerID> next = going.parent();
        for (std::size_t i = going.siblings->size(); i-- > going.index;)
            if (!isGoing((*going.siblings)[i])) next = (*going.siblings)[i].layer->id();
        for (std::size_t i = 0; i < going.index; ++i)
            if (!isGoing((*going.siblings)[i])) next = (*going.siblings)[i].layer->id();
        active_ = next;
        break;
    }
    for (const LayerID id : ids)
        take(id);
    return {};
}

void TreeModel::moveTo(Nodes& siblings, std::int64_t gap, const std::vector<LayerID>& ids,
                       const std::function<void(LayerProperties&)>& change) {
    putMarker(siblings, gap);
    Nodes moved;
    for (const LayerID id : ids) {
        const std::vector<Node*> above =
            find([](const Node& node) { return !node.layer; }).ancestors;
        const bool movesIntoItself =
            std::ranges::any_of(above, [&](const Node* node) { return node->is(id); });
        if (movesIntoItself) continue;
        moved.push_back(take(id));
        change(moved.back().layer->writeProperties());
    }
    replaceMarker(std::move(moved));
}

TreeModel::Fault TreeModel::apply(const MoveLayersCommand& command) {
    const std::vector<LayerID> ids = outermost(command.layerIDs);
    if (ids.empty()) return layerNotFound;
    Nodes* siblings = &children_;
    if (command.parent) {
        const Found parent = find(*command.parent);
        if (!parent) return layerNotFound;
        if (!parent.node().isGroup()) return CommandError::Kind::notAGroup;
        siblings = &parent.node().children;
    }
    moveTo(*siblings, command.gap, ids, [&](LayerProperties& properties) {
        if (command.releasesClipping) properties.clipsToBelow = false;
    });
    return {};
}

TreeModel::Fault TreeModel::apply(const ClipLayersCommand& command) {
    const Found base = find(command.baseID);
    if (!base) return layerNotFound;
    std::vector<LayerID> others = command.layerIDs;
    std::erase(others, command.baseID);
    const std::vector<LayerID> ids = outermost(others);
    if (ids.empty()) return others.empty() && !command.layerIDs.empty() ? Fault{} : layerNotFound;
    moveTo(*base.siblings, static_cast<std::int64_t>(base.index) + 1, ids,
           [](LayerProperties& properties) { properties.clipsToBelow = true; });
    return {};
}

TreeModel::Fault TreeModel::apply(const DuplicateLayersCommand& command) {
    const std::vector<LayerID> ids = outermost(command.layerIDs);
    if (ids.empty()) return layerNotFound;
    Nodes* siblings = &children_;
    if (command.parent) {
        const Found parent = find(*command.parent);
        if (!parent) return layerNotFound;
        if (!parent.node().isGroup()) return CommandError::Kind::notAGroup;
        siblings = &parent.node().children;
    }
    const std::function<void(Node&)> rename = [&](Node& node) {
        const LayerID copy = command.copies.at(node.layer->id());
        if (PixelLayer* layer = node.layer->writePixelLayer()) layer->id = copy;
        if (GroupLayer* group = node.layer->writeGroup()) group->id = copy;
        std::ranges::for_each(node.children, rename);
    };
    Nodes copies;
    for (const LayerID id : ids) {
        copies.push_back(find(id).node());
        rename(copies.back());
    }
    active_ = copies.back().layer->id();
    if (command.parent || command.gap) {
        putMarker(*siblings, command.gap.value_or(std::ssize(*siblings)));
        replaceMarker(std::move(copies));
        return {};
    }
    putAboveOriginals(ids, copies);
    return {};
}

void TreeModel::putAboveOriginals(const std::vector<LayerID>& ids, const Nodes& copies) {
    const auto isCopied = [&](const Node& node) {
        return std::ranges::find(ids, node.layer->id()) != ids.end();
    };
    std::set<LayerID> done;
    for (const LayerID id : ids) {
        if (done.contains(id)) continue;
        const Found found = find(id);
        const std::vector<Nodes> stacks = stacksOf(*found.siblings);
        std::size_t above = 0; // the top of the stack
        for (const Nodes& stack : stacks) {
            above += stack.size();
            if (above <= found.index) continue;
            const bool isBase = stack.front().is(id);
            putMarker(*found.siblings, static_cast<std::int64_t>(isBase ? above : found.index + 1));
            Nodes together;
            for (const Node& node : stack) {
                if (!isCopied(node) || (!isBase && !node.is(id))) continue;
                const auto place = std::ranges::find(ids, node.layer->id()) - ids.begin();
                together.push_back(copies[static_cast<std::size_t>(place)]);
                done.insert(node.layer->id());
            }
            replaceMarker(std::move(together));
            break;
        }
    }
}

std::vector<TreeModel::Nodes> TreeModel::stacksOf(const Nodes& siblings) {
    std::vector<Nodes> stacks;
    for (const Node& node : siblings) {
        const bool clips = !node.isGroup() && node.layer->properties().clipsToBelow;
        if (stacks.empty() || !clips) stacks.emplace_back();
        stacks.back().push_back(node);
    }
    return stacks;
}

TreeModel::Fault TreeModel::apply(const ArrangeLayersCommand& command) {
    using Arrangement = ArrangeLayersCommand::Arrangement;
    const std::vector<LayerID> ids = outermost(command.layerIDs);
    if (ids.empty()) return layerNotFound;
    const bool goesDown = command.arrangement == Arrangement::sendBackward ||
                          command.arrangement == Arrangement::sendToBack;
    const bool goesFar = command.arrangement == Arrangement::bringToFront ||
                         command.arrangement == Arrangement::sendToBack;
    std::set<std::optional<LayerID>> arranged;
    // Lists of layers move, each as its lowest is chosen. A run of chosen ones lets what is above
    // it pass: one, or all there are.
    const auto arrange = [&](std::vector<Nodes> list) {
        if (goesDown) std::ranges::reverse(list);
        std::vector<Nodes> result;
        std::vector<Nodes> run;
        for (Nodes& each : list) {
            const LayerNode& lowest = *each.front().layer;
            const bool isChosen = std::ranges::find(ids, lowest.id()) != ids.end() &&
                                  !lowest.properties().locks.contains(LayerLocks::position);
            (isChosen ? run : result).push_back(std::move(each));
            if (isChosen || goesFar) continue;
            std::ranges::move(run, std::back_inserter(result));
            run.clear();
        }
        std::ranges::move(run, std::back_inserter(result));
        if (goesDown) std::ranges::reverse(result);
        return result;
    };
    const auto joined = [](const std::vector<Nodes>& list) {
        Nodes nodes;
        for (const Nodes& each : list)
            nodes.insert(nodes.end(), each.begin(), each.end());
        return nodes;
    };
    const auto singles = [](const Nodes& nodes, std::size_t from) {
        std::vector<Nodes> list;
        for (std::size_t i = from; i < nodes.size(); ++i)
            list.push_back({nodes[i]});
        return list;
    };
    for (const LayerID id : ids) {
        const Found found = find(id);
        if (!arranged.insert(found.parent()).second) continue;
        Nodes& list = *found.siblings;
        if (!command.keepsStacks) {
            list = joined(arrange(singles(list, 0)));
            continue;
        }
        std::vector<Nodes> stacks = stacksOf(list);
        for (Nodes& stack : stacks) {
            const Node& base = stack.front();
            const bool moves = std::ranges::find(ids, base.layer->id()) != ids.end() &&
                               !base.layer->properties().locks.contains(LayerLocks::position);
            if (!moves) stack = joined({{base}, joined(arrange(singles(stack, 1)))});
        }
        list = joined(arrange(std::move(stacks)));
    }
    return {};
}

TreeModel::Fault TreeModel::setProperties(LayerID id,
                                          const std::function<void(LayerProperties&)>& change) {
    const Found found = find(id);
    if (!found) return layerNotFound;
    change(found.node().layer->writeProperties());
    return {};
}

TreeModel::Fault TreeModel::apply(const SetLayerPropertiesCommand& command) {
    return setProperties(command.layerID,
                         [&](LayerProperties& properties) { properties = command.properties; });
}

TreeModel::Fault TreeModel::apply(const SetLayersPropertiesCommand& command) {
    for (const auto& [id, value] : command.properties)
        setProperties(id, [&](LayerProperties& properties) { properties = value; });
    return {};
}

TreeModel::Fault TreeModel::apply(const SetLayersVisibilityCommand& command) {
    for (const auto& [id, isVisible] : command.visibility)
        setProperties(id, [&](LayerProperties& properties) { properties.isVisible = isVisible; });
    return {};
}

TreeModel::Fault TreeModel::apply(const SetClippingCommand& command) {
    Fault fault = layerNotFound;
    for (const LayerID id : command.layerIDs) {
        const Fault each = setProperties(
            id, [&](LayerProperties& properties) { properties.clipsToBelow = command.clipped; });
        if (!each) fault.reset();
    }
    return fault;
}

} // namespace ombrel::test
