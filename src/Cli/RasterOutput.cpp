#include "Cli/RasterOutput.h"

#include "Base/AtomicFile.h"
#include "Base/Check.h"
#include "Base/Settings.h"
#include "Commands/ColorModeCommands.h"
#include "Commands/ImageSizeCommand.h"
#include "Engine/CpuDevice.h"
#include "Engine/Flattener.h"
#include "Engine/GridBands.h"
#include "Engine/StateBands.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <cmath>
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

/// With the same proportions; never larger than it is.
PixelSize fittedSize(PixelSize size, std::int64_t longestSide) {
    const std::int64_t longest = std::max(size.width, size.height);
    if (longest <= longestSide) return size;
    const auto fitted = [&](std::int64_t side) {
        const double exact = static_cast<double>(side) * static_cast<double>(longestSide) /
                             static_cast<double>(longest);
        return std::max<std::int64_t>(std::llround(exact), 1);
    };
    return {fitted(size.width), fitted(size.height)};
}

/// The document as its picture alone.
DocumentState pictureState(const Canvas& canvas, TileGrid pixels) {
    DocumentState state;
    state.canvas = canvas;
    PixelLayer layer = PixelLayer::named("Picture");
    layer.pixels = std::move(pixels);
    state.insert({std::move(layer)}, std::nullopt, 0);
    return state;
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
    options
        .add_option("--size", longestSide_,
                    "Scale the picture down until its longest side has N pixels; never up")
        ->type_name("N")
        ->check(CLI::Range(std::int64_t{1}, largestCanvasSide).description(""));
    options.add_flag("--srgb", convertsToSRGB_, "Convert the colours to sRGB");
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
    const PixelSize size =
        longestSide_ ? fittedSize(state.canvas.size, *longestSide_) : state.canvas.size;
    if (convertsToSRGB_ || size != state.canvas.size)
        return writeChanged(state, size, store, progress);
    CpuDevice device;
    StateBands bands(state, device, store, nullptr, &progress);
    return writeBands(bands, state.canvas, progress);
}

// Layers are merged before they are scaled: then blend modes and masks meet the pixels that they
// meet on screen, and only one picture is scaled.
std::expected<void, VerbError> RasterOutput::writeChanged(const DocumentState& state,
                                                          PixelSize size, TileStore& store,
                                                          Progress& progress) const {
    CpuDevice device;
    auto merged = Flattener::compositeGrid(state, device, store, nullptr, &progress);
    if (!merged) return failure(merged.error().text());
    DocumentState picture = pictureState(state.canvas, *std::move(merged));
    const CommandContext context{.store = store, .device = device, .progress = &progress};
    if (const auto scaled =
            ImageSizeCommand{.size = size, .resolution = std::nullopt}.apply(picture, context);
        !scaled)
        return failure(scaled.error().text());
    if (convertsToSRGB_) {
        const auto converted = ConvertProfileCommand{ColorProfile::sRGB()}.apply(picture, context);
        if (!converted) return failure(converted.error().text());
    }
    const PixelLayer& layer = *picture.root->children.front().pixelLayer();
    OMBREL_CHECK(layer.offset == PixelOffset{}, "a picture lies at the origin of its canvas");
    GridBands bands(layer.pixels, size);
    return writeBands(bands, picture.canvas, progress);
}

std::expected<void, VerbError> RasterOutput::writeBands(CompositeBands& bands, const Canvas& canvas,
                                                        Progress& progress) const {
    const auto written =
        ImageExporter::write(bands, format_, exportOptions(), canvas, path, &progress);
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
