#include "Editor/LayerClip.h"

#include "Commands/ColorModeCommands.h"
#include "Commands/DocumentGrids.h"
#include "Commands/LayerTree.h"
#include "Core/TileStore.h"
#include "Engine/Flattener.h"
#include "Engine/StateBands.h"
#include "IO/ImageExporter.h"
#include "IO/ImageImporter.h"
#include "IO/Native/NativeFormat.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

constexpr const char* nothingShows = "There is nothing to see in it.";

/// A document that holds these layers alone.
DocumentState stateOf(const Canvas& canvas, std::vector<LayerNode> layers) {
    DocumentState state;
    state.canvas = canvas;
    if (!layers.empty()) state.activeLayerID = layers.back().id();
    state.root.write().children = std::move(layers);
    return state;
}

bool isOnePicture(const DocumentState& state) {
    if (state.root->children.size() != 1) return false;
    const PixelLayer* layer = state.root->children.front().pixelLayer();
    return layer != nullptr && !layer->mask && layer->effects->empty() &&
           layer->offset == PixelOffset{} && layer->properties.isVisible &&
           layer->properties.opacity == 1;
}

/// With identifiers of its own, and without what means something only in the document it is from.
LayerNode renewed(const LayerNode& node) {
    if (const PixelLayer* layer = node.pixelLayer()) {
        PixelLayer copy = *layer;
        copy.id = LayerID::make();
        copy.instance = {};
        return copy;
    }
    GroupLayer copy = *node.group();
    copy.id = LayerID::make();
    for (LayerNode& child : copy.children)
        child = renewed(child);
    return copy;
}

/// Layers that clip to one that did not come along are seen whole.
void unclipLowest(std::vector<LayerNode>& layers) {
    for (LayerNode& layer : layers) {
        if (!layer.properties().clipsToBelow) return;
        layer.writeProperties().clipsToBelow = false;
    }
}

/// Alone, layers are seen whatever hides them where they stand; a single one as it is itself.
void showWhole(std::vector<LayerNode>& layers) {
    unclipLowest(layers);
    for (LayerNode& layer : layers)
        layer.writeProperties().isVisible = true;
    if (layers.size() != 1) return;
    layers.front().writeProperties().opacity = 1;
    layers.front().writeProperties().blendMode = BlendMode::normal;
}

/// Around all cells, so that no pixel needs a look.
PixelRect roughBounds(std::span<const LayerNode> layers) {
    PixelRect bounds;
    for (const LayerNode& node : layers) {
        if (const GroupLayer* group = node.group()) {
            bounds = unionOf(bounds, roughBounds(group->children));
            continue;
        }
        const PixelLayer& layer = *node.pixelLayer();
        if (layer.pixels.isEmpty()) continue;
        const TileRange cells = layer.pixels.tileBounds();
        const PixelRect rect =
            unionOf(PixelRect::ofTile(TileCoord::checked(cells.minX, cells.minY)),
                    PixelRect::ofTile(TileCoord::checked(cells.maxX, cells.maxY)));
        bounds = unionOf(bounds, rect.offsetBy(layer.offset));
    }
    return bounds;
}

/// What is on the canvas, or all of it where nothing is.
PixelRect shownPart(const PixelRect& bounds, PixelSize canvas) {
    const PixelRect part = intersectionOf(bounds, PixelRect::ofSize(canvas));
    return part.isEmpty() ? bounds : part;
}

std::int64_t tileBytes(std::span<const LayerNode> layers) {
    const auto ofGrid = [](const TileGrid& grid) {
        return grid.pixelTileCount() * static_cast<std::int64_t>(bytesPerTile(grid.format()));
    };
    std::int64_t bytes = 0;
    for (const LayerNode& node : layers) {
        if (const auto& mask = node.mask()) bytes += ofGrid(mask->pixels);
        if (const GroupLayer* group = node.group())
            bytes += tileBytes(group->children);
        else
            bytes += ofGrid(node.pixelLayer()->pixels);
    }
    return bytes;
}

/// Where a side that begins at `at` goes so that its middle is at `middle`, on the canvas where
/// there is room for it and around the canvas's middle where there is none.
std::int64_t placedSide(std::int64_t side, double middle, std::int64_t canvasSide) {
    if (side > canvasSide) return (canvasSide - side) / 2;
    const double start = std::floor(middle - static_cast<double>(side) / 2 + 0.5);
    const auto last = static_cast<double>(canvasSide - side);
    return static_cast<std::int64_t>(std::clamp(std::isnan(start) ? 0 : start, 0.0, last));
}

/// The whole pixels in view that belong to the canvas; all of it where it is out of view.
PixelRect visibleCanvas(const PasteTarget& target) {
    const PixelRect canvas = PixelRect::ofSize(target.canvas.size);
    const auto limited = [](double value) {
        return std::isnan(value) ? 0 : std::clamp(value, -0x1p40, 0x1p40);
    };
    const RealRect& view = target.visible;
    const PixelRect part = intersectionOf(
        canvas, PixelRect::enclosing(limited(view.origin.x), limited(view.origin.y),
                                     limited(view.size.width), limited(view.size.height)));
    return part.isEmpty() ? canvas : part;
}

PixelOffset centered(const PixelRect& bounds, RealPoint middle, PixelSize canvas) {
    return {placedSide(bounds.width, middle.x, canvas.width) - bounds.x,
            placedSide(bounds.height, middle.y, canvas.height) - bounds.y};
}

PixelOffset moveTo(const PasteTarget& target, const PixelRect& bounds, bool hasPlace) {
    if (target.center) return centered(bounds, *target.center, target.canvas.size);
    if (hasPlace && target.place == PasteTarget::Place::inPlace) return {};
    const PixelRect visible = visibleCanvas(target);
    if (hasPlace && visible.contains(bounds)) return {};
    return centered(bounds,
                    {static_cast<double>(visible.x) + static_cast<double>(visible.width) / 2,
                     static_cast<double>(visible.y) + static_cast<double>(visible.height) / 2},
                    target.canvas.size);
}

std::expected<DocumentState, CommandError>
inProfile(std::expected<DocumentState, CommandError> state, const ColorProfile& profile,
          const CommandContext& in) {
    if (!state || state->canvas.profile == profile) return state;
    const CommandResult converted = ConvertProfileCommand{profile}.apply(*state, in);
    if (!converted) return std::unexpected(converted.error());
    return state;
}

std::unexpected<std::string> wordsOf(const CommandError& error) {
    return std::unexpected(error.kind == CommandError::Kind::cancelled ? "" : error.text());
}

} // namespace

std::expected<LayerClip, CommandError> LayerClip::ofLayers(const DocumentState& state,
                                                           std::span<const LayerID> ids) {
    const auto reduced = LayerTree::reduced(state, ids);
    if (!reduced) return std::unexpected(reduced.error());
    std::vector<LayerNode> layers;
    for (const LayerID id : *reduced)
        layers.push_back(*state.find(id));
    return LayerClip(stateOf(state.canvas, std::move(layers)), Kind::layers, {}, true);
}

LayerClip LayerClip::merged(DocumentState state, std::string layerName) {
    return {std::move(state), Kind::merged, std::move(layerName), true};
}

LayerClip LayerClip::ofDocument(const DocumentState& state, const std::string& layerName) {
    return {state, isOnePicture(state) ? Kind::layers : Kind::merged, layerName, false};
}

LayerClip::Read LayerClip::ofNative(std::span<const std::byte> bytes, TileStore& store,
                                    Progress& /*progress*/) {
    auto state = NativeFormat::read(bytes, store);
    if (!state) return std::unexpected(state.error().text());
    return LayerClip(*std::move(state), Kind::layers, {}, true);
}

LayerClip::Read LayerClip::ofImage(std::span<const std::byte> bytes, TileStore& store,
                                   Progress& progress) {
    auto image = ImageImporter::read(bytes, store, &progress);
    if (!image) {
        const bool isCancelled = image.error().kind == ImageIOError::Kind::cancelled;
        return std::unexpected(isCancelled ? "" : image.error().text());
    }
    PixelLayer layer = PixelLayer::named("Pasted Picture");
    layer.pixels = std::move(image->pixels);
    return LayerClip(stateOf(image->canvas(), {std::move(layer)}), Kind::layers, {}, false);
}

LayerClip::Read LayerClip::ofFile(const std::filesystem::path& path, TileStore& store,
                                  Progress& progress) {
    const auto document = readDocument(path, store, progress);
    if (!document)
        return std::unexpected(document.error().isCancelled() ? "" : document.error().text());
    return ofDocument(document->state(), path.stem().string());
}

bool LayerClip::fitsPicture() const {
    const PixelRect canvas = PixelRect::ofSize(state_.canvas.size);
    const PixelRect bounds =
        kind_ == Kind::merged ? canvas
                              : shownPart(roughBounds(state_.root->children), state_.canvas.size);
    return !bounds.isEmpty() && bounds.width <= largestPicture &&
           bounds.height <= largestPicture / bounds.width;
}

bool LayerClip::fitsNative() const {
    return tileBytes(state_.root->children) <= largestNative;
}

std::expected<DocumentState, CommandError> LayerClip::layers(const CommandContext& in) const {
    if (kind_ == Kind::layers) return state_;
    return onePicture(in);
}

std::expected<DocumentState, CommandError> LayerClip::onePicture(const CommandContext& in) const {
    if (isOnePicture(state_)) return state_;
    auto pixels = Flattener::compositeGrid(state_, in.device, in.store, nullptr, in.progress);
    if (!pixels) return std::unexpected(CommandError::from(pixels.error()));
    PixelLayer layer = PixelLayer::named(layerName_);
    // Tiles may be those of layers, which go on beyond the canvas.
    layer.pixels = pixels->cropped(PixelRect::ofSize(state_.canvas.size), in.store);
    return stateOf(state_.canvas, {std::move(layer)});
}

std::expected<std::vector<std::byte>, std::string> LayerClip::png(const CommandContext& in) const {
    auto state = layers(in);
    if (!state) return wordsOf(state.error());
    showWhole(state->root.write().children);
    PixelRect part = PixelRect::ofSize(state->canvas.size);
    if (kind_ == Kind::layers) {
        const auto bounds = contentBounds(state->root->children);
        if (!bounds) return std::unexpected(nothingShows);
        part = shownPart(*bounds, state->canvas.size);
    }
    state->canvas.size = {part.width, part.height};
    moveGrids(*state, {-part.x, -part.y});
    StateBands bands(*state, in.device, in.store, nullptr, in.progress);
    auto bytes = ImageExporter::data(bands, ImageFormat::png, {.bitDepth = BitDepth::sixteen},
                                     state->canvas, in.progress);
    if (!bytes) return std::unexpected(bytes.error().text());
    return *std::move(bytes);
}

std::expected<std::vector<std::byte>, std::string>
LayerClip::native(const CommandContext& in) const {
    const auto state = layers(in);
    if (!state) return wordsOf(state.error());
    return NativeFormat::write(*state);
}

std::expected<PlaceImageCommand, CommandError> LayerClip::placing(const Canvas& canvas,
                                                                  const CommandContext& in) const {
    const auto state = inProfile(onePicture(in), canvas.profile, in);
    if (!state) return std::unexpected(state.error());
    return PlaceImageCommand{.layerID = LayerID::make(),
                             .layerName = layerName_,
                             .pixels = state->root->children.front().pixelLayer()->pixels,
                             .size = state->canvas.size,
                             .center = {static_cast<double>(canvas.size.width) / 2,
                                        static_cast<double>(canvas.size.height) / 2}};
}

std::expected<PasteLayersCommand, CommandError> LayerClip::pasting(const PasteTarget& target,
                                                                   const CommandContext& in) const {
    auto state = inProfile(layers(in), target.canvas.profile, in);
    if (!state) return std::unexpected(state.error());
    const PixelRect whole = PixelRect::ofSize(state->canvas.size);
    const bool isPicture = kind_ == Kind::merged || !hasPlace_;
    const PixelRect bounds =
        isPicture ? whole : contentBounds(state->root->children).value_or(PixelRect{});
    if (!bounds.isEmpty()) moveGrids(*state, moveTo(target, bounds, hasPlace_));
    PasteLayersCommand command;
    for (const LayerNode& node : state->root->children)
        command.layers.push_back(renewed(node));
    unclipLowest(command.layers);
    return command;
}

} // namespace ombrel
