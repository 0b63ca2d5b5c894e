// The layers that actions act on: those selected in the layers panel, or else the active one; and
// what can be done with them. A look at the session as it stands; main thread.
#pragma once

#include "Commands/ArrangeCommands.h"
#include "Commands/LayerPropertyCommands.h"
#include "Editor/DocumentSession.h"

#include <functional>
#include <string>
#include <vector>

namespace ombrel {

class LayerSelection {
public:
    explicit LayerSelection(const DocumentSession& session);

    const std::vector<LayerID>& ids() const { return ids_; } ///< bottom to top
    bool isGroupActive() const;
    bool isVisible() const; ///< all of them
    bool isLocked() const;  ///< all of them, wholly
    bool isClipped() const; ///< all of them
    bool holdsLive() const; ///< within groups too
    bool canDelete() const;
    bool canArrange(ArrangeLayersCommand::Arrangement arrangement) const;
    bool canMerge() const;
    std::string mergeText() const;
    Command mergeCommand() const; ///< where canMerge()

    SetLayersPropertiesCommand
    withProperties(std::string name, const std::function<void(LayerProperties&)>& change) const;

private:
    bool all(const std::function<bool(const LayerProperties&)>& holds) const;
    const LayerNode* single() const;

    const DocumentState& state_;
    std::vector<LayerID> ids_;
};

} // namespace ombrel
