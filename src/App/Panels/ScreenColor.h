// Between a document's colours and those that widgets show and let one choose, which are sRGB. What
// lies outside of sRGB shows as the nearest colour inside. Main thread, as widgets.
#pragma once

#include "Core/ColorMath.h"
#include "Core/ColorProfile.h"
#include "Core/PremultipliedColor.h"

#include <QColor>

namespace ombrel {

QColor screenColor(const PremultipliedColor& color, const ColorProfile& document);

/// For who chooses colours: all the digits there are, and without alpha. A byte of each
/// channel comes back as that byte, whatever the profile between.
ColorMath::DisplayRgb displayColor(const PremultipliedColor& color, const ColorProfile& document);
PremultipliedColor documentColor(const ColorMath::DisplayRgb& color, const ColorProfile& document);
/// Whether the screen's colours, which are sRGB, lack it: it shows as another one.
bool isBeyondScreen(const PremultipliedColor& color, const ColorProfile& document);

QColor colorOf(const ColorMath::DisplayRgb& color);

} // namespace ombrel
