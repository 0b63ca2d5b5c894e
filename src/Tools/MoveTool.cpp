#include "Tools/MoveTool.h"

#include "Commands/DuplicateLayersCommand.h"
#include "Commands/LayerTree.h"
#include "Commands/TranslateLayersCommand.h"
#include "Tools/Gestures.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <fmt/format.h>
#include <limits>
#include <utility>

namespace ombrel {

namespace {

constexpr std::string_view groupName = "group";
constexpr std::string_view layerName = "layer";
constexpr std::int64_t shiftedNudge = 10; ///< pixels

struct ArrowKey {
    ToolKey::Named key;
    PixelOffset step;
};
constexpr std::array arrowKeys{
    ArrowKey{ToolKey::Named::left, {-1, 0}}, ArrowKey{ToolKey::Named::right, {1, 0}},
    ArrowKey{ToolKey::Named::up, {0, -1}}, ArrowKey{ToolKey::Named::down, {0, 1}}};

/// Along the nearest of the eight directions.
PixelOffset constrained(PixelOffset offset) {
    const std::int64_t across = std::abs(offset.dx);
    const std::int64_t down = std::abs(offset.dy);
    if (across > 2 * down) return {offset.dx, 0};
    if (down > 2 * across) return {0, offset.dy};
    const std::int64_t length = std::max(across, down);
    return {offset.dx < 0 ? -length : length, offset.dy < 0 ? -length : length};
}

PixelOffset wholeOffset(RealPoint from, RealPoint to) {
    const auto whole = [](double distance) {
        constexpr double farthest = 0x1p31;
        return static_cast<std::int64_t>(std::clamp(std::round(distance), -farthest, farthest));
    };
    return {whole(to.x - from.x), whole(to.y - from.y)};
}

/// The copies of the layers, which the command that made them names.
std::vector<LayerID> copiesOf(const DuplicateLayersCommand& command) {
    std::vector<LayerID> copies;
    copies.reserve(command.layerIDs.size());
    for (const LayerID id : command.layerIDs)
        copies.push_back(command.copies.at(id));
    return copies;
}

} // namespace

void MoveTool::setSettings(const Settings& settings) {
    if (settings == settings_) return;
    settings_ = settings;
    settingsChanged.emit();
}

ToolCursor MoveTool::currentCursor(ToolModifiers modifiers) const {
    const bool copies = gesture_ && gesture_->phase == Phase::moving
                            ? gesture_->copies
                            : modifiers.contains(ToolModifiers::option);
    return copies ? ToolCursor::moveCopy : ToolCursor::move;
}

void MoveTool::pointerDown(const PointerSample& sample, ToolContext& in) {
    cancelGesture(in);
    gesture_ = Gesture{sample, sample};
    // Command turns the choosing round for one press.
    if (settings_.autoSelect != sample.modifiers.contains(ToolModifiers::command))
        chooseAt(sample, in);
}

void MoveTool::pointerDragged(const PointerSample& sample, ToolContext& in) {
    if (!gesture_) return;
    gesture_->last = sample;
    if (gesture_->phase == Phase::pressed &&
        distanceOf(gesture_->press.viewLocation, sample.viewLocation) >= dragThreshold)
        begin(in);
    if (gesture_->phase == Phase::moving) follow(in);
}

void MoveTool::pointerUp(const PointerSample& sample, ToolContext& in) {
    pointerDragged(sample, in);
    const auto gesture = std::exchange(gesture_, std::nullopt);
    if (!gesture || gesture->phase != Phase::moving) return;
    if (gesture->copies) {
        in.commitLive("Duplicate Layers");
    } else if (gesture->moved == PixelOffset{}) {
        in.cancelLive();
    } else {
        in.commitLive("Move");
    }
    in.setNeedsOverlayDisplay();
}

bool MoveTool::keyDown(const ToolKey& key, ToolModifiers modifiers, ToolContext& in) {
    if (gesture_ && gesture_->phase == Phase::moving) {
        if (key.is(ToolKey::Named::escape)) cancelGesture(in);
        return true;
    }
    for (const ArrowKey& arrow : arrowKeys) {
        if (!key.is(arrow.key)) continue;
        const std::int64_t pixels = modifiers.contains(ToolModifiers::shift) ? shiftedNudge : 1;
        nudge({arrow.step.dx * pixels, arrow.step.dy * pixels}, in);
        return true;
    }
    return false;
}

void MoveTool::modifiersChanged(ToolModifiers modifiers, ToolContext& in) {
    if (!gesture_ || gesture_->phase != Phase::moving) return;
    gesture_->last.modifiers = modifiers;
    follow(in);
}

std::vector<OverlayShape> MoveTool::overlayShapes(const ToolContext& /*in*/) const {
    if (!gesture_ || gesture_->phase != Phase::moving) return {};
    return {{OverlayShape::Readout{
        fmt::format("{:+d}, {:+d} px", gesture_->moved.dx, gesture_->moved.dy),
        gesture_->last.location}}};
}

void MoveTool::toolDidLeave(ToolContext& in) {
    cancelGesture(in);
}

void MoveTool::cancelGesture(ToolContext& in) {
    const auto gesture = std::exchange(gesture_, std::nullopt);
    if (!gesture || gesture->phase != Phase::moving) return;
    in.cancelLive();
    in.setNeedsOverlayDisplay();
}

void MoveTool::restoreSettings(const Json& stored) {
    if (!stored.is_object()) return;
    const auto autoSelect = stored.find("autoSelect");
    if (autoSelect != stored.end() && autoSelect->is_boolean())
        settings_.autoSelect = autoSelect->get<bool>();
    const auto target = stored.find("target");
    if (target != stored.end() && *target == groupName) settings_.target = HitKind::group;
    if (target != stored.end() && *target == layerName) settings_.target = HitKind::layer;
}

Json MoveTool::storedSettings() const {
    return {{"autoSelect", settings_.autoSelect},
            {"target", settings_.target == HitKind::group ? groupName : layerName}};
}

// A press on what is selected already leaves the selection as it is, so that all of it moves.
void MoveTool::chooseAt(const PointerSample& sample, ToolContext& in) {
    const auto hit = in.hitTest(settings_.target, sample.location);
    if (!hit || !onChooseLayer) return;
    const bool adds = sample.modifiers.contains(ToolModifiers::shift);
    onChooseLayer(hit->layer, adds || in.selectedLayerIDs().contains(hit->layer) ? Choice::added
                                                                                 : Choice::only);
}

std::optional<std::vector<LayerID>> MoveTool::movableLayers(ToolContext& in) const {
    const DocumentState& state = in.routedState();
    const std::set<LayerID> selected = in.selectedLayerIDs();
    std::vector<LayerID> ids(selected.begin(), selected.end());
    if (ids.empty() && state.activeLayerID) ids.push_back(*state.activeLayerID);
    auto layers = LayerTree::reduced(state, ids);
    if (!layers) {
        in.refuse("Select a layer to move first.");
        return std::nullopt;
    }
    if (const LayerNode* locked = lockedNode(state, *layers, blockingLocks())) {
        in.refuse(fmt::format("The layer “{}” is locked.", locked->properties().name));
        return std::nullopt;
    }
    if (!in.requireIdle()) return std::nullopt;
    return *std::move(layers);
}

void MoveTool::begin(ToolContext& in) {
    auto layers = movableLayers(in);
    if (!layers) {
        gesture_->phase = Phase::refused;
        return;
    }
    gesture_->phase = Phase::moving;
    gesture_->layers = *std::move(layers);
    gesture_->copies = gesture_->press.modifiers.contains(ToolModifiers::option);
    if (!gesture_->copies) return;
    const auto duplicate = DuplicateLayersCommand::of(in.routedState(), gesture_->layers);
    in.editLive([&](DocumentState& state) {
        // What was found a moment ago is there; where it is not, nothing is copied or moved.
        if (!duplicate.duplicate(state)) gesture_->phase = Phase::refused;
    });
    gesture_->layers = copiesOf(duplicate);
}

void MoveTool::follow(ToolContext& in) {
    PixelOffset wanted = wholeOffset(gesture_->press.location, gesture_->last.location);
    if (gesture_->last.modifiers.contains(ToolModifiers::shift)) wanted = constrained(wanted);
    const PixelOffset step{wanted.dx - gesture_->moved.dx, wanted.dy - gesture_->moved.dy};
    if (step == PixelOffset{}) return;
    in.editLive([&](DocumentState& state) { translateLayers(state, gesture_->layers, step); });
    gesture_->moved = wanted;
    in.setNeedsOverlayDisplay();
}

void MoveTool::nudge(PixelOffset by, ToolContext& in) {
    if (const auto layers = movableLayers(in))
        in.perform(TranslateLayersCommand{*layers, by.dx, by.dy, true});
}

} // namespace ombrel
