#include "Cli/NativeOutput.h"

#include "Base/AtomicFile.h"
#include "IO/Native/NativeFile.h"

#include <filesystem>

namespace ombrel {

bool isNativePath(const std::string& path) {
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension.empty()) return false;
    const std::string_view name = std::string_view(extension).substr(1);
    return name == NativeFormat::fileExtension || name == NativeFormat::olderFileExtension;
}

std::expected<void, VerbError> checkWritable(const std::string& path) {
    if (const auto probe = AtomicFile::create(path); !probe)
        return std::unexpected(VerbError{.message = probe.error().text()});
    return {};
}

std::expected<void, VerbError> writeNative(const Board& board, const std::string& path,
                                           Progress& progress) {
    progress.setText("Saving");
    if (const auto saved = saveNative(board, path, &progress); !saved)
        return std::unexpected(VerbError{.message = saved.error().text()});
    return {};
}

} // namespace ombrel
