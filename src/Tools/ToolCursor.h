// Cursors by their role; the window knows what each looks like.
#pragma once

#include <cstdint>

namespace ombrel {

enum class ToolCursor : std::uint8_t {
    arrow,
    forbidden,
    crosshair,
    none, ///< hidden: the tool draws its own as an overlay
    move,
    moveCopy,
    handOpen,
    handClosed,
    zoomIn,
    zoomOut,
    rotate,
    eyedropper,
    text,
    wait,
    resizeHorizontal,
    resizeVertical,
    resizeRising,  ///< along a line that rises to the right
    resizeFalling, ///< along a line that falls to the right
};

} // namespace ombrel
