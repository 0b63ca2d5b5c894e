// The scratch space on disk: one file that has no name any more, so that the system takes its
// memory back in whatever way the process ends. Space is handed out from the end only and never
// reused while anything in the file is alive; when the last extent goes, the file becomes empty.
// Any thread: the lock is held for handing out, never for reading or writing.
#pragma once

#include "Base/ThreadAnnotations.h"
#include "Core/ScratchSpace.h"

#include <filesystem>
#include <memory>

namespace ombrel {

class ScratchFile final : public ScratchSpace {
public:
    /// Makes the directory where it is missing, and the file in it.
    static std::expected<std::unique_ptr<ScratchFile>, std::error_code>
    open(const std::filesystem::path& directory);
    ~ScratchFile() override;
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    std::expected<Extent, std::error_code> write(std::span<const std::byte> blob) override;
    std::expected<TileBlob, std::error_code> read(Extent extent) override;
    void release(Extent extent) override;

    const std::filesystem::path& path() const { return path_; } ///< as it was before unlinking
    std::int64_t end() const;                                   ///< where the next write lands
    std::int64_t liveBytes() const;                             ///< of all extents not released
    std::int64_t sizeOnDisk() const;                            ///< length of the file

private:
    ScratchFile(std::filesystem::path path, int descriptor)
        : path_(std::move(path)), descriptor_(descriptor) {}

    Extent reserve(std::int64_t length);

    const std::filesystem::path path_;
    const int descriptor_;
    mutable Mutex mutex_;
    std::int64_t end_ OMBREL_GUARDED_BY(mutex_) = 0;
    std::int64_t liveBytes_ OMBREL_GUARDED_BY(mutex_) = 0;
};

} // namespace ombrel
