#include "IO/ByteSource.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ombrel {

namespace {

std::int64_t nanosecondsOf(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
}

/// File systems stamp changes with a clock of coarse steps. Of two changes within one step, the
/// second does not show.
bool isTooFreshToTell(const timespec& changed) {
    constexpr std::int64_t longestStep = 10'000'000;
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME_COARSE, &now);
    return std::abs(nanosecondsOf(now) - nanosecondsOf(changed)) <= longestStep;
}

/// Whether somebody has the file open to write into it: only then a read lease is refused in this
/// way. Where leases are not to be had (files of others, some file systems) nobody can tell. A
/// lease that breaks in the instant of its life sends a signal, which must be one that is ignored.
bool hasWriters(int descriptor) {
    if (::fcntl(descriptor, F_SETSIG, SIGURG) != 0) return false;
    if (::fcntl(descriptor, F_SETLEASE, F_RDLCK) != 0) return errno == EAGAIN;
    ::fcntl(descriptor, F_SETLEASE, F_UNLCK);
    return false;
}

class FileSource final : public ByteSource {
public:
    FileSource(int descriptor, const struct stat& status, bool hadWriters)
        : descriptor_(descriptor), size_(static_cast<std::uint64_t>(status.st_size)),
          changed_(status.st_mtim), wasUnsteady_(hadWriters || isTooFreshToTell(status.st_mtim)) {}
    FileSource(const FileSource&) = delete;
    FileSource& operator=(const FileSource&) = delete;
    ~FileSource() override { ::close(descriptor_); }

    std::uint64_t size() const override { return size_; }

    std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) override {
        if (offset >= size_) return 0;
        std::size_t done = 0;
        while (done < out.size()) {
            const ssize_t count = ::pread(descriptor_, out.data() + done, out.size() - done,
                                          static_cast<off_t>(offset + done));
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) break;
            done += static_cast<std::size_t>(count);
        }
        return done;
    }

    void announce(std::uint64_t offset, std::uint64_t length) override {
        ::posix_fadvise(descriptor_, static_cast<off_t>(offset), static_cast<off_t>(length),
                        POSIX_FADV_WILLNEED);
    }

    bool mayHaveChanged() const override {
        struct stat status = {};
        return wasUnsteady_ || ::fstat(descriptor_, &status) != 0 ||
               static_cast<std::uint64_t>(status.st_size) != size_ ||
               nanosecondsOf(status.st_mtim) != nanosecondsOf(changed_);
    }

private:
    int descriptor_;
    std::uint64_t size_;
    timespec changed_; ///< as it was when the file was opened
    bool wasUnsteady_; ///< what was written then would not show
};

class MemorySource final : public ByteSource {
public:
    explicit MemorySource(std::span<const std::byte> bytes) : bytes_(bytes) {}

    std::uint64_t size() const override { return bytes_.size(); }

    std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) override {
        if (offset >= bytes_.size()) return 0;
        const std::size_t count =
            std::min<std::size_t>(out.size(), bytes_.size() - static_cast<std::size_t>(offset));
        if (count > 0) std::memcpy(out.data(), bytes_.data() + offset, count);
        return count;
    }

private:
    std::span<const std::byte> bytes_;
};

} // namespace

std::unique_ptr<ByteSource> ByteSource::ofFile(const std::filesystem::path& path) {
    // Not blocking: opening a pipe that nobody writes to must not hang.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return nullptr;
    // A write gives the file its time when it begins. So those that run are looked for first; those
    // that come later show.
    const bool hadWriters = hasWriters(descriptor);
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return nullptr;
    }
    return std::make_unique<FileSource>(descriptor, status, hadWriters);
}

std::unique_ptr<ByteSource> ByteSource::ofMemory(std::span<const std::byte> bytes) {
    return std::make_unique<MemorySource>(bytes);
}

} // namespace ombrel
