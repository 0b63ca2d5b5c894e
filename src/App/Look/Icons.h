// Icons by their Lucide names, drawn in the theme's colours at whatever size and scale is asked
// for, disabled and switched-on states included. A name that the set lacks shows as its first
// letter. Main thread only.
#pragma once

#include <QIcon>
#include <string_view>

namespace ombrel {

/// Follows the theme when that changes.
QIcon icon(std::string_view lucideName);
bool hasIcon(std::string_view lucideName);

} // namespace ombrel
