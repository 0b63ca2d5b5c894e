#include "App/Panels/LayerAlone.h"

#include "Commands/ClipStacks.h"
#include "Commands/LayerPropertyCommands.h"
#include "Editor/DocumentSession.h"

namespace ombrel {

namespace {

using Visibility = std::map<LayerID, bool>;

void collect(const GroupLayer& group, Visibility& all) {
    for (const LayerNode& node : group.children) {
        all[node.id()] = node.properties().isVisible;
        if (const GroupLayer* inner = node.group()) collect(*inner, all);
    }
}

Visibility visibilityOf(const DocumentState& state) {
    Visibility all;
    collect(*state.root, all);
    return all;
}

/// False where the layer is not inside.
bool isolate(const GroupLayer& group, LayerID id, Visibility& wanted) {
    for (std::size_t i = 0; i < group.children.size(); ++i) {
        const LayerNode& node = group.children[i];
        const bool isIt = node.id() == id;
        const bool isAround = node.group() != nullptr && isolate(*node.group(), id, wanted);
        if (!isIt && !isAround) continue;
        for (const LayerNode& sibling : group.children)
            wanted[sibling.id()] = false;
        wanted[node.id()] = true;
        wanted[group.children[ClipStacks::baseOf(group.children, i)].id()] = true;
        return true;
    }
    return false;
}

SetLayersVisibilityCommand changes(const Visibility& from, const Visibility& to) {
    SetLayersVisibilityCommand command;
    for (const auto& [id, isVisible] : to) {
        const auto before = from.find(id);
        if (before != from.end() && before->second != isVisible)
            command.visibility.emplace(id, isVisible);
    }
    return command;
}

} // namespace

LayerAlone::LayerAlone(std::shared_ptr<DocumentSession> session) : session_(std::move(session)) {}

void LayerAlone::toggle(LayerID id) {
    if (*session_->_isLiveEditing) return;
    const Visibility present = visibilityOf(*session_->_state);
    Visibility wanted = present;
    if (!isolate(*session_->_state->root, id, wanted)) return;
    const bool isBack = shown_ == id && present == after_;
    const SetLayersVisibilityCommand command = changes(present, isBack ? before_ : wanted);
    shown_ = isBack ? std::nullopt : std::optional(id);
    if (!isBack) {
        // From one layer alone to another the way back stays the same.
        if (present != after_ || before_.empty()) before_ = present;
        after_ = std::move(wanted);
    }
    if (!command.visibility.empty()) session_->perform(command);
}

} // namespace ombrel
