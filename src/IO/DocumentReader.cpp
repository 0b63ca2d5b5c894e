#include "IO/DocumentReader.h"

#include "IO/ImageImporter.h"
#include "IO/Native/NativeFile.h"

#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace ombrel {

namespace {

/// Why the file cannot even be opened: that is worth more to the user than what an importer says
/// of a file without bytes. A pipe that nobody writes to is not waited for.
std::optional<FileError> openingError(const std::filesystem::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) return FileError{path, errno};
    struct stat status{};
    const bool isFolder = ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
    ::close(descriptor);
    if (isFolder) return FileError{path, EISDIR};
    return std::nullopt;
}

DocumentState stateOf(ImportedImage image, std::string name) {
    DocumentState state;
    state.canvas = image.canvas();
    PixelLayer layer;
    layer.properties.name = std::move(name);
    layer.pixels = std::move(image.pixels);
    state.activeLayerID = layer.id;
    state.root.write().children.emplace_back(std::move(layer));
    return state;
}

bool isNative(const std::filesystem::path& path) {
    const std::unique_ptr<ByteSource> source = ByteSource::ofFile(path);
    return source && NativeFormat::isNativeFile(*source);
}

std::expected<OpenedDocument, DocumentReadError> readNative(const std::filesystem::path& path,
                                                            TileStore& store, Progress& progress) {
    std::expected<Board, NativeOpenError> board = openNative(path, store, &progress);
    if (!board) {
        return std::unexpected(std::visit(
            [](auto& error) { return DocumentReadError{std::move(error)}; }, board.error()));
    }
    return OpenedDocument{.board = std::move(*board),
                          .format = std::string(NativeFormat::fileExtension)};
}

} // namespace

bool DocumentReadError::isCancelled() const {
    if (const auto* error = std::get_if<ImageIOError>(&reason))
        return error->kind == ImageIOError::Kind::cancelled;
    const auto* error = std::get_if<NativeFormat::Error>(&reason);
    return error != nullptr && error->kind == NativeFormat::Error::Kind::cancelled;
}

std::string DocumentReadError::text() const {
    return std::visit([](const auto& error) { return error.text(); }, reason);
}

std::expected<OpenedDocument, DocumentReadError>
readDocument(const std::filesystem::path& path, TileStore& store, Progress& progress) {
    if (const std::optional<FileError> error = openingError(path)) {
        return std::unexpected(DocumentReadError{*error});
    }
    if (isNative(path)) return readNative(path, store, progress);
    auto image = ImageImporter::read(path, store, &progress);
    if (!image) return std::unexpected(DocumentReadError{image.error()});
    std::string format(traitsOf(image->format).name);
    return OpenedDocument{
        .board = Board(stateOf(std::move(*image), path.stem().string()), "Node 1"),
        .format = std::move(format),
    };
}

} // namespace ombrel
