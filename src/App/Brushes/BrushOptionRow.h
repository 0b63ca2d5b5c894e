// What the options bar offers for brush, pencil and eraser. Main thread only.
#pragma once

#include "App/Panels/ToolOptions.h"

namespace ombrel {

/// `tool` is a BrushTool.
ToolOptionRow brushOptions(const PanelContext& context, Tool& tool, QWidget* parent);

} // namespace ombrel
