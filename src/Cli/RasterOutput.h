// The output of verbs that write a picture: the file, its format and what goes with the format, its
// size and its profile.
#pragma once

#include "Cli/Verb.h"
#include "Core/DocumentState.h"
#include "IO/ImageExporter.h"

#include <expected>
#include <optional>
#include <string>

namespace ombrel {

class Progress;
class TileStore;

class RasterOutput {
public:
    /// --format, --quality, --depth, --size and --srgb. The file itself is the verb's to declare,
    /// into `path`.
    void declareOptions(CLI::App& options);

    /// Before any work: whether the format is known and the file could be written at all. Nothing
    /// is left of that.
    std::expected<void, VerbError> check();
    /// After check(). Complete or not at all.
    std::expected<void, VerbError> write(const DocumentState& state, TileStore& store,
                                         Progress& progress) const;

    std::string path;

private:
    std::expected<ImageFormat, VerbError> chosenFormat() const;
    ExportOptions exportOptions() const;
    std::expected<void, VerbError> writeBands(CompositeBands& bands, const Canvas& canvas,
                                              Progress& progress) const;
    std::expected<void, VerbError> writeChanged(const DocumentState& state, PixelSize size,
                                                TileStore& store, Progress& progress) const;

    ImageFormat format_{};
    std::optional<std::string> formatName_;
    std::optional<double> quality_;
    std::optional<int> depth_;
    std::optional<std::int64_t> longestSide_;
    bool convertsToSRGB_ = false;
};

} // namespace ombrel
