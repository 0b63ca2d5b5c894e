// Native documents in the file system. A save replaces the old file only when the new one is whole
// and on the disk; until then, and after any failure, the old one is as it was. What a killed
// process left of a save goes with the next one into that folder. Never the main executor of an
// editor.
#pragma once

#include "Base/FileError.h"
#include "Base/Progress.h"
#include "Core/Board.h"
#include "IO/Native/NativeFormat.h"

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

namespace ombrel {

struct NativeSaveError {
    std::optional<FileError> file; ///< absent where the save was cancelled

    bool isCancelled() const { return !file; }
    std::string text() const { return file ? file->text() : "Cancelled."; }
};

/// The size of the file in bytes.
std::expected<std::uint64_t, NativeSaveError>
saveNative(const Board& board, const std::filesystem::path& path, Progress* progress = nullptr);

using NativeOpenError = std::variant<NativeFormat::Error, FileError>;

/// One state of the file, whole. Where other programs keep writing into it: EBUSY. Where they put
/// another file in its place, the old one or the new one.
std::expected<Board, NativeOpenError> openNative(const std::filesystem::path& path,
                                                 TileStore& store, Progress* progress = nullptr);

} // namespace ombrel
