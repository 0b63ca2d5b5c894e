#include "Cli/VerbRun.h"

#include "Base/Settings.h"
#include "Core/ScratchFolder.h"
#include "Core/TileStore.h"

#include <CLI/CLI.hpp>

#include <unistd.h>

namespace ombrel {

namespace {

constexpr std::int64_t mebibyte = 1 << 20;
/// Blobs and free buffers get this part of what resident tiles get.
constexpr std::int64_t smallerPart = 4;
constexpr std::int64_t smallestMebibytes = 16;
constexpr std::int64_t largestMebibytes = std::int64_t{1} << 30;

std::int64_t physicalBytes() {
    return static_cast<std::int64_t>(::sysconf(_SC_PHYS_PAGES)) * ::sysconf(_SC_PAGESIZE);
}

TileStore::Budget budgetOf(const VerbRunOptions& options) {
    const double share = Settings::shared().get(SettingKeys::memoryFraction);
    TileStore::Budget budget = TileStore::Budget::ofMemory(physicalBytes(), share);
    if (options.memoryMebibytes) {
        budget.residentBytes = *options.memoryMebibytes * mebibyte;
        budget.compressedBytes = budget.residentBytes / smallerPart;
        budget.poolBytes = std::min(budget.poolBytes, budget.residentBytes / smallerPart);
    }
    return budget;
}

/// The scratch file lies where the store finds the folder when it is first used.
TileStore& storeOfSettings() {
    ScratchFolder::choose(Settings::shared().get(SettingKeys::scratchFolder));
    return TileStore::shared();
}

} // namespace

void VerbRunOptions::declare(CLI::App& options) {
    options
        .add_option("--memory", memoryMebibytes, "Memory for uncompressed image tiles, from 16 on")
        ->type_name("MIB")
        ->check(CLI::Range(smallestMebibytes, largestMebibytes).description(""));
}

VerbRun::VerbRun(const VerbRunOptions& options)
    : store_(storeOfSettings()),
      progress_([this](double fraction, const std::string& text) { line_.show(fraction, text); }),
      interruption_(progress_) {
    store_.setBudget(budgetOf(options));
}

} // namespace ombrel
