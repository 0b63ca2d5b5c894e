#include "Editor/ToolSettingsStore.h"

namespace ombrel {

ToolSettingsStore::ToolSettingsStore(const ToolSet& tools, Settings& settings) {
    for (const auto& [kind, tool] : tools) {
        auto* const saved = dynamic_cast<SavedToolSettings*>(tool.get());
        if (saved == nullptr) continue;
        saved->restoreSettings(settings.json(saved->settingsName()));
        connections_.push_back(saved->settingsChanged.connect([saved, &settings] {
            settings.setJson(saved->settingsName(), saved->storedSettings());
        }));
    }
}

} // namespace ombrel
