// What panels and menus do with the layers that are chosen: each builds the command from the
// session's present state and performs it. Main thread only.
#pragma once

#include "Commands/ArrangeCommands.h"
#include "Core/Layer.h"

#include <functional>
#include <vector>

namespace ombrel {

class DocumentSession;

namespace LayerActions {

/// As LayerSelection::ids.
std::vector<LayerID> targets(const DocumentSession& session);

void addLayer(DocumentSession& session);
void addGroup(DocumentSession& session);
void duplicate(DocumentSession& session);
void remove(DocumentSession& session);
void group(DocumentSession& session);
void ungroup(DocumentSession& session);
void toggleVisibility(DocumentSession& session); ///< hides where all are visible
void toggleClipping(DocumentSession& session);   ///< releases where all are clipped
/// Sets the locks on all unless all have them, then takes them off.
void toggleLocks(DocumentSession& session, LayerLocks locks);
/// One change to the properties of all of them, as one step of the history.
void changeProperties(DocumentSession& session, const char* name,
                      const std::function<void(LayerProperties&)>& change);
void arrange(DocumentSession& session, ArrangeLayersCommand::Arrangement arrangement);
void rasterize(DocumentSession& session);
void merge(DocumentSession& session); ///< as LayerSelection::merge says
const char* mergeText(const DocumentSession& session);
void mergeVisible(DocumentSession& session);
void stampVisible(DocumentSession& session);
void flatten(DocumentSession& session);

/// The neighbour of the active layer as the panel shows them, groups before what they hold; alone,
/// or with what is chosen already.
void chooseAbove(DocumentSession& session);
void chooseBelow(DocumentSession& session);
void extendAbove(DocumentSession& session);
void extendBelow(DocumentSession& session);
void chooseTop(DocumentSession& session);
void chooseBottom(DocumentSession& session);
void chooseAll(DocumentSession& session);

} // namespace LayerActions

} // namespace ombrel
