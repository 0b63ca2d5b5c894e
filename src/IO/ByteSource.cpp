#include "IO/ByteSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ombrel {

namespace {

class FileSource final : public ByteSource {
public:
    FileSource(int descriptor, std::uint64_t size) : descriptor_(descriptor), size_(size) {}
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

private:
    int descriptor_;
    std::uint64_t size_;
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
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return nullptr;
    }
    return std::make_unique<FileSource>(descriptor, static_cast<std::uint64_t>(status.st_size));
}

std::unique_ptr<ByteSource> ByteSource::ofMemory(std::span<const std::byte> bytes) {
    return std::make_unique<MemorySource>(bytes);
}

} // namespace ombrel
