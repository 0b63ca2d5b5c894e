#include "App/Panels/LayerMaskActions.h"

#include "Commands/MaskCommands.h"
#include "Editor/DocumentSession.h"

namespace ombrel {

namespace {

const LayerMask* maskOf(const LayerNode* node) {
    return node != nullptr && node->mask() ? &*node->mask() : nullptr;
}

const LayerMask* activeMask(const DocumentSession& session) {
    return maskOf(session._state->activeLayer());
}

bool isFree(const DocumentSession& session) {
    return !*session._isLiveEditing;
}

} // namespace

bool LayerMaskActions::canAdd(const DocumentSession& session) {
    const LayerNode* active = session._state->activeLayer();
    return isFree(session) && active != nullptr && !active->mask();
}

bool LayerMaskActions::hasMask(const DocumentSession& session) {
    return isFree(session) && activeMask(session) != nullptr;
}

bool LayerMaskActions::isEnabled(const DocumentSession& session) {
    const LayerMask* mask = activeMask(session);
    return mask != nullptr && mask->isEnabled;
}

bool LayerMaskActions::isLinked(const DocumentSession& session) {
    const LayerMask* mask = activeMask(session);
    return mask != nullptr && mask->isLinked;
}

bool LayerMaskActions::isViewed(const DocumentSession& session) {
    return activeMask(session) != nullptr && *session._maskViewID == session._state->activeLayerID;
}

bool LayerMaskActions::canApply(const DocumentSession& session) {
    const PixelLayer* layer = session._state->activePixelLayer();
    return hasMask(session) && layer != nullptr &&
           !layer->properties.locks.contains(LayerLocks::pixels);
}

void LayerMaskActions::add(DocumentSession& session, Kind kind) {
    if (!canAdd(session)) return;
    const LayerID id = *session._state->activeLayerID;
    const NewMaskKind made = kind == Kind::hiding ? NewMaskKind::hideAll : NewMaskKind::revealAll;
    session.perform(AddLayerMaskCommand{.layerID = id, .kind = made},
                    [weak = session.weak_from_this(), id] {
                        const auto self = weak.lock();
                        if (self && maskOf(self->_state->find(id)) != nullptr)
                            self->_maskTargetID.set(id);
                    });
}

void LayerMaskActions::addRevealing(DocumentSession& session) {
    add(session, Kind::revealing);
}

void LayerMaskActions::addHiding(DocumentSession& session) {
    add(session, Kind::hiding);
}

void LayerMaskActions::remove(DocumentSession& session) {
    if (hasMask(session)) session.perform(DeleteLayerMaskCommand{*session._state->activeLayerID});
}

void LayerMaskActions::apply(DocumentSession& session) {
    if (canApply(session)) session.perform(ApplyLayerMaskCommand{*session._state->activeLayerID});
}

void LayerMaskActions::toggleEnabled(DocumentSession& session) {
    if (hasMask(session)) toggleEnabled(session, *session._state->activeLayerID);
}

void LayerMaskActions::toggleLinked(DocumentSession& session) {
    if (hasMask(session)) toggleLinked(session, *session._state->activeLayerID);
}

void LayerMaskActions::toggleView(DocumentSession& session) {
    if (hasMask(session)) toggleView(session, *session._state->activeLayerID);
}

void LayerMaskActions::toggleEnabled(DocumentSession& session, LayerID id) {
    if (const LayerMask* mask = maskOf(session._state->find(id)))
        session.perform(SetLayerMaskEnabledCommand{.layerID = id, .isEnabled = !mask->isEnabled});
}

void LayerMaskActions::toggleLinked(DocumentSession& session, LayerID id) {
    if (const LayerMask* mask = maskOf(session._state->find(id)))
        session.perform(SetMaskLinkedCommand{.layerID = id, .isLinked = !mask->isLinked});
}

void LayerMaskActions::toggleView(DocumentSession& session, LayerID id) {
    if (*session._maskViewID == id) return session._maskViewID.set(std::nullopt);
    if (maskOf(session._state->find(id)) == nullptr || !isFree(session)) return;
    target(session, id);
    session._maskViewID.set(id);
}

void LayerMaskActions::target(DocumentSession& session, LayerID id) {
    if (session._state->activeLayerID != id) session.setActiveLayer(id);
    session._maskTargetID.set(id);
    if (*session._maskViewID && *session._maskViewID != id) session._maskViewID.set(std::nullopt);
}

void LayerMaskActions::targetPixels(DocumentSession& session) {
    session._maskTargetID.set(std::nullopt);
    session._maskViewID.set(std::nullopt);
}

void LayerMaskActions::move(DocumentSession& session, LayerID from, LayerID to, bool isCopy) {
    if (from == to || !isFree(session)) return;
    const bool wasTarget = session.maskTarget() == from;
    session.perform(MoveLayerMaskCommand{.sourceID = from, .targetID = to, .copy = isCopy},
                    [weak = session.weak_from_this(), to, wasTarget] {
                        const auto self = weak.lock();
                        if (self && wasTarget && maskOf(self->_state->find(to)) != nullptr)
                            target(*self, to);
                    });
}

void LayerMaskActions::follow(DocumentSession& session) {
    const std::optional<LayerID> viewed = *session._maskViewID;
    if (!viewed) return;
    const bool isThere = maskOf(session._state->find(*viewed)) != nullptr;
    // One looks at the mask of the layer one works on.
    if (!isThere || session._state->activeLayerID != viewed) session._maskViewID.set(std::nullopt);
}

} // namespace ombrel
