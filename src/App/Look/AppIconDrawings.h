// The drawings of the program's icon as SVG text; the build makes them from assets/icons.
#pragma once

namespace ombrel {

extern const char* const appIconLargeDrawing;
extern const char* const appIconSmallDrawing;

} // namespace ombrel
