#include "Engine/TileClassification.h"

#include <algorithm>

namespace ombrel {

TileClassifier::TileClassifier(const CompositeProgram& program) {
    for (const CompositeStep& step : program) {
        const PixelLayer* layer = step.pixelLayer();
        if (layer == nullptr) {
            hasGroups_ = true;
            continue;
        }
        const LayerProperties& properties = layer->properties;
        const bool isPlain = std::holds_alternative<LayerStep>(step.value) &&
                             layer->offset == PixelOffset{} && properties.opacity >= 1 &&
                             properties.blendMode == BlendMode::normal &&
                             layer->activeMask() == nullptr;
        layers_.push_back({layer, TileShift::of(layer->offset), isPlain});
    }
}

TileClass TileClassifier::classify(TileCoord coord) const {
    const Entry* only = nullptr;
    for (const Entry& entry : layers_) {
        if (!touches(entry.layer->pixels, entry.shift, coord)) continue;
        if (hasGroups_ || only != nullptr) return NeedsComposite{};
        only = &entry;
    }
    if (only == nullptr) return EmptyTile{};
    if (!only->isPlain) return NeedsComposite{};
    const TileCell cell = only->layer->pixels.cell(coord);
    if (cell.isSolid()) return cell.color();
    return cell.tile();
}

TileClass TileClassifier::classifyAll(const TileRange& tiles) const {
    TileClass what = EmptyTile{};
    for (const Entry& entry : layers_) {
        const TileRangeContent content =
            entry.layer->pixels.contentOf(cellsUnder(tiles, entry.shift));
        if (content.kind == TileRangeContent::Kind::absent) continue;
        const bool isAlone = std::holds_alternative<EmptyTile>(what);
        if (hasGroups_ || !isAlone || !entry.isPlain ||
            content.kind == TileRangeContent::Kind::mixed)
            return NeedsComposite{};
        what = content.color;
    }
    return what;
}

std::vector<TileCoord> TileClassifier::coveredTiles(const TileRange& range,
                                                    const PixelLayer* except) const {
    std::vector<TileCoord> coords;
    for (const Entry& entry : layers_) {
        if (entry.layer == except) continue;
        forEachOutput(entry.layer->pixels, entry.layer->offset, range,
                      [&](TileCoord coord) { coords.push_back(coord); });
    }
    std::ranges::sort(coords);
    coords.erase(std::ranges::unique(coords).begin(), coords.end());
    return coords;
}

const PixelLayer* TileClassifier::plainBase() const {
    if (hasGroups_) return nullptr;
    const PixelLayer* base = nullptr;
    for (const Entry& entry : layers_) {
        if (!entry.isPlain) continue;
        if (base == nullptr || entry.layer->pixels.tileCount() > base->pixels.tileCount())
            base = entry.layer;
    }
    return base;
}

} // namespace ombrel
