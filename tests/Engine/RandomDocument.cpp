#include "Engine/RandomDocument.h"

#include "Core/TileStore.h"

#include <cstring>

namespace ombrel {

DocumentState RandomDocument::make() {
    DocumentState state;
    state.canvas.size = size_;
    state.canvas.blendUsingGamma1 = maker_.oneIn(3);
    GroupLayer& root = state.root.write();
    const std::uint64_t count = 1 + maker_.below(5);
    for (std::uint64_t i = 0; i < count; ++i) {
        if (maker_.oneIn(3)) {
            root.children.emplace_back(group(1));
        } else {
            root.children.emplace_back(layer());
        }
    }
    return state;
}

void RandomDocument::edit(DocumentState& state) {
    const std::vector<LayerNode> nodes = state.allNodes();
    const LayerNode& node = nodes[maker_.below(nodes.size())];
    const bool isGroup = node.group() != nullptr;
    switch (maker_.below(8)) {
    case 0:
        state.update(node.id(), [&](LayerNode& n) { setProperties(n.writeProperties(), isGroup); });
        break;
    case 1:
        state.update(node.id(), [&](LayerNode& n) {
            std::optional<LayerMask>& changed = n.writeMask();
            if (changed && maker_.oneIn(2)) {
                setCell(changed->pixels);
            } else {
                changed = maker_.oneIn(3) ? std::nullopt : std::optional(mask());
            }
        });
        break;
    case 2:
        if (isGroup) break;
        state.update(node.id(), [&](LayerNode& n) { n.writePixelLayer()->offset = offset(); });
        break;
    case 3:
        state.update(node.id(), [&](LayerNode& n) {
            n.writeProperties().isVisible = !n.properties().isVisible;
        });
        break;
    case 4:
        state.insert({layer()}, std::nullopt, static_cast<std::int64_t>(maker_.below(4)));
        break;
    case 5:
        if (nodes.size() > 2) state.remove(node.id());
        break;
    default:
        if (isGroup) break;
        state.update(node.id(), [&](LayerNode& n) { setCell(n.writePixelLayer()->pixels); });
    }
}

DocumentState RandomDocument::stacked(PixelSize size, int layers) {
    DocumentState state;
    state.canvas.size = size;
    for (int i = 0; i < layers; ++i) {
        PixelLayer layer;
        for (const TileCoord coord : PixelRect::ofSize(size).tileRange())
            layer.pixels.set(coord, tile());
        state.root.write().children.emplace_back(std::move(layer));
    }
    return state;
}

PixelLayer RandomDocument::layer() {
    PixelLayer layer;
    setProperties(layer.properties, false);
    layer.offset = offset();
    layer.pixels = grid(TileFormat::rgba16Float);
    if (maker_.oneIn(3)) layer.mask = mask();
    return layer;
}

GroupLayer RandomDocument::group(int depth) {
    GroupLayer group;
    setProperties(group.properties, true);
    const std::uint64_t count = 1 + maker_.below(3);
    for (std::uint64_t i = 0; i < count; ++i) {
        if (depth < 3 && maker_.oneIn(4)) {
            group.children.emplace_back(this->group(depth + 1));
        } else {
            group.children.emplace_back(layer());
        }
    }
    if (maker_.oneIn(3)) group.mask = mask();
    return group;
}

LayerMask RandomDocument::mask() {
    LayerMask mask;
    mask.pixels = grid(TileFormat::r8);
    mask.background = maker_.oneIn(2) ? 1 : 0;
    mask.isEnabled = !maker_.oneIn(6);
    mask.offset = offset();
    return mask;
}

TileGrid RandomDocument::grid(TileFormat format) {
    TileGrid grid(format);
    const std::uint64_t count = maker_.below(6);
    for (std::uint64_t i = 0; i < count; ++i)
        setCell(grid);
    return grid;
}

void RandomDocument::setCell(TileGrid& grid) {
    const TileCoord coord{static_cast<std::int32_t>(maker_.below(4)) - 1,
                          static_cast<std::int32_t>(maker_.below(4)) - 1};
    std::optional<TileContent> content;
    switch (maker_.below(5)) {
    case 0:
        break;
    case 1: {
        const float alpha = maker_.oneIn(2) ? 1 : maker_.unit();
        content = PremultipliedColor{maker_.unit() * alpha, maker_.unit() * alpha,
                                     maker_.unit() * alpha, alpha};
        break;
    }
    default:
        content = grid.format() == TileFormat::r8 ? maskTile() : tile();
    }
    grid.set(coord, content);
}

void RandomDocument::setProperties(LayerProperties& properties, bool isGroup) {
    properties.opacity = maker_.oneIn(2) ? 1 : maker_.unit();
    properties.clipsToBelow = !isGroup && maker_.oneIn(4);
    properties.blendMode = maker_.oneIn(3)
                               ? BlendMode::normal
                               : static_cast<BlendMode>(maker_.below(blendModeCount - 1));
    if (isGroup && maker_.oneIn(3)) properties.blendMode = BlendMode::passThrough;
}

PixelOffset RandomDocument::offset() {
    if (maker_.oneIn(2)) return {};
    if (maker_.oneIn(4)) return {256, -256};
    return {static_cast<std::int64_t>(maker_.below(700)) - 350,
            static_cast<std::int64_t>(maker_.below(700)) - 350};
}

Tile RandomDocument::tile() {
    const PixelTile pixels = maker_.tile();
    TileBuffer buffer = store_.acquireBuffer(TileFormat::rgba16Float);
    std::memcpy(buffer.bytes(), pixels.data(), buffer.size());
    return store_.makeTile(std::move(buffer));
}

Tile RandomDocument::maskTile() {
    const MaskTile pixels = maker_.mask();
    TileBuffer buffer = store_.acquireBuffer(TileFormat::r8);
    std::memcpy(buffer.bytes(), pixels.data(), buffer.size());
    return store_.makeTile(std::move(buffer));
}

} // namespace ombrel
