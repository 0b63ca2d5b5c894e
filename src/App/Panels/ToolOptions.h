// The options of each tool as a row of widgets: one table, a line a tool. A tool without a line has
// none. Main thread only.
#pragma once

#include "App/Panels/PanelCatalog.h"

#include <functional>
#include <vector>

class QWidget;

namespace ombrel {

class Tool;

/// The widgets of one tool, from left to right, and how they show its settings anew.
struct ToolOptionRow {
    std::vector<QWidget*> widgets; ///< owned by the parent they were made with
    std::function<void()> refresh; ///< may be empty
};

/// `tool` is the active one and stays for as long as the session.
ToolOptionRow makeToolOptions(const PanelContext& context, Tool& tool, QWidget* parent);

} // namespace ombrel
