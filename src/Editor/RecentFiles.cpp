#include "Editor/RecentFiles.h"

#include "Base/FileAddress.h"

#include <algorithm>

namespace ombrel {

namespace {

/// File addresses, newest last: a list that is too long loses its first ones.
constexpr TextListSetting recentFiles{"recentFiles", RecentFiles::maximumCount};

} // namespace

std::vector<std::filesystem::path> RecentFiles::paths() const {
    std::vector<std::filesystem::path> paths;
    for (const std::string& address : settings_.get(recentFiles)) {
        if (auto path = pathOfFileAddress(address)) paths.push_back(std::move(*path));
    }
    std::ranges::reverse(paths);
    return paths;
}

void RecentFiles::note(const std::filesystem::path& path) {
    std::vector<std::filesystem::path> newestFirst = paths();
    std::erase(newestFirst, path);
    newestFirst.insert(newestFirst.begin(), path);
    store(newestFirst);
}

void RecentFiles::forget(const std::filesystem::path& path) {
    std::vector<std::filesystem::path> newestFirst = paths();
    std::erase(newestFirst, path);
    store(newestFirst);
}

void RecentFiles::clear() {
    store({});
}

Connection RecentFiles::onChange(std::function<void()> callback) {
    return settings_.onChange(recentFiles.name,
                              [callback = std::move(callback)](const Json&) { callback(); });
}

void RecentFiles::store(const std::vector<std::filesystem::path>& newestFirst) {
    std::vector<std::string> addresses;
    for (const std::filesystem::path& path : newestFirst)
        addresses.push_back(fileAddress(path));
    std::ranges::reverse(addresses);
    settings_.set(recentFiles, std::move(addresses));
}

} // namespace ombrel
