// Where the process keeps its scratch files: a folder that the user chose, or the system's for
// temporary files. Chosen before the shared tile store is first used; the store stays there until
// the process ends. Any thread.
#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <string>

namespace ombrel::ScratchFolder {

using Path = std::filesystem::path;

Path usual();      ///< below the system's temporary folder; empty where there is none
void choose(Path); ///< empty: the usual one
Path chosen();

/// What can be said of a folder before it is chosen: how many bytes are free, or in words for the
/// user why it will not do. Makes and removes a file in it.
std::expected<std::uint64_t, std::string> examine(const Path& folder);

} // namespace ombrel::ScratchFolder
