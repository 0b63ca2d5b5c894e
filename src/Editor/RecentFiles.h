// The files that the user opened or saved last, in the settings, newest first. Main thread.
#pragma once

#include "Base/Settings.h"

#include <filesystem>
#include <functional>
#include <vector>

namespace ombrel {

class RecentFiles {
public:
    static constexpr std::size_t maximumCount = 20;

    /// `settings` outlives this.
    explicit RecentFiles(Settings& settings) : settings_(settings) {}

    std::vector<std::filesystem::path> paths() const;
    /// Puts a file (absolute path) in the first place.
    void note(const std::filesystem::path& path);
    void forget(const std::filesystem::path& path);
    void clear();
    Connection onChange(std::function<void()> callback);

private:
    void store(const std::vector<std::filesystem::path>& newestFirst);

    Settings& settings_;
};

} // namespace ombrel
