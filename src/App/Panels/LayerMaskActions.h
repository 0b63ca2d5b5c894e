// What panels and menus do with the mask of the active layer, or of a layer that is named. Main
// thread only.
#pragma once

#include "Core/Layer.h"

#include <cstdint>

namespace ombrel {

class DocumentSession;

namespace LayerMaskActions {

enum class Kind : std::uint8_t { revealing, hiding };

bool canAdd(const DocumentSession& session);
bool hasMask(const DocumentSession& session);
bool isEnabled(const DocumentSession& session);
bool isLinked(const DocumentSession& session);
bool isViewed(const DocumentSession& session);
bool canApply(const DocumentSession& session); ///< a group has no pixels to apply it to

/// The new mask receives what is edited from then on.
void add(DocumentSession& session, Kind kind);
void addRevealing(DocumentSession& session);
void addHiding(DocumentSession& session);
void remove(DocumentSession& session);
void apply(DocumentSession& session);
void toggleEnabled(DocumentSession& session);
void toggleLinked(DocumentSession& session);
void toggleView(DocumentSession& session); ///< the mask as a picture instead of the image

void toggleEnabled(DocumentSession& session, LayerID id);
void toggleLinked(DocumentSession& session, LayerID id);
/// Makes its layer active, too: only there a mask receives edits.
void toggleView(DocumentSession& session, LayerID id);
void target(DocumentSession& session, LayerID id);
void targetPixels(DocumentSession& session); ///< and shows the image again
void move(DocumentSession& session, LayerID from, LayerID to, bool isCopy);
/// Looks no longer at a mask that is gone.
void follow(DocumentSession& session);

} // namespace LayerMaskActions

} // namespace ombrel
