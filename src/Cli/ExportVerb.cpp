#include "Base/AtomicFile.h"
#include "Base/Settings.h"
#include "Cli/VerbRun.h"
#include "Cli/Verbs.h"
#include "Engine/CpuDevice.h"
#include "Engine/StateBands.h"
#include "IO/DocumentReader.h"
#include "IO/ImageExporter.h"

#include <CLI/CLI.hpp>

#include <array>
#include <filesystem>
#include <optional>

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

class ExportVerb final : public Verb {
public:
    void declare(CLI::App& options) override {
        options.add_option("IN", input_, "File to open")->type_name("")->required();
        options.add_option("OUT", output_, "File to write")->type_name("")->required();
        options.add_option("--format", formatName_, "Format; by default OUT's extension says it")
            ->type_name("png|jpeg|heic|tiff|webp");
        options.add_option("--quality", quality_, "Quality of JPEG and HEIC")
            ->type_name("0..1")
            ->check(CLI::Validator(checkQuality, ""));
        options.add_option("--depth", depth_, "Bits per channel; by default the document's own")
            ->type_name("8|16|32")
            ->check(CLI::IsMember({8, 16, 32}).description(""));
    }

    std::expected<void, VerbError> run(VerbRun& run) override {
        const auto format = chosenFormat();
        if (!format) return std::unexpected(format.error());
        // Before any work: whether the file could be written at all. Nothing is left of this.
        if (const auto probe = AtomicFile::create(output_); !probe) {
            return failure(probe.error().text());
        }
        run.progress().setText("Opening");
        const auto document = readDocument(input_, run.store(), run.progress());
        if (!document) return failure(document.error().text());

        CpuDevice device;
        StateBands bands(document->state, device, run.store(), nullptr, &run.progress());
        const auto written = ImageExporter::write(bands, *format, exportOptions(),
                                                  document->state.canvas, output_, &run.progress());
        if (!written) return failure(written.error().text());
        return {};
    }

private:
    static std::unexpected<VerbError> failure(std::string message) {
        return std::unexpected(VerbError{ExitStatus::failed, std::move(message)});
    }

    std::expected<ImageFormat, VerbError> chosenFormat() const {
        if (formatName_) return formatNamed(*formatName_);
        const std::string extension = std::filesystem::path(output_).extension().string();
        if (extension.size() < 2) {
            return std::unexpected(
                VerbError{ExitStatus::wrongUsage, "OUT has no extension: --format is needed"});
        }
        const auto format = imageFormatOfExtension(extension.substr(1));
        return formatNamed(format ? traitsOf(*format).name : extension.substr(1));
    }

    static std::expected<ImageFormat, VerbError> formatNamed(std::string_view name) {
        const auto format = ImageExporter::formatNamed(name);
        if (!format) return failure(format.error().text());
        return *format;
    }

    ExportOptions exportOptions() const {
        ExportOptions options;
        options.quality = quality_.value_or(Settings::shared().get(SettingKeys::jpegQuality));
        for (const auto& [bits, depth] : depths) {
            if (depth_ == bits) options.bitDepth = depth;
        }
        return options;
    }

    std::string input_;
    std::string output_;
    std::optional<std::string> formatName_;
    std::optional<double> quality_;
    std::optional<int> depth_;
};

} // namespace

std::unique_ptr<Verb> makeExportVerb() {
    return std::make_unique<ExportVerb>();
}

} // namespace ombrel
