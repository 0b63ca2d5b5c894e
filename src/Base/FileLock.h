// A lock that processes share by the name of a file. The system frees it when its holder dies, so
// no lock is ever stale; the file itself may stay behind and means nothing. Any thread.
#pragma once

#include "Base/FileError.h"

#include <expected>
#include <filesystem>

namespace ombrel {

class FileLock {
public:
    /// Makes the file where it is missing. Fails with EBUSY where somebody holds the lock, in this
    /// process or another one.
    static std::expected<FileLock, FileError> take(const std::filesystem::path& path);
    /// Whether somebody holds it now; does not make the file.
    static bool isHeld(const std::filesystem::path& path);

    FileLock(FileLock&& other) noexcept;
    FileLock& operator=(FileLock&& other) noexcept;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock(); ///< lets go; the file stays

    /// False when somebody removed the file: others no longer see the lock.
    bool isInPlace() const;
    /// Frees the lock together with its file.
    void removeFile();

private:
    explicit FileLock(std::filesystem::path path) : path_(std::move(path)) {}

    std::filesystem::path path_;
    int descriptor_ = -1;
};

} // namespace ombrel
