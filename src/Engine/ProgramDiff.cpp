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

bool areDifferent(const TileGrid& before, const TileGrid& after) {
    bool different = false;
    TileGrid::diff(before, after, [&](TileCoord, const TileCell&, const TileCell&) {
        different = true;
        return false;
    });
    return different;
}

class ProgramComparison {
public:
    ProgramComparison(const CompositeProgram& before, const CompositeProgram& after)
        : before_(before), after_(after) {}

    std::optional<ProgramChanges> changes();

private:
    /// A mask's part in a step.
    enum class MaskChange { none, pixels, everywhere };

    static MaskChange compare(const LayerMask* before, const LayerMask* after);
    void compareLayers(std::size_t index);
    bool compareEnds(std::size_t index);
    void noteChange(std::size_t index, bool changesMode);
    void addCovered(const PixelLayer& layer);
    void addMaskDifference(const LayerMask& before, const LayerMask& after);
    /// The tiles of all layers from the begin of the level that ends at `index`.
    bool addLevel(std::size_t index);

    const CompositeProgram& before_;
    const CompositeProgram& after_;
    std::vector<std::size_t> begins_; ///< of the levels open at the step in hand
    bool isTooDeep_ = false;          ///< begins were passed over, so that ends close other levels
    ProgramChanges changes_;
};

std::optional<ProgramChanges> ProgramComparison::changes() {
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
    return std::move(changes_);
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
    const bool isSameMode = isSameKind && before.properties.blendMode == after.properties.blendMode;
    if (!isSameLayer || mask == MaskChange::everywhere) {
        noteChange(index, !isSameMode);
        // A layer does nothing where it has no cell, whatever its properties.
        addCovered(before);
        addCovered(after);
        return;
    }
    changes_.differences.push_back({&before.pixels, &after.pixels, before.offset});
    if (mask == MaskChange::pixels) addMaskDifference(*maskBefore, *maskAfter);
    if (mask == MaskChange::pixels || areDifferent(before.pixels, after.pixels))
        noteChange(index, false);
}

void ProgramComparison::noteChange(std::size_t index, bool changesMode) {
    if (!changes_.firstStep) changes_.firstStep = index;
    changes_.changesModes = changes_.changesModes || changesMode;
}

bool ProgramComparison::compareEnds(std::size_t index) {
    const auto& before = std::get<EndStep>(before_[index].value);
    const auto& after = std::get<EndStep>(after_[index].value);
    const LayerMask* maskBefore = before_[index].mask();
    const LayerMask* maskAfter = after_[index].mask();
    const MaskChange mask = compare(maskBefore, maskAfter);
    if (mask == MaskChange::pixels) addMaskDifference(*maskBefore, *maskAfter);
    const bool isSame = before.opacity == after.opacity && before.blendMode == after.blendMode &&
                        mask != MaskChange::everywhere;
    if (!isSame || mask != MaskChange::none) noteChange(index, before.blendMode != after.blendMode);
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
    changes_.covers.push_back({&layer.pixels, layer.offset});
}

void ProgramComparison::addMaskDifference(const LayerMask& before, const LayerMask& after) {
    changes_.differences.push_back({&before.pixels, &after.pixels, before.offset});
}

} // namespace

std::optional<ProgramChanges> programChanges(const CompositeProgram& before,
                                             const CompositeProgram& after) {
    return ProgramComparison(before, after).changes();
}

std::optional<std::vector<TileCoord>>
changedTiles(const CompositeProgram& before, const CompositeProgram& after, PixelSize canvas) {
    const std::optional<ProgramChanges> changes = programChanges(before, after);
    if (!changes) return std::nullopt;
    const TileRange range = PixelRect::ofSize(canvas).tileRange();
    std::vector<TileCoord> changed;
    const auto add = [&](TileCoord coord) { changed.push_back(coord); };
    for (const ProgramChanges::Cover& cover : changes->covers)
        forEachOutput(*cover.pixels, cover.offset, range, add);
    for (const ProgramChanges::Difference& difference : changes->differences) {
        const TileShift shift = TileShift::of(difference.offset);
        TileGrid::diff(*difference.before, *difference.after,
                       [&](TileCoord cell, const TileCell&, const TileCell&) {
                           std::ranges::for_each(outputsOf(cell, shift, range), add);
                       });
    }
    std::ranges::sort(changed);
    changed.erase(std::ranges::unique(changed).begin(), changed.end());
    return changed;
}

} // namespace ombrel
