// The layers that actions act on: those chosen in the layers panel that exist, or else the active
// one; and what can be done with them. A look at the session's present state, found in one walk;
// good until that state changes. Main thread only.
#pragma once

#include "Commands/ArrangeCommands.h"
#include "Core/Layer.h"

#include <cstdint>
#include <functional>
#include <set>
#include <vector>

namespace ombrel {

class DocumentSession;
struct DocumentState;

class LayerSelection {
public:
    /// What merging makes of them.
    enum class Merge : std::uint8_t { none, down, layers, group };

    explicit LayerSelection(const DocumentSession& session);

    bool isEmpty() const { return places_.empty(); }
    std::vector<LayerID> ids() const; ///< bottom to top, a group after its children
    const LayerNode* single() const;  ///< null unless it is one
    const LayerNode* active() const { return active_; } ///< null where there is none

    bool all(const std::function<bool(const LayerNode&)>& holds) const; ///< false for none
    bool any(const std::function<bool(const LayerNode&)>& holds) const;
    bool areVisible() const;
    bool haveLocks(LayerLocks locks) const;
    bool areClipped() const; ///< those that can be
    bool areGroups() const;
    bool holdsLive() const; ///< within groups too

    bool canRemove() const; ///< something would be left
    bool canUngroup() const;
    bool canClip() const; ///< some are pixel layers with something below, or clipped
    std::vector<LayerID> clippableIds() const;
    bool canArrange(ArrangeLayersCommand::Arrangement arrangement) const;
    Merge merge() const;

private:
    struct Place {
        const LayerNode* node;
        const GroupLayer* parent;
        std::size_t index;
    };

    void walk(const GroupLayer& group, const std::set<LayerID>& chosen);
    static bool isClippable(const Place& place);

    const DocumentState& state_;
    const GroupLayer& root_;
    const LayerNode* active_;
    std::vector<Place> places_;
};

} // namespace ombrel
