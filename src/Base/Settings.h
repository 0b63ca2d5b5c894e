// The user's settings: one JSON object in one file, read once and written a moment after the last
// change, atomically and in the background. Only changed keys are written over what the file then
// holds, so keys that nobody here knows and changes by other processes stay. A file that cannot be
// read is kept beside its name with ".damaged" added, and defaults are used.
// Every operation may be called from any thread; callbacks run on the thread that changed a value.
#pragma once

#include "Base/FileError.h"
#include "Base/Json.h"
#include "Base/SettingKeys.h"
#include "Base/Signal.h"
#include "Base/Strand.h"
#include "Base/ThreadAnnotations.h"
#include "Base/Timer.h"

#include <expected>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace ombrel {

class Settings {
public:
    /// The user's own, "settings.json" in the config folder. Never destroyed: the program calls
    /// save() before it ends.
    static Settings& shared();

    /// Reads `file` where it exists; its folder is made when something is to be written.
    explicit Settings(std::filesystem::path file);
    /// Saves what is not saved yet.
    ~Settings();
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    std::int64_t get(const IntegerSetting& key) const;
    double get(const NumberSetting& key) const;
    bool get(const BoolSetting& key) const;
    std::string get(const ChoiceSetting& key) const;
    std::string get(const TextSetting& key) const; ///< empty where absent
    std::vector<std::string> get(const TextListSetting& key) const;
    /// Of any key, as stored; null where absent.
    Json json(std::string_view name) const;

    /// Values are brought into range; an unknown choice becomes the default.
    void set(const IntegerSetting& key, std::int64_t value);
    void set(const NumberSetting& key, double value);
    void set(const BoolSetting& key, bool value);
    void set(const ChoiceSetting& key, std::string_view value);
    void set(const TextSetting& key, std::string_view value); ///< empty removes it
    void set(const TextListSetting& key, std::vector<std::string> value);
    /// Null removes the key. Setting what is there already does nothing.
    void setJson(std::string_view name, const Json& value);

    /// Called with the stored value (null when removed) after each change made in this process.
    Connection onChange(std::string_view name, std::function<void(const Json&)> callback);

    /// Writes now what has changed, and waits for it. Not from a pool thread.
    std::expected<void, FileError> save();

private:
    using ChangeSignal = Signal<Json>;

    void scheduleSave() OMBREL_REQUIRES(mutex_);
    std::expected<void, FileError> writeChanges();
    void tell(const std::expected<void, FileError>& written);

    const std::filesystem::path file_;
    mutable Mutex mutex_;
    Json values_ OMBREL_GUARDED_BY(mutex_);
    std::set<std::string, std::less<>> changed_ OMBREL_GUARDED_BY(mutex_); ///< not written yet
    std::map<std::string, std::unique_ptr<ChangeSignal>, std::less<>>
        signals_ OMBREL_GUARDED_BY(mutex_);
    bool isSaveScheduled_ OMBREL_GUARDED_BY(mutex_) = false;
    Strand writer_{"Settings", TaskPriority::utility};
    std::string toldFailure_; ///< of the last writing; the writer's own
    Timer saveTimer_ OMBREL_GUARDED_BY(mutex_);
};

} // namespace ombrel
