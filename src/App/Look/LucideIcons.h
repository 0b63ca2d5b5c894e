// The icons that the build took from the Lucide package, as SVG text by name. The table is empty
// where the package could not be had. Any thread.
#pragma once

#include <string_view>
#include <vector>

namespace ombrel {

struct LucideIcon {
    std::string_view name;
    std::string_view svg; ///< 24 x 24, strokes in "currentColor"
};

const std::vector<LucideIcon>& lucideIcons(); ///< by name, in ascending order
extern const char* const lucideLicense;       ///< for the program's acknowledgements

} // namespace ombrel
