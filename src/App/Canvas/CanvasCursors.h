// What each role of a cursor looks like. Main thread.
#pragma once

#include "Tools/ToolCursor.h"

#include <QCursor>

namespace ombrel {

QCursor cursorOf(ToolCursor role, double devicePixelRatio);

} // namespace ombrel
