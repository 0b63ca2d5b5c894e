#include "Engine/ProgramDiff.h"

#include "Core/BlendMath.h"
#include "Engine/TileQuad.h"

#include <algorithm>

namespace ombrel {

namespace {

const CowPtr<PixelLayer>* sharedLayer(const CompositeStep& step) {
    if (const auto* layer = std::get_if<LayerStep>(&step.value)) return &layer->layer;
    if (const auto* clipped = std::get_if<ClippedStep>(&step.value)) return &clipped->layer;
    return nullptr;
}

bool haveOneShape(const CompositeStep& before, const CompositeStep& after) {
    const CowPtr<PixelLayer>* layerBefore = sharedLayer(before);
    const CowPtr<PixelLayer>* layerAfter = sharedLayer(after);
    if (layerBefore != nullptr && layerAfter != nullptr)
        return (*layerBefore)->id == (*layerAfter)->id;
    if (before.value.index() != after.value.index()) return false;
    if (const auto* begin = std::get_if<BeginStep>(&before.value))
        return begin->isolated == std::get<BeginStep>(after.value).isolated;
    return std::get<EndStep>(before.value).isolated == std::get<EndStep>(after.value).isolated;
}

class ProgramComparison {
public:
    ProgramComparison(const CompositeProgram& before, const CompositeProgram& after,
                      PixelSize canvas)
        : before_(before), after_(after), canvas_(PixelRect::ofSize(canvas).tileRange()) {}

    std::optional<std::vector<TileCoord>> changed();

private:
    /// A mask's part in a step.
    enum class MaskChange { none, pixels, everywhere };

    static MaskChange compare(const LayerMask* before, const LayerMask* after);
    void compareLayers(std::size_t index);
    bool compareEnds(std::size_t index);
    void addCovered(const PixelLayer& layer);
    void addDifference(const TileGrid& before, const TileGrid& after, PixelOffset offset);
    /// The tiles of all layers from the begin of the level that ends at `index`.
    bool addLevel(std::size_t index);

    const CompositeProgram& before_;
    const CompositeProgram& after_;
    TileRange canvas_;
    std::vector<std::size_t> begins_; ///< of the levels open at the step in hand
    bool isTooDeep_ = false;          ///< begins were passed over, so that ends close other levels
    std::vector<TileCoord> changed_;
};

std::optional<std::vector<TileCoord>> ProgramComparison::changed() {
    if (before_.size() != after_.size()) return std::nullopt;
    for (std::size_t i = 0; i < before_.size(); ++i) {
        if (!haveOneShape(before_[i], after_[i])) return std::nullopt;
    }
    for (std::size_t i = 0; i < before_.size(); ++i) {
        if (before_[i].hasLayer()) {
            compareLayers(i);
        } else if (std::holds_alternative<BeginStep>(before_[i].value)) {
            begins_.push_back(i);
            isTooDeep_ = isTooDeep_ || begins_.size() > BlendMath::maximumStackDepth;
        } else if (!compareEnds(i)) {
            return std::nullopt;
        }
    }
    std::ranges::sort(changed_);
    changed_.erase(std::ranges::unique(changed_).begin(), changed_.end());
    return std::move(changed_);
}

ProgramComparison::MaskChange ProgramComparison::compare(const LayerMask* before,
                                                         const LayerMask* after) {
    if (before == nullptr && after == nullptr) return MaskChange::none;
    if (before == nullptr || after == nullptr || before->background != after->background ||
        before->offset != after->offset)
        return MaskChange::everywhere;
    return before->pixels == after->pixels ? MaskChange::none : MaskChange::pixels;
}

void ProgramComparison::compareLayers(std::size_t index) {
    const CowPtr<PixelLayer>& sharedBefore = *sharedLayer(before_[index]);
    const CowPtr<PixelLayer>& sharedAfter = *sharedLayer(after_[index]);
    const bool isSameKind = before_[index].value.index() == after_[index].value.index();
    if (isSameKind && sharedBefore.isSameObject(sharedAfter)) return;
    const PixelLayer& before = *sharedBefore;
    const PixelLayer& after = *sharedAfter;
    const LayerMask* maskBefore = before_[index].mask();
    const LayerMask* maskAfter = after_[index].mask();
    const MaskChange mask = compare(maskBefore, maskAfter);
    const bool isSameLayer = isSameKind && before.offset == after.offset &&
                             before.properties.opacity == after.properties.opacity &&
                             before.properties.blendMode == after.properties.blendMode;
    if (!isSameLayer || mask == MaskChange::everywhere) {
        // A layer does nothing where it has no cell, whatever its properties.
        addCovered(before);
        addCovered(after);
        return;
    }
    addDifference(before.pixels, after.pixels, before.offset);
    if (mask == MaskChange::pixels)
        addDifference(maskBefore->pixels, maskAfter->pixels, maskBefore->offset);
}

bool ProgramComparison::compareEnds(std::size_t index) {
    const auto& before = std::get<EndStep>(before_[index].value);
    const auto& after = std::get<EndStep>(after_[index].value);
    const LayerMask* maskBefore = before_[index].mask();
    const LayerMask* maskAfter = after_[index].mask();
    const MaskChange mask = compare(maskBefore, maskAfter);
    if (mask == MaskChange::pixels)
        addDifference(maskBefore->pixels, maskAfter->pixels, maskBefore->offset);
    const bool isSame = before.opacity == after.opacity && before.blendMode == after.blendMode &&
                        mask != MaskChange::everywhere;
    const bool isKnown = isSame || addLevel(index);
    if (!begins_.empty()) begins_.pop_back();
    return isKnown;
}

bool ProgramComparison::addLevel(std::size_t index) {
    // Where no layer of a level has a cell, its end gives back what lay below it.
    if (isTooDeep_ || begins_.empty()) return false;
    for (std::size_t i = begins_.back(); i < index; ++i) {
        if (const PixelLayer* layer = before_[i].pixelLayer()) addCovered(*layer);
        if (const PixelLayer* layer = after_[i].pixelLayer()) addCovered(*layer);
    }
    return true;
}

void ProgramComparison::addCovered(const PixelLayer& layer) {
    forEachOutput(layer.pixels, layer.offset, canvas_,
                  [this](TileCoord coord) { changed_.push_back(coord); });
}

void ProgramComparison::addDifference(const TileGrid& before, const TileGrid& after,
                                      PixelOffset offset) {
    const TileShift shift = TileShift::of(offset);
    TileGrid::diff(before, after, [&](TileCoord cell, const TileCell&, const TileCell&) {
        for (const TileCoord output : outputsOf(cell, shift, canvas_))
            changed_.push_back(output);
    });
}

} // namespace

std::optional<std::vector<TileCoord>>
changedTiles(const CompositeProgram& before, const CompositeProgram& after, PixelSize canvas) {
    return ProgramComparison(before, after, canvas).changed();
}

} // namespace ombrel
