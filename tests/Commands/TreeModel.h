// The layer tree once more, in the plainest way: nested vectors, walked whole for every question.
// Tree edits are told by putting a marker where something goes, before anything moves. What the
// commands do is compared with this.
#pragma once

#include "Commands/AddLayerCommands.h"
#include "Commands/ArrangeCommands.h"
#include "Commands/DeleteLayersCommand.h"
#include "Commands/DuplicateLayersCommand.h"
#include "Commands/GroupCommands.h"
#include "Commands/LayerPropertyCommands.h"

#include <functional>
#include <set>

namespace ombrel::test {

class TreeModel {
public:
    using Fault = std::optional<CommandError::Kind>;

    explicit TreeModel(const DocumentState& state)
        : children_(nodesOf(state.root->children)), active_(state.activeLayerID) {}

    Fault apply(const AddLayerCommand& command);
    Fault apply(const AddRectangleLayerCommand& command);
    Fault apply(const NewGroupCommand& command);
    Fault apply(const PasteLayerCommand& command);
    Fault apply(const PlaceImageCommand& command);
    Fault apply(const GroupLayersCommand& command);
    Fault apply(const UngroupCommand& command);
    Fault apply(const DeleteLayersCommand& command);
    Fault apply(const MoveLayersCommand& command);
    Fault apply(const ClipLayersCommand& command);
    Fault apply(const DuplicateLayersCommand& command);
    Fault apply(const ArrangeLayersCommand& command);
    Fault apply(const SetLayerPropertiesCommand& command);
    Fault apply(const SetLayersPropertiesCommand& command);
    Fault apply(const SetLayersVisibilityCommand& command);
    Fault apply(const SetClippingCommand& command);

    std::vector<LayerNode> layers() const { return layersOf(children_); }
    std::optional<LayerID> active() const { return active_; }

private:
    struct Node {
        std::optional<LayerNode> layer; ///< a group without its children; absent in a marker
        std::vector<Node> children;

        bool is(LayerID id) const { return layer && layer->id() == id; }
        bool isGroup() const { return layer && layer->group() != nullptr; }
    };
    using Nodes = std::vector<Node>;
    /// A node with the list that it stands in and those above it, the root first.
    struct Found {
        std::vector<Node*> ancestors;
        Nodes* siblings = nullptr;
        std::size_t index = 0;

        explicit operator bool() const { return siblings != nullptr; }
        Node& node() const { return (*siblings)[index]; }
        std::optional<LayerID> parent() const;
    };

    static Nodes nodesOf(const std::vector<LayerNode>& layers);
    static std::vector<LayerNode> layersOf(const Nodes& nodes);
    Found find(const std::function<bool(const Node&)>& matches);
    Found find(LayerID id) {
        return find([=](const Node& node) { return node.is(id); });
    }
    /// The listed nodes that have no listed ancestor, bottom to top.
    std::vector<LayerID> outermost(const std::vector<LayerID>& ids);
    std::set<LayerID> idsIn(const Node& node) const;
    Node take(LayerID id);
    void putMarker(Nodes& siblings, std::int64_t index);
    void replaceMarker(Nodes nodes);
    void addAboveActive(LayerNode layer, std::optional<LayerID> above);
    /// Each layer with what clips to it above it, bottom to top.
    static std::vector<Nodes> stacksOf(const Nodes& siblings);
    void putAboveOriginals(const std::vector<LayerID>& ids, const Nodes& copies);
    void moveTo(Nodes& siblings, std::int64_t gap, const std::vector<LayerID>& ids,
                const std::function<void(LayerProperties&)>& change);
    Fault setProperties(LayerID id, const std::function<void(LayerProperties&)>& change);

    Nodes children_;
    std::optional<LayerID> active_;
};

} // namespace ombrel::test
