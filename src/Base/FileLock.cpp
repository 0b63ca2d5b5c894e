#include "Base/FileLock.h"

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace ombrel {

namespace {

int openLock(const std::filesystem::path& path, int flags) {
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags | O_RDWR | O_CLOEXEC | O_NOFOLLOW, 0600);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

int tryLock(int descriptor, int operation) {
    int result = -1;
    do {
        result = ::flock(descriptor, operation | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

/// Those who look whether a lock is held have it for an instant; nobody else lets go so soon.
int lockDespiteLookers(int descriptor) {
    constexpr int attempts = 20;
    for (int attempt = 1;; ++attempt) {
        const int code = tryLock(descriptor, LOCK_EX);
        if (code != EWOULDBLOCK || attempt == attempts) return code;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

} // namespace

std::expected<FileLock, FileError> FileLock::take(const std::filesystem::path& path) {
    while (true) {
        FileLock lock(path);
        lock.descriptor_ = openLock(path, O_CREAT);
        if (lock.descriptor_ < 0) return std::unexpected(FileError{path, errno});
        const int code = lockDespiteLookers(lock.descriptor_);
        if (code != 0) {
            return std::unexpected(FileError{path, code == EWOULDBLOCK ? EBUSY : code});
        }
        // The one who had it before may have removed the file after it was opened here.
        if (lock.isInPlace()) return lock;
    }
}

bool FileLock::isHeld(const std::filesystem::path& path) {
    const int descriptor = openLock(path, 0);
    if (descriptor < 0) return false;
    const bool isFree = tryLock(descriptor, LOCK_SH) == 0;
    ::close(descriptor);
    return !isFree;
}

FileLock::FileLock(FileLock&& other) noexcept
    : path_(std::move(other.path_)), descriptor_(std::exchange(other.descriptor_, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    std::swap(path_, other.path_);
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

FileLock::~FileLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
}

bool FileLock::isInPlace() const {
    struct stat held{};
    struct stat named{};
    return ::fstat(descriptor_, &held) == 0 && ::lstat(path_.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

void FileLock::removeFile() {
    if (descriptor_ < 0) return;
    if (isInPlace()) ::unlink(path_.c_str());
    ::close(std::exchange(descriptor_, -1));
}

} // namespace ombrel
