#include "Core/ScratchFile.h"

#include "Base/Check.h"
#include "Base/Uuid.h"

#include <cerrno>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ombrel {

namespace {

std::error_code lastError() {
    return {errno != 0 ? errno : EIO, std::generic_category()};
}

/// Bytes moved before the end of the file or an error, which `errno` then tells (0 at the end).
template <typename Move>
std::size_t moveAll(std::size_t length, Move move) {
    std::size_t done = 0;
    while (done < length) {
        errno = 0;
        const ssize_t count = move(done);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

} // namespace

std::expected<std::unique_ptr<ScratchFile>, std::error_code>
ScratchFile::open(const std::filesystem::path& directory) {
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) return std::unexpected(error);
    std::filesystem::path path =
        directory / fmt::format("tiles-{}-{}.scratch", getpid(), Uuid::make().text());
    errno = 0;
    const int descriptor = ::open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor < 0) return std::unexpected(lastError());
    unlink(path.c_str());
    return std::unique_ptr<ScratchFile>(new ScratchFile(std::move(path), descriptor));
}

ScratchFile::~ScratchFile() {
    close(descriptor_);
}

ScratchSpace::Extent ScratchFile::reserve(std::int64_t length) {
    const LockGuard lock(mutex_);
    const Extent extent{end_, length};
    end_ += length;
    liveBytes_ += length;
    return extent;
}

std::expected<ScratchSpace::Extent, std::error_code>
ScratchFile::write(std::span<const std::byte> blob) {
    const Extent extent = reserve(static_cast<std::int64_t>(blob.size()));
    const std::size_t written = moveAll(blob.size(), [&](std::size_t done) {
        return pwrite(descriptor_, blob.data() + done, blob.size() - done,
                      extent.offset + static_cast<std::int64_t>(done));
    });
    if (written == blob.size()) return extent;
    const std::error_code error = lastError();
    const LockGuard lock(mutex_);
    liveBytes_ -= extent.length;
    return std::unexpected(error);
}

std::expected<TileBlob, std::error_code> ScratchFile::read(Extent extent) {
    TileBlob blob(static_cast<std::size_t>(extent.length));
    const std::size_t got = moveAll(blob.size(), [&](std::size_t done) {
        return pread(descriptor_, blob.data() + done, blob.size() - done,
                     extent.offset + static_cast<std::int64_t>(done));
    });
    if (got != blob.size()) return std::unexpected(lastError());
    return blob;
}

void ScratchFile::release(Extent extent) {
    const LockGuard lock(mutex_);
    liveBytes_ -= extent.length;
    OMBREL_CHECK(liveBytes_ >= 0, "an extent is released once");
    if (liveBytes_ != 0) return;
    end_ = 0;
    // Under the lock, or it could cut off what another thread writes at the start by then. When it
    // fails, the old bytes merely stay until they are written over.
    static_cast<void>(ftruncate(descriptor_, 0));
}

std::int64_t ScratchFile::end() const {
    const LockGuard lock(mutex_);
    return end_;
}

std::int64_t ScratchFile::liveBytes() const {
    const LockGuard lock(mutex_);
    return liveBytes_;
}

std::int64_t ScratchFile::sizeOnDisk() const {
    struct stat status{};
    return fstat(descriptor_, &status) == 0 ? status.st_size : 0;
}

} // namespace ombrel
