// Where the program keeps things, by the XDG Base Directory Specification: the user's environment
// decides, values that are no absolute path are ignored. Paths only; nothing is created by asking.
#pragma once

#include "Base/FileError.h"

#include <expected>
#include <filesystem>

namespace ombrel {

struct XdgFolders {
    std::filesystem::path data;      ///< documents' recovery copies, models, presets
    std::filesystem::path config;    ///< settings
    std::filesystem::path cache;     ///< what can be made again
    std::filesystem::path state;     ///< window places, histories
    std::filesystem::path temporary; ///< shared with other programs: $TMPDIR or /tmp

    /// From the environment as it is now; the first four end in "ombrel".
    static XdgFolders fromEnvironment();

    bool operator==(const XdgFolders&) const = default;
};

/// Makes a folder and those above it where they are missing, for the user alone (mode 0700).
/// Folders that exist are left as they are.
std::expected<void, FileError> createPrivateFolder(const std::filesystem::path& folder);

} // namespace ombrel
