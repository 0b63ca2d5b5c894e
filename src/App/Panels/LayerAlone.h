// A layer shown alone, and the way back: asked for the same layer again, what was visible before is
// so again, unless something else was shown or hidden meanwhile. The groups around the layer stay
// visible, and what it clips to. Each step is a command. Main thread only.
#pragma once

#include "Core/Layer.h"

#include <map>
#include <memory>
#include <optional>

namespace ombrel {

class DocumentSession;

class LayerAlone {
public:
    explicit LayerAlone(std::shared_ptr<DocumentSession> session);

    void toggle(LayerID id);

private:
    using Visibility = std::map<LayerID, bool>;

    std::shared_ptr<DocumentSession> session_;
    std::optional<LayerID> shown_;
    Visibility before_; ///< of all layers that were there
    Visibility after_;
};

} // namespace ombrel
