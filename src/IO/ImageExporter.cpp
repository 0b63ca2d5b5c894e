#include "IO/ImageExporter.h"

#include "Base/Log.h"
#include "IO/ByteSink.h"
#include "IO/ExportRows.h"
#include "IO/FileSink.h"
#include "IO/ImageCodecs.h"

#include <algorithm>
#include <new>
#include <string>

namespace ombrel {

namespace {

using Outcome = std::expected<void, ImageIOError>;

bool isOffered(ImageFormat format) {
    return std::ranges::find(ImageExporter::offeredFormats(), format) !=
           ImageExporter::offeredFormats().end();
}

/// What can be refused before any work.
Outcome checkRequest(const CompositeBands& composite, ImageFormat format) {
    if (!isOffered(format)) {
        return std::unexpected(
            ImageIOError::unsupportedFormat(std::string(traitsOf(format).displayName)));
    }
    const PixelSize size = composite.size();
    if (size.isEmpty() || std::max(size.width, size.height) > codecOf(format).largestSide) {
        return std::unexpected(ImageIOError::encodingFailed());
    }
    return {};
}

Outcome encode(CompositeBands& composite, ImageFormat format, const ExportOptions& options,
               const Canvas& canvas, ByteSink& sink, Progress* progress) {
    const ImageCodec& codec = codecOf(format);
    const SampleLayout layout = codec.layoutFor(options.bitDepth.value_or(canvas.bitDepth));
    const TimingInterval interval("Export");
    if (progress != nullptr) progress->setText("Exporting");
    try {
        ExportRows rows(composite, canvas.profile, layout, progress, codec.rowsShare);
        return codec.encode({composite.size(), layout, canvas.resolution, canvas.profile.iccData(),
                             options.quality},
                            rows, sink);
    } catch (const std::bad_alloc&) {
        return std::unexpected(ImageIOError::encodingFailed());
    }
}

} // namespace

std::span<const ImageFormat> ImageExporter::offeredFormats() {
    static const std::vector<ImageFormat> offered = [] {
        std::vector<ImageFormat> formats;
        for (const ImageCodec& codec : imageCodecs()) {
            if (codec.encode != nullptr && codec.canEncode()) formats.push_back(codec.format);
        }
        return formats;
    }();
    return offered;
}

std::expected<ImageFormat, ImageIOError> ImageExporter::formatNamed(std::string_view name) {
    const std::optional<ImageFormat> format = imageFormatNamed(name);
    if (format && isOffered(*format)) return *format;
    return std::unexpected(ImageIOError::unsupportedFormat(std::string(name)));
}

Outcome ImageExporter::write(CompositeBands& composite, ImageFormat format,
                             const ExportOptions& options, const Canvas& canvas,
                             const std::filesystem::path& path, Progress* progress) {
    if (auto checked = checkRequest(composite, format); !checked) return checked;
    auto file = AtomicFile::create(path);
    if (!file) return std::unexpected(ImageIOError::encodingFailed());
    FileSink sink(*file);
    if (auto encoded = encode(composite, format, options, canvas, sink, progress); !encoded) {
        return encoded;
    }
    if (progress != nullptr && progress->isCancelled()) {
        return std::unexpected(ImageIOError::cancelled());
    }
    if (!file->commit()) return std::unexpected(ImageIOError::encodingFailed());
    if (progress != nullptr) progress->setFraction(1);
    return {};
}

std::expected<std::vector<std::byte>, ImageIOError>
ImageExporter::data(CompositeBands& composite, ImageFormat format, const ExportOptions& options,
                    const Canvas& canvas, Progress* progress) {
    if (auto checked = checkRequest(composite, format); !checked) {
        return std::unexpected(checked.error());
    }
    MemorySink sink;
    if (auto encoded = encode(composite, format, options, canvas, sink, progress); !encoded) {
        return std::unexpected(encoded.error());
    }
    if (progress != nullptr && progress->isCancelled()) {
        return std::unexpected(ImageIOError::cancelled());
    }
    if (progress != nullptr) progress->setFraction(1);
    return sink.takeBytes();
}

} // namespace ombrel
