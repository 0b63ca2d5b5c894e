#include "Cli/RasterOutput.h"

#include "Base/AtomicFile.h"
#include "Base/Settings.h"
#include "Engine/CpuDevice.h"
#include "Engine/StateBands.h"

#include <CLI/CLI.hpp>

#include <array>
#include <filesystem>

namespace ombrel {

namespace {

constexpr std::array<std::pair<int, BitDepth>, 3> depths{{
    {8, BitDepth::eight},
    {16, BitDepth::sixteen},
    {32, BitDepth::thirtyTwo},
}};

/// Also refuses what is no number.
std::string checkQuality(const std::string& text) {
    double quality = -1;
    if (CLI::detail::lexical_cast(text, quality) && quality >= 0 && quality <= 1) return {};
    return text + " is not from 0 to 1";
}

std::unexpected<VerbError> failure(std::string message) {
    return std::unexpected(VerbError{ExitStatus::failed, std::move(message)});
}

std::expected<ImageFormat, VerbError> formatNamed(std::string_view name) {
    const auto format = ImageExporter::formatNamed(name);
    if (!format) return failure(format.error().text());
    return *format;
}

} // namespace

void RasterOutput::declareOptions(CLI::App& options) {
    options.add_option("--format", formatName_, "Format; by default OUT's extension says it")
        ->type_name("png|jpeg|heic|tiff|webp");
    options.add_option("--quality", quality_, "Quality of JPEG and HEIC")
        ->type_name("0..1")
        ->check(CLI::Validator(checkQuality, ""));
    options.add_option("--depth", depth_, "Bits per channel; by default the document's own")
        ->type_name("8|16|32")
        ->check(CLI::IsMember({8, 16, 32}).description(""));
}

std::expected<void, VerbError> RasterOutput::check() {
    const auto format = chosenFormat();
    if (!format) return std::unexpected(format.error());
    format_ = *format;
    if (const auto probe = AtomicFile::create(path); !probe) return failure(probe.error().text());
    return {};
}

std::expected<void, VerbError> RasterOutput::write(const DocumentState& state, TileStore& store,
                                                   Progress& progress) const {
    CpuDevice device;
    StateBands bands(state, device, store, nullptr, &progress);
    const auto written =
        ImageExporter::write(bands, format_, exportOptions(), state.canvas, path, &progress);
    if (!written) return failure(written.error().text());
    return {};
}

std::expected<ImageFormat, VerbError> RasterOutput::chosenFormat() const {
    if (formatName_) return formatNamed(*formatName_);
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension.size() < 2) {
        return std::unexpected(
            VerbError{ExitStatus::wrongUsage, "OUT has no extension: --format is needed"});
    }
    const auto format = imageFormatOfExtension(extension.substr(1));
    return formatNamed(format ? traitsOf(*format).name : extension.substr(1));
}

ExportOptions RasterOutput::exportOptions() const {
    ExportOptions options;
    options.quality = quality_.value_or(Settings::shared().get(SettingKeys::jpegQuality));
    for (const auto& [bits, depth] : depths) {
        if (depth_ == bits) options.bitDepth = depth;
    }
    return options;
}

} // namespace ombrel
