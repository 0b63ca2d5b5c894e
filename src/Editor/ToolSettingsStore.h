// Keeps the settings of the tools of one document among the user's: gives the tools what is stored,
// and stores what they change. Main thread.
#pragma once

#include "Base/Settings.h"
#include "Tools/SavedToolSettings.h"
#include "Tools/Tool.h"

#include <vector>

namespace ombrel {

class ToolSettingsStore {
public:
    /// Lives no longer than the settings.
    ToolSettingsStore(const ToolSet& tools, Settings& settings);

private:
    std::vector<Connection> connections_;
};

} // namespace ombrel
