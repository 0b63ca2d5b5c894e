// The layer tree compiled to a flat program: what the renderer runs for every tile. Hidden layers
// and groups without a visible pixel layer never reach it.
#pragma once

#include "Core/Layer.h"

#include <variant>
#include <vector>

namespace ombrel {

/// Blends a layer into the current level.
struct LayerStep {
    CowPtr<PixelLayer> layer;
};
/// Blends a layer, limited to the alpha that the level's first layer left.
struct ClippedStep {
    CowPtr<PixelLayer> layer;
};
/// Opens a nesting level; an isolated one starts from nothing, another from what lies below.
struct BeginStep {
    bool isolated = true;
};
/// Closes the level and blends it into its parent.
struct EndStep {
    bool isolated = true;
    float opacity = 1;
    BlendMode blendMode = BlendMode::normal;
    std::optional<LayerMask> mask;
};

struct CompositeStep {
    std::variant<LayerStep, ClippedStep, BeginStep, EndStep> value;

    bool hasLayer() const;
    const PixelLayer* pixelLayer() const; ///< of a layer or clipped step, else null
    const LayerMask* mask() const;        ///< what masks this step, else null

    /// Compares structure, never pixels: layers by id, `end` also by opacity, mode and the mask's
    /// background and offset.
    bool operator==(const CompositeStep& other) const;
};

using CompositeProgram = std::vector<CompositeStep>;

/// Groups nested deeper than this lose their wrapper and blend straight into their parent.
inline constexpr int maximumGroupDepth = 9;

CompositeProgram compileProgram(const GroupLayer& root);

} // namespace ombrel
