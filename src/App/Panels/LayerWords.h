// What is said about a layer in words: beside its name, and to who hears the panel instead of
// seeing it. Pure functions.
#pragma once

#include "Core/Layer.h"

#include <QString>

namespace ombrel {

/// "Multiply, 50 %": what sets its blending apart from a plain layer's; empty for that.
QString blendWords(const LayerProperties& properties);
/// "Haze, layer, hidden, Screen, masked"
QString spokenWords(const LayerNode& node);

} // namespace ombrel
