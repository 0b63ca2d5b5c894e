// One change to the properties of all layers that are chosen, as one step of the history. Main
// thread.
#pragma once

#include "App/Panels/LayerSelection.h"
#include "Commands/LayerPropertyCommands.h"
#include "Editor/DocumentSession.h"

#include <functional>
#include <string>

namespace ombrel {

inline void changeLayers(DocumentSession& session, std::string name,
                         const std::function<void(LayerProperties&)>& change) {
    SetLayersPropertiesCommand command;
    command.name = std::move(name);
    for (const LayerID id : LayerSelection(session).ids())
        change(command.properties[id] = session._state->find(id)->properties());
    session.perform(command);
}

} // namespace ombrel
