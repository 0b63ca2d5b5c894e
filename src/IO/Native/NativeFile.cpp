#include "IO/Native/NativeFile.h"

#include "IO/FileSink.h"

#include <cerrno>
#include <chrono>
#include <thread>

namespace ombrel {

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
    AtomicFile::removeLeftovers(file->folder());
    return size;
}

std::expected<Board, NativeOpenError> openNative(const std::filesystem::path& path,
                                                 TileStore& store, Progress* progress) {
    constexpr int attempts = 5;
    auto pause = std::chrono::milliseconds(20); // longer than two steps of a file system's clock
    for (int attempt = 1; attempt <= attempts; ++attempt, pause *= 2) {
        errno = 0;
        const std::unique_ptr<ByteSource> source = ByteSource::ofFile(path);
        if (!source) return std::unexpected(FileError{path, errno != 0 ? errno : EINVAL});
        std::expected<Board, NativeFormat::Error> board =
            NativeFormat::readBoard(*source, store, progress);
        const bool isCancelled = progress != nullptr && progress->isCancelled();
        if (isCancelled || !source->mayHaveChanged()) {
            if (board) return std::move(*board);
            return std::unexpected(std::move(board.error()));
        }
        std::this_thread::sleep_for(pause);
    }
    return std::unexpected(FileError{path, EBUSY});
}

} // namespace ombrel
