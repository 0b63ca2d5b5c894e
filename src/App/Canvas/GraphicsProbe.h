// What draws OpenGL on this machine. Loading a driver takes a tenth of a second, so it is asked for
// on a thread of its own, by a connection of its own, while the program starts.
#pragma once

#include <optional>

namespace ombrel::GraphicsProbe {

/// Begins to look, once; the application exists. Main thread.
void begin();
/// Whether OpenGL is drawn by a graphics device and not on the processor; nothing while that is not
/// known yet. Begins where nobody has. Main thread.
std::optional<bool> hasDevice();
/// Waits until nobody looks any more. Before the process ends: what a driver loads takes itself
/// down then, and a driver that still starts up would never come back.
void finish();

} // namespace ombrel::GraphicsProbe
