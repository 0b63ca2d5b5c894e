#include "Base/AtomicFile.h"

#include "Base/Check.h"
#include "Base/Uuid.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace ombrel {

namespace {

constexpr int maximumLinks = 40; // as many as the kernel follows
constexpr mode_t permissionBits = 07777;
constexpr const char* descriptorFolder = "/proc/self/fd";

/// Where writing through symbolic links ends up; that file need not exist.
std::expected<std::filesystem::path, FileError> resolveLinks(std::filesystem::path path) {
    for (int link = 0; link < maximumLinks; ++link) {
        std::error_code error;
        if (!std::filesystem::is_symlink(path, error)) return path;
        const std::filesystem::path next = std::filesystem::read_symlink(path, error);
        if (error) return std::unexpected(FileError{path, error.value()});
        path = next.is_absolute() ? next : path.parent_path() / next;
    }
    return std::unexpected(FileError{std::move(path), ELOOP});
}

std::filesystem::path folderOf(const std::filesystem::path& path) {
    const std::filesystem::path folder = path.parent_path();
    return folder.empty() ? std::filesystem::path(".") : folder;
}

constexpr std::string_view hiddenStart = ".ombrel-";
constexpr std::string_view hiddenEnd = ".tmp";

/// Of a length of its own: the target's name may already be as long as names can be.
std::filesystem::path hiddenNameIn(const std::filesystem::path& folder) {
    return folder / (std::string(hiddenStart) + Uuid::make().text() + std::string(hiddenEnd));
}

bool isHiddenName(std::string_view name) {
    if (!name.starts_with(hiddenStart) || !name.ends_with(hiddenEnd)) return false;
    name.remove_prefix(hiddenStart.size());
    return name.size() > hiddenEnd.size() &&
           Uuid::parse(name.substr(0, name.size() - hiddenEnd.size())).has_value();
}

int openAgainOnInterrupt(const char* path, int flags, mode_t mode) {
    int descriptor = -1;
    do {
        descriptor = ::open(path, flags | O_CLOEXEC, mode);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

/// Where the file system knows no locks, nobody gets one, and leftovers stay.
bool lockAgainOnInterrupt(int descriptor, int operation) {
    int result = -1;
    do {
        result = ::flock(descriptor, operation);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

/// The rename is safe only once the folder is on the disk too. Some file systems refuse to do
/// that for folders; the file itself is complete all the same.
void syncFolder(const std::filesystem::path& folder) {
    const int descriptor = openAgainOnInterrupt(folder.c_str(), O_RDONLY | O_DIRECTORY, 0);
    if (descriptor < 0) return;
    ::fsync(descriptor);
    ::close(descriptor);
}

} // namespace

std::expected<AtomicFile, FileError> AtomicFile::create(const std::filesystem::path& path) {
    auto target = resolveLinks(path);
    if (!target) return std::unexpected(target.error());

    AtomicFile file;
    file.target_ = std::move(*target);
    if (!file.target_.has_filename()) return std::unexpected(FileError{path, EISDIR});
    struct stat old{};
    const bool exists = ::stat(file.target_.c_str(), &old) == 0;
    if (!exists && errno != ENOENT) return std::unexpected(FileError{file.target_, errno});
    if (exists && S_ISDIR(old.st_mode)) return std::unexpected(FileError{file.target_, EISDIR});
    if (exists && !S_ISREG(old.st_mode)) return std::unexpected(FileError{file.target_, EINVAL});

    // What replaces a private file is private from its first byte.
    if (!file.openTemporary(exists ? 0600 : 0666)) {
        return std::unexpected(FileError{file.target_, errno});
    }
    if (exists) {
        // Giving files away is for the superuser: elsewhere they become the user's own, and
        // their set-user and set-group bits must not come along.
        const bool keepsOwner = ::fchown(file.descriptor_, old.st_uid, old.st_gid) == 0;
        const mode_t kept = keepsOwner ? permissionBits : 0777;
        if (::fchmod(file.descriptor_, old.st_mode & kept) != 0) return file.fail(errno);
    }
    return file;
}

AtomicFile::AtomicFile(AtomicFile&& other) noexcept
    : target_(std::move(other.target_)), temporary_(std::exchange(other.temporary_, {})),
      descriptor_(std::exchange(other.descriptor_, -1)), size_(other.size_),
      error_(std::move(other.error_)) {}

AtomicFile& AtomicFile::operator=(AtomicFile&& other) noexcept {
    std::swap(target_, other.target_);
    std::swap(temporary_, other.temporary_);
    std::swap(descriptor_, other.descriptor_);
    std::swap(size_, other.size_);
    std::swap(error_, other.error_);
    other.discard();
    return *this;
}

AtomicFile::~AtomicFile() {
    discard();
}

std::filesystem::path AtomicFile::folder() const {
    return folderOf(target_);
}

bool AtomicFile::openTemporary(unsigned mode) {
    const std::filesystem::path folder = folderOf(target_);
    if (::access(descriptorFolder, X_OK) == 0) { // else giveName would fail
        descriptor_ = openAgainOnInterrupt(folder.c_str(), O_TMPFILE | O_RDWR, mode);
        if (descriptor_ >= 0) {
            lockAgainOnInterrupt(descriptor_, LOCK_EX); // before it gets a name
            return true;
        }
        // Not every file system and kernel knows files without a name, and each has its own
        // way of saying so.
        constexpr std::array unknown{EOPNOTSUPP, EISDIR, EINVAL, ENOENT};
        if (std::ranges::find(unknown, errno) == unknown.end()) return false;
    }
    return openHidden(folder, mode);
}

bool AtomicFile::openHidden(const std::filesystem::path& folder, unsigned mode) {
    while (true) {
        temporary_ = hiddenNameIn(folder);
        descriptor_ = openAgainOnInterrupt(temporary_.c_str(), O_CREAT | O_EXCL | O_RDWR, mode);
        if (descriptor_ < 0) {
            temporary_.clear();
            return false;
        }
        lockAgainOnInterrupt(descriptor_, LOCK_EX);
        struct stat status{};
        if (::fstat(descriptor_, &status) != 0 || status.st_nlink > 0) return true;
        discard(); // somebody took it for a leftover before it was locked
    }
}

void AtomicFile::removeLeftovers(const std::filesystem::path& folder) {
    std::error_code error;
    for (std::filesystem::directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        const std::filesystem::path path = each->path();
        if (!isHiddenName(path.filename().native())) continue;
        const int descriptor =
            openAgainOnInterrupt(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK, 0);
        if (descriptor < 0) continue;
        if (lockAgainOnInterrupt(descriptor, LOCK_EX | LOCK_NB)) ::unlink(path.c_str());
        ::close(descriptor);
    }
}

std::unexpected<FileError> AtomicFile::fail(int code) {
    if (!error_) error_ = FileError{target_, code};
    discard();
    return std::unexpected(*error_);
}

void AtomicFile::discard() {
    if (descriptor_ >= 0) ::close(std::exchange(descriptor_, -1));
    if (!temporary_.empty()) ::unlink(std::exchange(temporary_, {}).c_str());
}

bool AtomicFile::writeAt(std::uint64_t offset, std::span<const std::byte> bytes) {
    OMBREL_CHECK(descriptor_ >= 0 || error_, "a file is written before it is committed");
    while (!error_ && !bytes.empty()) {
        const ssize_t count =
            ::pwrite(descriptor_, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            error_ = FileError{target_, count < 0 ? errno : ENOSPC};
            break;
        }
        offset += static_cast<std::uint64_t>(count);
        bytes = bytes.subspan(static_cast<std::size_t>(count));
        size_ = std::max(size_, offset);
    }
    return !error_;
}

std::size_t AtomicFile::readAt(std::uint64_t offset, std::span<std::byte> out) const {
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

/// A rename needs a name; the one between lives for an instant.
std::expected<void, FileError> AtomicFile::giveName() {
    if (!temporary_.empty()) return {};
    const std::filesystem::path name = hiddenNameIn(folderOf(target_));
    const std::string self = std::string(descriptorFolder) + "/" + std::to_string(descriptor_);
    if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
        return fail(errno);
    }
    temporary_ = name;
    return {};
}

std::expected<void, FileError> AtomicFile::commit() {
    if (error_) return fail(error_->code);
    OMBREL_CHECK(descriptor_ >= 0, "a file is committed once");
    if (::fsync(descriptor_) != 0) return fail(errno);
    if (auto named = giveName(); !named) return named;
    // Closed only now, so that nobody takes the file for a leftover as long as its name is hidden.
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) return fail(errno);
    temporary_.clear();
    ::close(std::exchange(descriptor_, -1));
    syncFolder(folderOf(target_));
    return {};
}

std::expected<void, FileError> writeFileAtomically(const std::filesystem::path& path,
                                                   std::span<const std::byte> bytes) {
    auto file = AtomicFile::create(path);
    if (!file) return std::unexpected(file.error());
    file->append(bytes); // a failure is kept and told by commit
    return file->commit();
}

std::expected<void, FileError> writeFileAtomically(const std::filesystem::path& path,
                                                   std::string_view text) {
    return writeFileAtomically(path, std::as_bytes(std::span(text)));
}

std::expected<std::string, FileError> readSmallFile(const std::filesystem::path& path,
                                                    std::uint64_t limit) {
    // Without blocking, so that a pipe nobody writes to is refused and not waited for.
    const int descriptor = openAgainOnInterrupt(path.c_str(), O_RDONLY | O_NONBLOCK, 0);
    if (descriptor < 0) return std::unexpected(FileError{path, errno});
    struct stat status{};
    int code = ::fstat(descriptor, &status) == 0 ? 0 : errno;
    if (code == 0 && !S_ISREG(status.st_mode)) code = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    if (code == 0 && static_cast<std::uint64_t>(status.st_size) > limit) code = EFBIG;
    std::string text;
    std::size_t done = 0;
    while (code == 0) {
        text.resize(done + 65536);
        const ssize_t count = ::read(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) code = errno;
        if (count <= 0) break;
        done += static_cast<std::size_t>(count);
        if (done > limit) code = EFBIG; // grew while it was read
    }
    ::close(descriptor);
    if (code != 0) return std::unexpected(FileError{path, code});
    text.resize(done);
    return text;
}

} // namespace ombrel
