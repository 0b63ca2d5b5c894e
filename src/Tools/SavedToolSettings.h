// A tool whose settings outlive the program. The store of settings keeps the value under a prefix
// and the tool's key, and hands it back when the tool is made. Main thread.
#pragma once

#include "Base/Json.h"
#include "Base/SettingKeys.h"
#include "Base/Signal.h"

#include <string>
#include <string_view>

namespace ombrel {

class SavedToolSettings {
public:
    SavedToolSettings() = default;
    virtual ~SavedToolSettings() = default;
    SavedToolSettings(const SavedToolSettings&) = delete;
    SavedToolSettings& operator=(const SavedToolSettings&) = delete;

    virtual std::string_view settingsKey() const = 0;
    /// Takes what it understands of a stored value, and keeps its own for the rest.
    virtual void restoreSettings(const Json& stored) = 0;
    virtual Json storedSettings() const = 0;

    /// The name under which the settings are stored.
    std::string settingsName() const {
        return std::string(SettingKeys::toolSettingsPrefix).append(settingsKey());
    }

    Signal<> settingsChanged; ///< for whoever stores or shows them
};

} // namespace ombrel
