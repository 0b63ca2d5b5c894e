// Why the file system refused something: the file it was about and the system's error number.
#pragma once

#include <filesystem>
#include <string>

namespace ombrel {

struct FileError {
    std::filesystem::path path;
    int code = 0; ///< an errno value

    /// "PATH: No space left on device"
    std::string text() const;
    bool operator==(const FileError&) const = default;
};

} // namespace ombrel
