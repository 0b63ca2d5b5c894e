#include "Core/DocumentState.h"

#include <algorithm>
#include <span>

namespace ombrel {

namespace {

using Nodes = std::span<const LayerNode>;

// Calls visit(node) bottom to top, a group after its children.
template <typename Visit>
void visitUpward(Nodes nodes, Visit& visit) {
    for (const LayerNode& node : nodes) {
        if (const GroupLayer* group = node.group()) visitUpward(group->children, visit);
        visit(node);
    }
}

// The indices that lead from the root to a node; empty where it isn't found.
std::vector<std::size_t> pathTo(Nodes nodes, LayerID id) {
    for (std::size_t index = 0; index < nodes.size(); ++index) {
        if (nodes[index].id() == id) return {index};
        const GroupLayer* group = nodes[index].group();
        if (group == nullptr) continue;
        std::vector<std::size_t> below = pathTo(group->children, id);
        if (below.empty()) continue;
        below.insert(below.begin(), index);
        return below;
    }
    return {};
}

const std::vector<LayerNode>& siblingsOn(const GroupLayer& root,
                                         std::span<const std::size_t> path) {
    const GroupLayer* group = &root;
    for (const std::size_t index : path.first(path.size() - 1))
        group = group->children[index].group();
    return group->children;
}

// Copies what is shared on the way down.
std::vector<LayerNode>& writeSiblingsOn(CowPtr<GroupLayer>& root,
                                        std::span<const std::size_t> path) {
    GroupLayer* group = &root.write();
    for (const std::size_t index : path.first(path.size() - 1))
        group = group->children[index].writeGroup();
    return group->children;
}

PremultipliedColor colorOf(const DocumentState::Background& background) {
    struct Visitor {
        PremultipliedColor operator()(const PremultipliedColor& color) const { return color; }
        PremultipliedColor operator()(DocumentState::White) const {
            return PremultipliedColor::white();
        }
        PremultipliedColor operator()(DocumentState::Black) const {
            return PremultipliedColor::black();
        }
        PremultipliedColor operator()(DocumentState::Transparent) const {
            return PremultipliedColor::transparent();
        }
    };
    return std::visit(Visitor{}, background);
}

PixelLayer backgroundLayer(PixelSize size, const PremultipliedColor& color, bool isLocked,
                           TileStore& store) {
    PixelLayer layer = PixelLayer::named("Background");
    if (isLocked) layer.properties.locks = LayerLocks::transparency | LayerLocks::position;
    layer.pixels.fill(PixelRect::ofSize(size), color, store);
    return layer;
}

} // namespace

DocumentState DocumentState::make(Canvas canvas, const Background& background, bool locksBackground,
                                  TileStore& store) {
    canvas.size = {std::max<std::int64_t>(canvas.size.width, 0),
                   std::max<std::int64_t>(canvas.size.height, 0)};
    DocumentState state;
    std::vector<LayerNode>& layers = state.root.write().children;
    if (!std::holds_alternative<Transparent>(background)) {
        layers.emplace_back(
            backgroundLayer(canvas.size, colorOf(background), locksBackground, store));
    }
    PixelLayer first = PixelLayer::named("Layer 1");
    state.activeLayerID = first.id;
    layers.emplace_back(std::move(first));
    state.canvas = std::move(canvas);
    return state;
}

const LayerNode* DocumentState::find(LayerID id) const {
    const std::vector<std::size_t> path = pathTo(root->children, id);
    return path.empty() ? nullptr : &siblingsOn(*root, path)[path.back()];
}

const LayerNode* DocumentState::activeLayer() const {
    return activeLayerID ? find(*activeLayerID) : nullptr;
}

const PixelLayer* DocumentState::activePixelLayer() const {
    const LayerNode* node = activeLayer();
    return node != nullptr ? node->pixelLayer() : nullptr;
}

std::vector<CowPtr<PixelLayer>> DocumentState::allPixelLayers() const {
    std::vector<CowPtr<PixelLayer>> layers;
    const auto visit = [&](const LayerNode& node) {
        if (const auto* layer = std::get_if<CowPtr<PixelLayer>>(&node.value))
            layers.push_back(*layer);
    };
    visitUpward(root->children, visit);
    return layers;
}

std::vector<LayerNode> DocumentState::allNodes() const {
    std::vector<LayerNode> nodes;
    const auto visit = [&](const LayerNode& node) { nodes.push_back(node); };
    visitUpward(root->children, visit);
    return nodes;
}

std::vector<LayerNode> DocumentState::children(std::optional<LayerID> parent) const {
    if (!parent) return root->children;
    const LayerNode* node = find(*parent);
    const GroupLayer* group = node != nullptr ? node->group() : nullptr;
    return group != nullptr ? group->children : std::vector<LayerNode>{};
}

std::optional<DocumentState::Location> DocumentState::location(LayerID id) const {
    const std::vector<std::size_t> path = pathTo(root->children, id);
    if (path.empty()) return std::nullopt;
    Location location{std::nullopt, path.back()};
    if (path.size() > 1) {
        const std::span<const std::size_t> toParent(path.data(), path.size() - 1);
        location.parent = siblingsOn(*root, toParent)[toParent.back()].id();
    }
    return location;
}

bool DocumentState::insert(std::vector<LayerNode> nodes, std::optional<LayerID> parent,
                           std::int64_t index) {
    std::vector<LayerNode>* siblings = nullptr;
    if (!parent) {
        siblings = &root.write().children;
    } else {
        const std::vector<std::size_t> path = pathTo(root->children, *parent);
        if (path.empty() || siblingsOn(*root, path)[path.back()].group() == nullptr) return false;
        siblings = &writeSiblingsOn(root, path)[path.back()].writeGroup()->children;
    }
    const auto place = std::clamp<std::int64_t>(index, 0, std::ssize(*siblings));
    siblings->insert(siblings->begin() + place, std::make_move_iterator(nodes.begin()),
                     std::make_move_iterator(nodes.end()));
    return true;
}

std::optional<LayerNode> DocumentState::remove(LayerID id) {
    const std::vector<std::size_t> path = pathTo(root->children, id);
    if (path.empty()) return std::nullopt;
    std::vector<LayerNode>& siblings = writeSiblingsOn(root, path);
    const auto place = siblings.begin() + static_cast<std::ptrdiff_t>(path.back());
    LayerNode removed = std::move(*place);
    siblings.erase(place);
    return removed;
}

bool DocumentState::update(LayerID id, const std::function<void(LayerNode&)>& change) {
    const std::vector<std::size_t> path = pathTo(root->children, id);
    if (path.empty()) return false;
    change(writeSiblingsOn(root, path)[path.back()]);
    return true;
}

std::vector<TileGrid> DocumentState::allMasks() const {
    std::vector<TileGrid> grids;
    const auto visit = [&](const LayerNode& node) {
        if (node.mask()) grids.push_back(node.mask()->pixels);
    };
    visitUpward(root->children, visit);
    return grids;
}

std::vector<TileGrid> DocumentState::allGrids() const {
    std::vector<TileGrid> grids;
    for (const CowPtr<PixelLayer>& layer : allPixelLayers())
        grids.push_back(layer->pixels);
    std::ranges::move(allMasks(), std::back_inserter(grids));
    return grids;
}

std::unordered_set<TileID> DocumentState::tileIDs() const {
    std::unordered_set<TileID> ids;
    for (const TileGrid& grid : allGrids())
        grid.forEachTile([&](TileCoord, const Tile& tile) { ids.insert(tile.id()); });
    return ids;
}

} // namespace ombrel
