// What the engine asks of whoever renders layer effects: a state in which they have become pixels.
#pragma once

#include "Core/DocumentState.h"

#include <optional>

namespace ombrel {

class EffectBaking {
public:
    virtual ~EffectBaking() = default;

    /// The state with all effects drawn into its layers, or nothing where there are none.
    virtual std::optional<DocumentState> baked(const DocumentState& state) = 0;
};

} // namespace ombrel
