#include "IO/Native/NativeFile.h"

#include "IO/FileSink.h"

#include <cerrno>
#include <ctime>
#include <sys/stat.h>

namespace ombrel {

namespace {

/// What changes when somebody writes into a file or puts another one in its place.
struct FileStamp {
    dev_t device{};
    ino_t inode{};
    off_t size{};
    std::int64_t seconds{};
    std::int64_t nanoseconds{};

    bool operator==(const FileStamp&) const = default;
};

std::optional<FileStamp> stampOf(const std::filesystem::path& path) {
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileStamp{status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec,
                     status.st_mtim.tv_nsec};
}

} // namespace

std::expected<std::uint64_t, NativeSaveError>
saveNative(const Board& board, const std::filesystem::path& path, Progress* progress) {
    std::expected<AtomicFile, FileError> file = AtomicFile::create(path);
    if (!file) return std::unexpected(NativeSaveError{file.error()});
    FileSink sink(*file);
    const auto written = NativeFormat::write(board, sink, progress);
    if (!written && written.error() == NativeFormat::WriteFault::cancelled)
        return std::unexpected(NativeSaveError{});
    if (!written)
        return std::unexpected(NativeSaveError{file->error().value_or(FileError{path, EIO})});
    const std::uint64_t size = file->size();
    if (const auto committed = file->commit(); !committed)
        return std::unexpected(NativeSaveError{committed.error()});
    return size;
}

std::expected<Board, NativeOpenError> openNative(const std::filesystem::path& path,
                                                 TileStore& store, Progress* progress) {
    constexpr int attempts = 3;
    for (int attempt = 1;; ++attempt) {
        const std::optional<FileStamp> before = stampOf(path);
        errno = 0;
        const std::unique_ptr<ByteSource> source = ByteSource::ofFile(path);
        if (!source) return std::unexpected(FileError{path, errno != 0 ? errno : EINVAL});
        std::expected<Board, NativeFormat::Error> board =
            NativeFormat::readBoard(*source, store, progress);
        if (stampOf(path) == before || attempt == attempts) {
            if (board) return std::move(*board);
            return std::unexpected(std::move(board.error()));
        }
    }
}

} // namespace ombrel
