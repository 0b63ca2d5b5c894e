// Opens any file that the program can read as a document. The kind of the file is found by its
// contents. Runs on the calling thread and helps itself to others; never on the main executor of
// an editor.
#pragma once

#include "Base/FileError.h"
#include "Base/Progress.h"
#include "Core/Board.h"
#include "IO/ImageIOError.h"
#include "IO/Native/NativeFormat.h"

#include <expected>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

namespace ombrel {

class TileStore;

struct OpenedDocument {
    Board board;
    std::string format = {};              ///< "ombrel", "png", "jpeg" and so on
    std::vector<std::string> report = {}; ///< what could not be kept, in words for the user

    /// What people see first.
    const DocumentState& state() const { return board.activeNode().state; }
};

struct DocumentReadError {
    std::variant<ImageIOError, NativeFormat::Error, FileError> reason;

    bool isCancelled() const;
    std::string text() const;
};

/// A native document is its board, each tile as it was stored. A raster file becomes one pixel
/// layer named as the file without its extension. On failure no tile outlives the call.
std::expected<OpenedDocument, DocumentReadError> readDocument(const std::filesystem::path& path,
                                                              TileStore& store, Progress& progress);

} // namespace ombrel
