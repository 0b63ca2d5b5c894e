// Where the process keeps its scratch files: a folder that the user chose, or the system's for
// temporary files. Chosen before the shared tile store is first used; the store stays there until
// the process ends. Any thread.
#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <memory>
#include <string>

namespace ombrel {

class ScratchFile;

} // namespace ombrel

namespace ombrel::ScratchFolder {

using Path = std::filesystem::path;

Path usual();      ///< below the folder for temporary files, which is shared with other users
void choose(Path); ///< empty: the usual one
Path chosen();

/// A new file in the chosen folder; where nothing can be written there (a disk that is not there,
/// another user's folder) in the usual one or beside it. Null where none will do.
std::unique_ptr<ScratchFile> open();

/// What can be said of a folder before it is chosen: how many bytes are free, or in words for the
/// user why it will not do. Makes and removes a file in it.
std::expected<std::uint64_t, std::string> examine(const Path& folder);

} // namespace ombrel::ScratchFolder
