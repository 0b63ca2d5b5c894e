// Paths as addresses, "file:///home/a%20b.png": text of ASCII alone, whatever bytes a path has.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace ombrel {

/// Of an absolute path.
std::string fileAddress(const std::filesystem::path& path);
/// Nothing where the text is no address of a local file.
std::optional<std::filesystem::path> pathOfFileAddress(std::string_view address);

} // namespace ombrel
