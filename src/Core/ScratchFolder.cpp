#include "Core/ScratchFolder.h"

#include "Base/Log.h"
#include "Base/XdgFolders.h"
#include "Core/ScratchFile.h"

#include <array>
#include <mutex>
#include <utility>

namespace ombrel {

namespace {

constexpr const char* folderName = "OmbrelScratch";

struct Choice {
    std::mutex mutex;
    ScratchFolder::Path folder;
};

Choice& choice() {
    static Choice& made = *new Choice;
    return made;
}

} // namespace

ScratchFolder::Path ScratchFolder::usual() {
    return XdgFolders::fromEnvironment().temporary / folderName;
}

void ScratchFolder::choose(Path folder) {
    const std::lock_guard guard(choice().mutex);
    choice().folder = std::move(folder);
}

ScratchFolder::Path ScratchFolder::chosen() {
    const std::lock_guard guard(choice().mutex);
    return choice().folder.empty() ? usual() : choice().folder;
}

std::unique_ptr<ScratchFile> ScratchFolder::open() {
    for (const Path& folder : std::array{chosen(), usual(), usual().parent_path()}) {
        auto file = ScratchFile::open(folder);
        if (file) return *std::move(file);
        // The usual folder belongs to the user who came first.
        if (folder != usual()) Log::warning("{}: {}", folder.string(), file.error().message());
    }
    return nullptr;
}

std::expected<std::uint64_t, std::string> ScratchFolder::examine(const Path& folder) {
    std::error_code error;
    if (!folder.is_absolute()) return std::unexpected("The path must begin with “/”.");
    if (!std::filesystem::is_directory(folder, error))
        return std::unexpected("There is no such folder.");
    // As the store will, which removes the file's name at once.
    const auto file = ScratchFile::open(folder);
    if (!file) return std::unexpected("Nothing can be written there: " + file.error().message());
    const auto space = std::filesystem::space(folder, error);
    if (error) return std::unexpected(error.message());
    return space.available;
}

} // namespace ombrel
