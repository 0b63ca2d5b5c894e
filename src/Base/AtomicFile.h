// Writes a file so that others see the old contents or the complete new ones, never a part, even
// when the process is killed or the power fails. The bytes go to an unnamed (or, where the file
// system has no such thing, hidden) file in the same folder; commit() brings them to the disk and
// puts them in the old file's place. Without a commit nothing is left behind; a process that is
// killed may leave a hidden file, which removeLeftovers() knows from one that is being written.
// A symbolic link is followed: the file it names is replaced. An overwritten file's permission
// bits are kept, and its owner and group where that is allowed. One thread at a time.
#pragma once

#include "Base/FileError.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace ombrel {

class AtomicFile {
public:
    /// Fails when the folder cannot be written to, or when `path` names something that is no
    /// regular file (a folder, a device).
    static std::expected<AtomicFile, FileError> create(const std::filesystem::path& path);

    /// Removes the hidden files in `folder` whose writers no longer live. Those of living ones, in
    /// whatever process, stay: they are locked.
    static void removeLeftovers(const std::filesystem::path& folder);

    AtomicFile(AtomicFile&& other) noexcept;
    AtomicFile& operator=(AtomicFile&& other) noexcept;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();

    /// Where the file will lie, symbolic links followed.
    std::filesystem::path folder() const;
    std::uint64_t size() const { return size_; }
    /// May leave holes, which read as zeros. False when not every byte could be written (full
    /// disk); the file then stays failed and cannot be committed.
    bool writeAt(std::uint64_t offset, std::span<const std::byte> bytes);
    bool append(std::span<const std::byte> bytes) { return writeAt(size_, bytes); }
    /// Reads up to out.size() bytes already written; fewer at the end or after an error.
    std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const;
    /// The first failure, absent while all went well.
    const std::optional<FileError>& error() const { return error_; }

    /// Puts the file in its place. Once; after a failure the old file is as it was.
    std::expected<void, FileError> commit();

private:
    AtomicFile() = default;
    bool openTemporary(unsigned mode);
    bool openHidden(const std::filesystem::path& folder, unsigned mode);
    std::expected<void, FileError> giveName();
    std::unexpected<FileError> fail(int code);
    void discard();

    std::filesystem::path target_;
    std::filesystem::path temporary_; ///< empty while the file has no name
    int descriptor_ = -1;
    std::uint64_t size_ = 0;
    std::optional<FileError> error_;
};

/// All of `bytes` at once.
std::expected<void, FileError> writeFileAtomically(const std::filesystem::path& path,
                                                   std::span<const std::byte> bytes);
std::expected<void, FileError> writeFileAtomically(const std::filesystem::path& path,
                                                   std::string_view text);
/// The whole of a small file. Fails for anything but a regular file, and for one larger than
/// `limit` bytes (with EFBIG).
std::expected<std::string, FileError> readSmallFile(const std::filesystem::path& path,
                                                    std::uint64_t limit);

} // namespace ombrel
