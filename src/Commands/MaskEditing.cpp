#include "Commands/MaskEditing.h"

#include "Core/MaskTiles.h"
#include "Core/TileStore.h"

#include <utility>

namespace ombrel {

namespace {

TileRange tilesOfCanvas(const LayerMask& mask, PixelSize canvas) {
    return PixelRect::ofSize(canvas).offsetBy({-mask.offset.dx, -mask.offset.dy}).tileRange();
}

void write(MaskTiles::Contents contents, TileGrid& grid) {
    for (auto& [coord, content] : contents)
        grid.set(coord, std::move(content));
}

/// The layer as its mask shows it.
PixelLayer pictureLayer(const LayerNode& node, const MaskPicture& picture) {
    PixelLayer layer;
    layer.id = node.id();
    layer.properties.name = node.properties().name;
    layer.properties.isVisible = node.properties().isVisible;
    layer.properties.locks = {static_cast<std::uint8_t>(node.properties().locks.rawValue &
                                                        ~LayerLocks::transparency.rawValue)};
    layer.pixels = picture.pixels();
    layer.offset = node.mask()->offset;
    return layer;
}

} // namespace

MaskPicture::MaskPicture(const LayerMask& mask, PixelSize canvas, TileStore& store)
    : mask_(mask), canvas_(canvas) {
    make(store);
}

void MaskPicture::make(TileStore& store) {
    pixels_ = TileGrid(TileFormat::rgba16Float);
    pixels_.assign(tilesOfCanvas(mask_, canvas_), MaskTiles::greyOf(mask_.background));
    MaskTiles::Cells cells;
    mask_.pixels.forEach(
        [&](TileCoord coord, const TileCell& cell) { cells.emplace_back(coord, cell); });
    write(MaskTiles::greyCells(cells, mask_.background, store), pixels_);
}

void MaskPicture::update(const LayerMask& mask, PixelSize canvas, TileStore& store) {
    const LayerMask before = std::exchange(mask_, mask);
    const bool isSameGround = mask.background == before.background && mask.offset == before.offset;
    if (!isSameGround || std::exchange(canvas_, canvas) != canvas) return make(store);
    const TileRange shown = tilesOfCanvas(mask_, canvas_);
    MaskTiles::Cells changed;
    TileGrid::diff(before.pixels, mask_.pixels,
                   [&](TileCoord coord, const TileCell&, const TileCell& after) {
                       if (!after.isAbsent() || shown.contains(coord))
                           changed.emplace_back(coord, after);
                       else
                           pixels_.set(coord, std::nullopt);
                   });
    write(MaskTiles::greyCells(changed, mask_.background, store), pixels_);
}

LayerMask MaskPicture::edited(const TileGrid& pixels, PixelOffset offset, TileStore& store) const {
    MaskTiles::Cells changed;
    TileGrid::diff(pixels_, pixels, [&](TileCoord coord, const TileCell&, const TileCell& after) {
        changed.emplace_back(coord, after);
    });
    LayerMask mask = mask_;
    mask.offset = offset;
    write(MaskTiles::valueCells(changed, mask.background, store), mask.pixels);
    return mask;
}

namespace MaskEditing {

std::optional<DocumentState> editingState(const DocumentState& state, LayerID layerID,
                                          const MaskPicture& picture) {
    const LayerNode* node = state.find(layerID);
    if (node == nullptr || !node->mask()) return std::nullopt;
    PixelLayer layer = pictureLayer(*node, picture);
    DocumentState editing = state;
    editing.update(layerID, [&](LayerNode& shown) { shown = std::move(layer); });
    editing.paintsMaskValues = true;
    return editing;
}

std::optional<DocumentState> viewState(const DocumentState& state, LayerID layerID,
                                       const MaskPicture& picture) {
    const LayerNode* node = state.find(layerID);
    if (node == nullptr || !node->mask()) return std::nullopt;
    PixelLayer shown = pictureLayer(*node, picture);
    shown.properties.isVisible = true;
    PixelLayer backdrop = PixelLayer::named("Mask backdrop");
    // The same one each time, so that a view sees nothing but the mask change.
    backdrop.id.rawValue.bytes.fill(0xFF);
    backdrop.pixels.assign(PixelRect::ofSize(state.canvas.size).tileRange(),
                           MaskTiles::greyOf(node->mask()->background));
    DocumentState view = state;
    view.root = GroupLayer::named("Root");
    view.root.write().children = {std::move(backdrop), std::move(shown)};
    view.activeLayerID = layerID;
    return view;
}

bool writeBack(const DocumentState& edited, LayerID layerID, const MaskPicture& picture,
               DocumentState& state, TileStore& store) {
    const LayerNode* result = edited.find(layerID);
    if (result == nullptr || result->pixelLayer() == nullptr) return false;
    const PixelLayer& layer = *result->pixelLayer();
    LayerMask mask = picture.edited(layer.pixels, layer.offset, store);
    return state.update(layerID,
                        [&](LayerNode& node) { node.writeMask().emplace(std::move(mask)); });
}

} // namespace MaskEditing

} // namespace ombrel
