// What panels and menus do with the layers that are chosen: each builds the command from the
// session's present state and performs it. Main thread only.
#pragma once

#include "Core/Layer.h"

#include <vector>

namespace ombrel {

class DocumentSession;

namespace LayerActions {

/// The chosen layers that exist, the active one where none is, from bottom to top.
std::vector<LayerID> targets(const DocumentSession& session);

void addLayer(DocumentSession& session);
void addGroup(DocumentSession& session);
void duplicate(DocumentSession& session);
void remove(DocumentSession& session);
void group(DocumentSession& session);
void ungroup(DocumentSession& session);
void toggleVisibility(DocumentSession& session);
void toggleClipping(DocumentSession& session); ///< releases where all are clipped
/// Sets the locks on all unless all have them, then takes them off.
void toggleLocks(DocumentSession& session, LayerLocks locks);

bool canRemove(const DocumentSession& session); ///< something would be left
bool canUngroup(const DocumentSession& session);
bool canClip(const DocumentSession& session);
bool areGroups(const DocumentSession& session);
bool areClipped(const DocumentSession& session);
bool haveLocks(const DocumentSession& session, LayerLocks locks);

} // namespace LayerActions

} // namespace ombrel
