// A drag that changes properties of layers: shown at once as a live edit of the session, one
// history entry at its end. Where the session is at work and lets none begin, the change is made as
// a command at the end. Main thread only.
#pragma once

#include "Commands/Command.h"

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>

namespace ombrel {

class DocumentSession;

using LayerPropertyChange = std::function<void(LayerProperties&)>;

/// A command that changes these layers; those that are gone are skipped.
Command propertiesCommand(const DocumentState& state, std::span<const LayerID> ids,
                          const LayerPropertyChange& change, std::string name, bool coalesces);

class LayerPropertyEdit {
public:
    explicit LayerPropertyEdit(std::shared_ptr<DocumentSession> session);
    ~LayerPropertyEdit(); ///< cancels

    bool isOpen() const { return isOpen_; }
    void begin();
    /// Sets, rather than adds: of several changes of one layer only the last counts.
    void change(std::span<const LayerID> ids, const LayerPropertyChange& change);
    /// Makes a history entry, unless everything is as it was.
    void commit(std::string name);
    void cancel();

private:
    std::shared_ptr<DocumentSession> session_;
    std::map<LayerID, LayerPropertyChange> changes_;
    std::map<LayerID, LayerProperties> before_;
    bool isOpen_ = false;
    bool isLive_ = false;
};

} // namespace ombrel
