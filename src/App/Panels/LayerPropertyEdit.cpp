#include "App/Panels/LayerPropertyEdit.h"

#include "Commands/LayerPropertyCommands.h"
#include "Editor/DocumentSession.h"

namespace ombrel {

Command propertiesCommand(const DocumentState& state, std::span<const LayerID> ids,
                          const LayerPropertyChange& change, std::string name, bool coalesces) {
    SetLayersPropertiesCommand command{
        .properties = {}, .name = std::move(name), .coalesces = coalesces};
    for (const LayerID id : ids) {
        const LayerNode* node = state.find(id);
        if (node == nullptr) continue;
        LayerProperties properties = node->properties();
        change(properties);
        command.properties.emplace(id, std::move(properties));
    }
    return command;
}

LayerPropertyEdit::LayerPropertyEdit(std::shared_ptr<DocumentSession> session)
    : session_(std::move(session)) {}

LayerPropertyEdit::~LayerPropertyEdit() {
    cancel();
}

void LayerPropertyEdit::begin() {
    if (isOpen_) return;
    isOpen_ = true;
    isLive_ = session_->beginLive();
}

void LayerPropertyEdit::change(std::span<const LayerID> ids, const LayerPropertyChange& change) {
    if (!isOpen_) return;
    for (const LayerID id : ids) {
        changes_[id] = change;
        const LayerNode* node = session_->_state->find(id);
        if (node != nullptr) before_.try_emplace(id, node->properties());
    }
    if (!isLive_) return;
    session_->updateLive([&](DocumentState& state) {
        for (const LayerID id : ids)
            state.update(id, [&](LayerNode& node) { change(node.writeProperties()); });
    });
}

void LayerPropertyEdit::commit(std::string name) {
    if (!isOpen_) return;
    SetLayersPropertiesCommand command{.properties = {}, .name = name};
    for (const auto& [id, change] : changes_) {
        const auto before = before_.find(id);
        if (before == before_.end()) continue;
        LayerProperties properties = before->second;
        change(properties);
        if (properties != before->second) command.properties.emplace(id, std::move(properties));
    }
    const bool isLive = isLive_;
    if (command.properties.empty()) return cancel();
    changes_.clear();
    before_.clear();
    isOpen_ = isLive_ = false;
    if (isLive) {
        session_->commitLive(std::move(name));
    } else {
        session_->perform(command);
    }
}

void LayerPropertyEdit::cancel() {
    changes_.clear();
    before_.clear();
    isOpen_ = false;
    if (std::exchange(isLive_, false)) session_->cancelLive();
}

} // namespace ombrel
