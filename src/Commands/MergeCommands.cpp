#include "Commands/MergeCommands.h"

#include "Commands/LayerTree.h"
#include "Core/TilePixels.h"
#include "Core/TileStore.h"
#include "Engine/Flattener.h"

#include <algorithm>
#include <limits>
#include <unordered_set>
#include <utility>

namespace ombrel {

namespace {

using Kind = CommandError::Kind;
using Merged = std::expected<TileGrid, CommandError>;

std::unexpected<CommandError> failure(Kind kind) {
    return std::unexpected(CommandError::of(kind));
}

/// The canvas tiles that any layer of a program touches.
TileRange tilesOf(const CompositeProgram& program) {
    PixelRect all;
    for (const CompositeStep& step : program) {
        const PixelLayer* layer = step.pixelLayer();
        if (layer == nullptr || layer->pixels.isEmpty()) continue;
        const TileRange cells = layer->pixels.tileBounds();
        const PixelRect rect{cells.minX * tileSize, cells.minY * tileSize,
                             (cells.maxX - cells.minX + 1) * tileSize,
                             (cells.maxY - cells.minY + 1) * tileSize};
        all = unionOf(all, rect.offsetBy(layer->offset));
    }
    return all.tileRange();
}

/// What a program shows, also beyond the canvas.
Merged composite(const DocumentState& state, const CompositeProgram& program,
                 const TileRange& range, const CommandContext& in) {
    auto grid = Flattener::compositeTiles(program, !state.canvas.blendUsingGamma1, range, in.device,
                                          in.store, in.progress);
    if (!grid) return std::unexpected(CommandError::from(grid.error()));
    return *std::move(grid);
}

Merged composite(const DocumentState& state, std::vector<LayerNode> nodes,
                 const CommandContext& in) {
    GroupLayer group;
    group.children = std::move(nodes);
    const CompositeProgram program = compileProgram(group);
    return composite(state, program, tilesOf(program), in);
}

std::optional<CommandError> refusalOfLocks(const CompositeProgram& program) {
    for (const CompositeStep& step : program) {
        const PixelLayer* layer = step.pixelLayer();
        if (layer != nullptr && layer->properties.locks.contains(LayerLocks::pixels))
            return CommandError::layerLocked(layer->properties.name);
    }
    return std::nullopt;
}

PixelLayer mergedLayer(LayerID id, LayerProperties properties, TileGrid pixels) {
    PixelLayer layer;
    layer.id = id;
    layer.properties = std::move(properties);
    layer.pixels = std::move(pixels);
    return layer;
}

/// As a new layer has them, under a name.
LayerProperties plainProperties(const std::string& name) {
    LayerProperties properties;
    properties.name = name;
    return properties;
}

/// Two layers that lie on each other, on their way to be one.
struct Pair {
    PixelLayer lower;
    PixelLayer upper;
    std::vector<PixelLayer> clipped; ///< visible layers that clip to the upper one
    LayerProperties properties;      ///< of the result

    std::vector<LayerNode> nodes() const {
        std::vector<LayerNode> nodes{lower, upper};
        nodes.insert(nodes.end(), clipped.begin(), clipped.end());
        return nodes;
    }
};

std::expected<Pair, CommandError> pairAt(const DocumentState& state, LayerID id) {
    const LayerNode* node = state.find(id);
    if (node == nullptr) return failure(Kind::layerNotFound);
    if (node->pixelLayer() == nullptr) return failure(Kind::notAPixelLayer);
    const DocumentState::Location location = state.location(id).value();
    const std::vector<LayerNode> siblings = state.children(location.parent);
    const std::size_t index = location.index;
    if (index == 0 || siblings[index - 1].pixelLayer() == nullptr)
        return failure(Kind::noLayerBelow);
    Pair pair{*siblings[index - 1].pixelLayer(), *node->pixelLayer(), {}, {}};
    for (std::size_t above = index + 1; above < siblings.size(); ++above) {
        const PixelLayer* layer = siblings[above].pixelLayer();
        const bool clips = layer != nullptr && layer->properties.clipsToBelow;
        if (!clips || pair.upper.properties.clipsToBelow) break;
        if (layer->properties.isVisible) pair.clipped.push_back(*layer);
    }
    for (const PixelLayer* layer : {&pair.upper, &pair.lower}) {
        if (!layer->properties.isVisible) return failure(Kind::layerHidden);
        if (layer->properties.locks.contains(LayerLocks::pixels))
            return std::unexpected(CommandError::layerLocked(layer->properties.name));
    }
    pair.properties = pair.lower.properties;
    // The first child of a group has nothing to clip to.
    const bool lowerClips = pair.lower.properties.clipsToBelow && index > 1;
    const bool clipsToLower = pair.upper.properties.clipsToBelow && !lowerClips;
    if (clipsToLower) {
        // The two make a level that takes over opacity and mode of its base: so does the result.
        pair.lower.properties.opacity = 1;
    } else {
        pair.properties.opacity = 1;
        pair.upper.properties.clipsToBelow = false;
    }
    pair.lower.properties.blendMode = BlendMode::normal;
    pair.lower.properties.clipsToBelow = false;
    return pair;
}

CommandResult mergeGroup(DocumentState& state, const GroupLayer& group, const CommandContext& in) {
    if (!group.properties.isVisible) return failure(Kind::layerHidden);
    if (auto refusal = refusalOfLocks(compileProgram(group)))
        return std::unexpected(*std::move(refusal));
    auto pixels = composite(state, group.children, in);
    if (!pixels) return std::unexpected(pixels.error());
    PixelLayer layer = mergedLayer(group.id, group.properties, *std::move(pixels));
    layer.properties.clipsToBelow = false;
    if (layer.properties.blendMode == BlendMode::passThrough)
        layer.properties.blendMode = BlendMode::normal;
    layer.mask = group.mask;
    const bool holdsActive =
        state.activeLayerID && LayerTree::isWithin(state, *state.activeLayerID, group.id);
    if (holdsActive) state.activeLayerID = layer.id;
    state.update(layer.id, [&](LayerNode& node) { node = std::move(layer); });
    return {};
}

/// Also where they lie in other tiles.
bool holdSamePixels(const TileGrid& one, const TileGrid& other) {
    std::vector<std::byte> first(bytesPerTile(one.format()));
    std::vector<std::byte> second(first.size());
    bool areSame = true;
    TileGrid::diff(one, other, [&](TileCoord, const TileCell& before, const TileCell& after) {
        TilePixels::write(one.format(), before, first.data());
        TilePixels::write(one.format(), after, second.data());
        areSame = first == second;
        return areSame;
    });
    return areSame;
}

/// Whether a layer like this one, but for its identifier, is all that the document holds.
bool isAlone(const DocumentState& state, PixelLayer like) {
    const std::vector<LayerNode>& children = state.root->children;
    const PixelLayer* only = children.size() == 1 ? children.front().pixelLayer() : nullptr;
    if (only == nullptr) return false;
    like.id = only->id;
    const TileGrid pixels = std::exchange(like.pixels, only->pixels);
    return like == *only && holdSamePixels(pixels, only->pixels);
}

/// Takes out the layers of a program, and groups that they leave empty. `place` gets the index that
/// the lowest node to go had at the root.
void removeShown(std::vector<LayerNode>& nodes, const std::unordered_set<Uuid>& shown,
                 std::optional<std::size_t>& place) {
    for (std::size_t index = 0; index < nodes.size();) {
        bool isGone = shown.contains(nodes[index].id().rawValue);
        if (const GroupLayer* group = nodes[index].group(); group && !group->children.empty()) {
            std::optional<std::size_t> within;
            removeShown(nodes[index].writeGroup()->children, shown, within);
            isGone = nodes[index].group()->children.empty();
            if (within && !place) place = index;
        }
        if (!isGone) {
            ++index;
            continue;
        }
        if (!place) place = index;
        nodes.erase(nodes.begin() + static_cast<std::ptrdiff_t>(index));
    }
}

} // namespace

CommandResult MergeDownCommand::apply(DocumentState& state, const CommandContext& in) const {
    const auto pair = pairAt(state, layerID);
    if (!pair) return std::unexpected(pair.error());
    for (const PixelLayer& layer : pair->clipped) {
        if (layer.properties.locks.contains(LayerLocks::pixels))
            return std::unexpected(CommandError::layerLocked(layer.properties.name));
    }
    auto pixels = composite(state, pair->nodes(), in);
    if (!pixels) return std::unexpected(pixels.error());
    state.remove(layerID);
    for (const PixelLayer& layer : pair->clipped)
        state.remove(layer.id);
    PixelLayer merged = mergedLayer(pair->lower.id, pair->properties, *std::move(pixels));
    state.activeLayerID = merged.id;
    state.update(merged.id, [&](LayerNode& node) { node = std::move(merged); });
    return {};
}

CommandResult MergeLayersCommand::apply(DocumentState& state, const CommandContext& in) const {
    const auto reduced = LayerTree::reduced(state, layerIDs);
    if (!reduced) return std::unexpected(reduced.error());
    if (reduced->size() == 1) {
        const LayerNode only = *state.find(reduced->front());
        if (only.group() != nullptr) return mergeGroup(state, *only.group(), in);
        return MergeDownCommand{only.id()}.apply(state, in);
    }
    std::vector<LayerNode> nodes;
    for (const LayerID id : *reduced) {
        const LayerNode* node = state.find(id);
        if (node->properties().isVisible) nodes.push_back(*node);
    }
    if (nodes.empty()) return failure(Kind::layerHidden);
    GroupLayer all;
    all.children = nodes;
    if (auto refusal = refusalOfLocks(compileProgram(all)))
        return std::unexpected(*std::move(refusal));
    auto pixels = composite(state, nodes, in);
    if (!pixels) return std::unexpected(pixels.error());
    const LayerNode top = nodes.back();
    nodes.pop_back();
    for (const LayerNode& node : nodes)
        state.remove(node.id());
    PixelLayer merged =
        mergedLayer(top.id(), plainProperties(top.properties().name), *std::move(pixels));
    state.activeLayerID = merged.id;
    state.update(merged.id, [&](LayerNode& node) { node = std::move(merged); });
    return {};
}

CommandResult MergeGroupCommand::apply(DocumentState& state, const CommandContext& in) const {
    const LayerNode* node = state.find(layerID);
    if (node == nullptr) return failure(Kind::layerNotFound);
    if (node->group() == nullptr) return failure(Kind::notAGroup);
    return mergeGroup(state, GroupLayer(*node->group()), in);
}

CommandResult MergeVisibleCommand::apply(DocumentState& state, const CommandContext& in) const {
    const CompositeProgram program = state.compositeProgram();
    if (auto refusal = refusalOfLocks(program)) return std::unexpected(*std::move(refusal));
    const PixelLayer* lowest = nullptr;
    std::unordered_set<Uuid> shown;
    for (const CompositeStep& step : program) {
        if (step.pixelLayer() == nullptr) continue;
        if (lowest == nullptr) lowest = step.pixelLayer();
        shown.insert(step.pixelLayer()->id.rawValue);
    }
    if (lowest == nullptr) return failure(Kind::layerHidden);
    auto pixels = composite(state, program, tilesOf(program), in);
    if (!pixels) return std::unexpected(pixels.error());
    PixelLayer merged =
        mergedLayer(lowest->id, plainProperties(lowest->properties.name), *std::move(pixels));
    merged.properties.locks = lowest->properties.locks;
    state.activeLayerID = merged.id;
    std::optional<std::size_t> place;
    removeShown(state.root.write().children, shown, place);
    state.insert({std::move(merged)}, std::nullopt, static_cast<std::int64_t>(place.value_or(0)));
    return {};
}

CommandResult FlattenImageCommand::apply(DocumentState& state, const CommandContext& in) const {
    const PixelRect canvas = PixelRect::ofSize(state.canvas.size);
    PixelLayer paper = PixelLayer::named("Background");
    paper.id = layerID;
    paper.pixels.fill(canvas, PremultipliedColor::white(), in.store);
    // The picture as one group, so that no layer's mode reaches the white.
    GroupLayer picture;
    picture.children = state.root->children;
    GroupLayer all;
    all.children = {LayerNode(paper), LayerNode(std::move(picture))};
    auto pixels = composite(state, compileProgram(all), canvas.tileRange(), in);
    if (!pixels) return std::unexpected(pixels.error());
    paper.pixels = pixels->cropped(canvas, in.store);
    paper.properties.locks = LayerLocks::transparency | LayerLocks::position;
    if (isAlone(state, paper)) return {};
    state.activeLayerID = paper.id;
    state.root.write().children.clear();
    state.root.write().children.emplace_back(std::move(paper));
    return {};
}

CommandResult StampVisibleCommand::apply(DocumentState& state, const CommandContext& in) const {
    auto pixels = Flattener::compositeGrid(state, in.device, in.store, nullptr, in.progress);
    if (!pixels) return std::unexpected(CommandError::from(pixels.error()));
    PixelLayer stamp = mergedLayer(layerID, plainProperties(layerName),
                                   pixels->cropped(PixelRect::ofSize(state.canvas.size), in.store));
    state.activeLayerID = stamp.id;
    state.insert({std::move(stamp)}, std::nullopt, std::numeric_limits<std::int64_t>::max());
    return {};
}

} // namespace ombrel
