#include "App/Panels/LayerActions.h"

#include "App/Panels/LayerPropertyEdit.h"
#include "App/Panels/LayerSelection.h"
#include "Commands/AddLayerCommands.h"
#include "Commands/ClipStacks.h"
#include "Commands/DeleteLayersCommand.h"
#include "Commands/DuplicateLayersCommand.h"
#include "Commands/GroupCommands.h"
#include "Commands/LayerPropertyCommands.h"
#include "Commands/MergeCommands.h"
#include "Commands/RasterizeLayersCommand.h"
#include "Editor/DocumentSession.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <set>

namespace ombrel {

namespace {

/// Calls visit(node) for every node below, a group after its children, without copying any.
template <typename Visit>
void walk(const GroupLayer& group, Visit&& visit) {
    for (const LayerNode& node : group.children) {
        if (const GroupLayer* inner = node.group()) walk(*inner, visit);
        visit(node);
    }
}

/// "Layer 4" where "Layer 3" is the highest there is.
std::string nextName(const DocumentState& state, std::string_view word) {
    int highest = 0;
    walk(*state.root, [&](const LayerNode& node) {
        std::string_view name = node.properties().name;
        if (!name.starts_with(word) || name.size() <= word.size() || name[word.size()] != ' ')
            return;
        name.remove_prefix(word.size() + 1);
        int number = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
        if (error == std::errc() && end == name.data() + name.size() && number < 1'000'000)
            highest = std::max(highest, number);
    });
    return fmt::format("{} {}", word, highest + 1);
}

/// As the panel shows them, read from below.
std::vector<LayerID> upward(const DocumentState& state) {
    std::vector<LayerID> ids;
    walk(*state.root, [&](const LayerNode& node) { ids.push_back(node.id()); });
    return ids;
}

void choose(DocumentSession& session, LayerID id, bool extends) {
    if (*session._isLiveEditing) return;
    std::set<LayerID> chosen = extends ? *session._selectedLayerIDs : std::set<LayerID>{};
    if (extends && session._state->activeLayerID) chosen.insert(*session._state->activeLayerID);
    chosen.insert(id);
    session._selectedLayerIDs.set(std::move(chosen));
    session.setActiveLayer(id);
}

void step(DocumentSession& session, int by, bool extends) {
    const std::vector<LayerID> ids = upward(*session._state);
    const auto active = session._state->activeLayerID;
    const auto found = active ? std::ranges::find(ids, *active) : ids.end();
    if (found == ids.end()) return;
    const auto place = std::clamp<std::ptrdiff_t>(found - ids.begin() + by, 0,
                                                  static_cast<std::ptrdiff_t>(ids.size()) - 1);
    choose(session, ids[static_cast<std::size_t>(place)], extends);
}

} // namespace

std::vector<LayerID> LayerActions::targets(const DocumentSession& session) {
    return LayerSelection(session).ids();
}

void LayerActions::addLayer(DocumentSession& session) {
    const DocumentState& state = *session._state;
    AddLayerCommand command{.layer = PixelLayer::named(nextName(state, "Layer")), .above = {}};
    // Within a clip stack it joins, or else it would be what the upper layers clip to.
    command.layer.properties.clipsToBelow = ClipStacks::isAmongClipped(state);
    if (!command.layer.properties.clipsToBelow) command.above = ClipStacks::placeAbove(state);
    session.perform(command);
}

void LayerActions::addGroup(DocumentSession& session) {
    session.perform(NewGroupCommand{.group = GroupLayer::named(nextName(*session._state, "Group")),
                                    .above = ClipStacks::placeAbove(*session._state)});
}

void LayerActions::duplicate(DocumentSession& session) {
    const std::vector<LayerID> ids = targets(session);
    if (!ids.empty()) session.perform(DuplicateLayersCommand::of(*session._state, ids));
}

void LayerActions::remove(DocumentSession& session) {
    std::vector<LayerID> ids = targets(session);
    if (!ids.empty()) session.perform(DeleteLayersCommand{std::move(ids)});
}

void LayerActions::group(DocumentSession& session) {
    std::vector<LayerID> ids = targets(session);
    if (ids.empty()) return;
    session.perform(
        GroupLayersCommand{.layerIDs = std::move(ids),
                           .group = GroupLayer::named(nextName(*session._state, "Group"))});
}

void LayerActions::ungroup(DocumentSession& session) {
    const LayerSelection layers(session);
    if (layers.canUngroup()) session.perform(UngroupCommand{layers.single()->id()});
}

void LayerActions::toggleVisibility(DocumentSession& session) {
    const LayerSelection layers(session);
    const bool areShown = layers.areVisible();
    SetLayersVisibilityCommand command;
    for (const LayerID id : layers.ids())
        command.visibility[id] = !areShown;
    if (!command.visibility.empty()) session.perform(command);
}

void LayerActions::toggleClipping(DocumentSession& session) {
    const LayerSelection layers(session);
    const bool clips = !layers.areClipped();
    SetClippingCommand command{.layerIDs = layers.clippableIds(), .clipped = clips};
    if (!command.layerIDs.empty()) session.perform(command);
}

void LayerActions::toggleLocks(DocumentSession& session, LayerLocks locks) {
    const LayerSelection layers(session);
    if (layers.isEmpty()) return;
    const bool sets = !layers.haveLocks(locks);
    const auto change = [&](LayerProperties& properties) {
        const unsigned rest = properties.locks.rawValue & ~unsigned{locks.rawValue};
        properties.locks.rawValue = static_cast<std::uint8_t>(sets ? rest | locks.rawValue : rest);
    };
    const char* const name = locks == LayerLocks::all ? "Lock or Unlock Layers"
                             : sets                   ? "Lock Layers"
                                                      : "Unlock Layers";
    changeProperties(session, name, change);
}

void LayerActions::changeProperties(DocumentSession& session, const char* name,
                                    const std::function<void(LayerProperties&)>& change) {
    std::vector<LayerID> ids = targets(session);
    std::erase_if(ids, [&](LayerID id) {
        const LayerProperties& before = session._state->find(id)->properties();
        LayerProperties after = before;
        change(after);
        return after == before;
    });
    if (!ids.empty()) session.perform(propertiesCommand(*session._state, ids, change, name, false));
}

void LayerActions::arrange(DocumentSession& session,
                           ArrangeLayersCommand::Arrangement arrangement) {
    const LayerSelection layers(session);
    if (layers.canArrange(arrangement))
        session.perform(ArrangeLayersCommand{layers.ids(), arrangement, true});
}

void LayerActions::rasterize(DocumentSession& session) {
    const LayerSelection layers(session);
    if (layers.holdsLive()) session.perform(RasterizeLayersCommand{layers.ids()});
}

void LayerActions::merge(DocumentSession& session) {
    const LayerSelection layers(session);
    switch (layers.merge()) {
    case LayerSelection::Merge::none:
        return;
    case LayerSelection::Merge::down:
        return session.perform(MergeDownCommand{layers.ids().front()});
    case LayerSelection::Merge::layers:
        return session.perform(MergeLayersCommand{layers.ids()});
    case LayerSelection::Merge::group:
        return session.perform(MergeGroupCommand{layers.ids().front()});
    }
}

const char* LayerActions::mergeText(const DocumentSession& session) {
    switch (LayerSelection(session).merge()) {
    case LayerSelection::Merge::layers:
        return "Merge Layers";
    case LayerSelection::Merge::group:
        return "Merge Group";
    default:
        return "Merge Down";
    }
}

void LayerActions::mergeVisible(DocumentSession& session) {
    session.perform(MergeVisibleCommand{});
}

void LayerActions::stampVisible(DocumentSession& session) {
    session.perform(StampVisibleCommand{});
}

void LayerActions::flatten(DocumentSession& session) {
    session.perform(FlattenImageCommand{});
}

void LayerActions::chooseAbove(DocumentSession& session) {
    step(session, 1, false);
}

void LayerActions::chooseBelow(DocumentSession& session) {
    step(session, -1, false);
}

void LayerActions::extendAbove(DocumentSession& session) {
    step(session, 1, true);
}

void LayerActions::extendBelow(DocumentSession& session) {
    step(session, -1, true);
}

void LayerActions::chooseTop(DocumentSession& session) {
    const std::vector<LayerID> ids = upward(*session._state);
    if (!ids.empty()) choose(session, ids.back(), false);
}

void LayerActions::chooseBottom(DocumentSession& session) {
    const std::vector<LayerID> ids = upward(*session._state);
    if (!ids.empty()) choose(session, ids.front(), false);
}

void LayerActions::chooseAll(DocumentSession& session) {
    if (*session._isLiveEditing) return;
    const std::vector<LayerID> ids = upward(*session._state);
    session._selectedLayerIDs.set({ids.begin(), ids.end()});
}

} // namespace ombrel
