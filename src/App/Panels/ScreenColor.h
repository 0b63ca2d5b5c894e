// Between a document's colours and those that widgets show and let one choose, which are sRGB. What
// lies outside of sRGB shows as the nearest colour inside. Main thread, as widgets.
#pragma once

#include "Core/ColorProfile.h"
#include "Core/PremultipliedColor.h"

#include <QColor>

namespace ombrel {

QColor screenColor(const PremultipliedColor& color, const ColorProfile& document);
/// Opaque colours stay opaque.
PremultipliedColor documentColor(const QColor& color, const ColorProfile& document);

} // namespace ombrel
