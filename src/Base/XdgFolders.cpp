#include "Base/XdgFolders.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <optional>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace ombrel {

namespace {

std::optional<std::filesystem::path> absoluteFromEnvironment(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr) return std::nullopt;
    std::filesystem::path path(value);
    if (!path.is_absolute()) return std::nullopt;
    return path;
}

std::filesystem::path homeFolder() {
    if (auto home = absoluteFromEnvironment("HOME")) return *home;
    std::vector<char> text(16384);
    passwd entry{};
    passwd* found = nullptr;
    if (getpwuid_r(getuid(), &entry, text.data(), text.size(), &found) == 0 && found != nullptr &&
        found->pw_dir != nullptr && found->pw_dir[0] == '/') {
        return found->pw_dir;
    }
    return "/";
}

std::filesystem::path folder(const char* variable, const char* belowHome) {
    const auto base = absoluteFromEnvironment(variable);
    return (base ? *base : homeFolder() / belowHome) / "ombrel";
}

} // namespace

XdgFolders XdgFolders::fromEnvironment() {
    return {
        .data = folder("XDG_DATA_HOME", ".local/share"),
        .config = folder("XDG_CONFIG_HOME", ".config"),
        .cache = folder("XDG_CACHE_HOME", ".cache"),
        .state = folder("XDG_STATE_HOME", ".local/state"),
        .temporary = absoluteFromEnvironment("TMPDIR").value_or("/tmp"),
    };
}

std::expected<void, FileError> createPrivateFolder(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> missing;
    std::filesystem::path path = folder;
    std::error_code error;
    while (!path.empty() && !std::filesystem::exists(path, error)) {
        if (error) return std::unexpected(FileError{path, error.value()});
        missing.push_back(path);
        if (path == path.parent_path()) break;
        path = path.parent_path();
    }
    for (auto each = missing.rbegin(); each != missing.rend(); ++each) {
        if (!each->has_filename()) continue; // of a trailing slash
        if (::mkdir(each->c_str(), 0700) != 0 && errno != EEXIST) {
            return std::unexpected(FileError{*each, errno});
        }
    }
    if (!std::filesystem::is_directory(folder, error)) {
        return std::unexpected(FileError{folder, error ? error.value() : ENOTDIR});
    }
    return {};
}

} // namespace ombrel
