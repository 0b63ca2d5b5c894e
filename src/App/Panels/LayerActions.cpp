#include "App/Panels/LayerActions.h"

#include "App/Panels/LayerPropertyEdit.h"
#include "Commands/AddLayerCommands.h"
#include "Commands/DeleteLayersCommand.h"
#include "Commands/DuplicateLayersCommand.h"
#include "Commands/GroupCommands.h"
#include "Commands/LayerPropertyCommands.h"
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

/// In one walk: looking for each of many layers would walk the tree for each.
std::vector<const LayerNode*> targetNodes(const DocumentSession& session) {
    const DocumentState& state = *session._state;
    const std::set<LayerID>& chosen = *session._selectedLayerIDs;
    std::vector<const LayerNode*> nodes;
    if (!chosen.empty()) {
        walk(*state.root, [&](const LayerNode& node) {
            if (chosen.contains(node.id())) nodes.push_back(&node);
        });
    }
    if (nodes.empty() && state.activeLayer() != nullptr) nodes.push_back(state.activeLayer());
    return nodes;
}

template <typename Test>
bool areAll(const DocumentSession& session, Test&& test) {
    const std::vector<const LayerNode*> nodes = targetNodes(session);
    return !nodes.empty() &&
           std::ranges::all_of(nodes, [&](const LayerNode* node) { return test(*node); });
}

} // namespace

std::vector<LayerID> LayerActions::targets(const DocumentSession& session) {
    std::vector<LayerID> ids;
    for (const LayerNode* node : targetNodes(session))
        ids.push_back(node->id());
    return ids;
}

void LayerActions::addLayer(DocumentSession& session) {
    session.perform(AddLayerCommand{.layer = PixelLayer::named(nextName(*session._state, "Layer")),
                                    .above = {}});
}

void LayerActions::addGroup(DocumentSession& session) {
    session.perform(NewGroupCommand{.group = GroupLayer::named(nextName(*session._state, "Group")),
                                    .above = {}});
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
    if (canUngroup(session)) session.perform(UngroupCommand{targets(session).front()});
}

void LayerActions::toggleVisibility(DocumentSession& session) {
    const bool areShown =
        areAll(session, [](const LayerNode& node) { return node.properties().isVisible; });
    SetLayersVisibilityCommand command;
    for (const LayerID id : targets(session))
        command.visibility[id] = !areShown;
    if (!command.visibility.empty()) session.perform(command);
}

void LayerActions::toggleClipping(DocumentSession& session) {
    const bool clips = !areClipped(session);
    std::vector<LayerID> ids = targets(session);
    std::erase_if(ids, [&](LayerID id) {
        return clips && session._state->find(id)->pixelLayer() == nullptr; // groups never clip
    });
    if (!ids.empty())
        session.perform(SetClippingCommand{.layerIDs = std::move(ids), .clipped = clips});
}

void LayerActions::toggleLocks(DocumentSession& session, LayerLocks locks) {
    const std::vector<LayerID> ids = targets(session);
    if (ids.empty()) return;
    const bool sets = !haveLocks(session, locks);
    const auto change = [&](LayerProperties& properties) {
        const unsigned rest = properties.locks.rawValue & ~unsigned{locks.rawValue};
        properties.locks.rawValue = static_cast<std::uint8_t>(sets ? rest | locks.rawValue : rest);
    };
    const char* const name = sets ? "Lock Layers" : "Unlock Layers";
    session.perform(propertiesCommand(*session._state, ids, change, name, false));
}

bool LayerActions::canRemove(const DocumentSession& session) {
    const std::vector<const LayerNode*> nodes = targetNodes(session);
    const std::set<const LayerNode*> chosen(nodes.begin(), nodes.end());
    return !chosen.empty() &&
           std::ranges::any_of(session._state->root->children,
                               [&](const LayerNode& node) { return !chosen.contains(&node); });
}

bool LayerActions::canUngroup(const DocumentSession& session) {
    const std::vector<LayerID> ids = targets(session);
    return ids.size() == 1 && session._state->find(ids.front())->group() != nullptr;
}

bool LayerActions::canClip(const DocumentSession& session) {
    return !areGroups(session) && session._state->activeLayer() != nullptr;
}

bool LayerActions::areGroups(const DocumentSession& session) {
    return areAll(session, [](const LayerNode& node) { return node.group() != nullptr; });
}

bool LayerActions::areClipped(const DocumentSession& session) {
    const auto isClippedOrGroup = [](const LayerNode& node) {
        return node.properties().clipsToBelow || node.group() != nullptr;
    };
    return areAll(session, isClippedOrGroup) && canClip(session);
}

bool LayerActions::haveLocks(const DocumentSession& session, LayerLocks locks) {
    return areAll(session,
                  [&](const LayerNode& node) { return node.properties().locks.contains(locks); });
}

} // namespace ombrel
