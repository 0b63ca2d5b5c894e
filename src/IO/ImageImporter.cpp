#include "IO/ImageImporter.h"

#include "Base/Log.h"
#include "Core/Orientation.h"
#include "IO/ImageCodecs.h"
#include "IO/ImageLimits.h"
#include "IO/SampleRows.h"
#include "IO/TileConversion.h"

#include <array>

namespace ombrel {

namespace {

using Fault = std::unexpected<ImageIOError>;

const ImageCodec* codecOf(ByteSource& source) {
    std::array<std::byte, imageHeadLength> head;
    const std::size_t length = source.readAt(0, head);
    return codecRecognising(std::span(head).first(length));
}

} // namespace

std::expected<ImportedImage, ImageIOError> ImageImporter::read(ByteSource& source, TileStore& store,
                                                               Progress* progress) {
    const TimingInterval import("Import");
    const ImageCodec* codec = codecOf(source);
    if (codec == nullptr || codec->open == nullptr) return Fault(ImageIOError::unreadable());

    // Decoding and conversion overlap: the second interval lies inside the first.
    const TimingInterval decode("Decode");
    const auto decoder = codec->open(source);
    if (!decoder) return Fault(decoder.error());
    const ImageDescription& description = (*decoder)->description();
    if (const auto checked = checkImageSize(description.size); !checked) {
        return Fault(checked.error());
    }
    const RowLineariser lineariser(description.layout, description.iccData);
    const TimingInterval convert("ConvertToTiles");
    auto pixels = convertToTiles(**decoder, lineariser, store, progress);
    if (!pixels) return Fault(pixels.error());
    return ImportedImage{
        .pixels = std::move(*pixels),
        .size = Orientation::ofCode(description.orientation).uprightSize(description.size),
        .resolution = description.resolution.value_or(72),
        .profile = lineariser.profile(),
        .bitDepth = description.bitDepth,
        .format = codec->format,
    };
}

std::expected<ImportedImage, ImageIOError>
ImageImporter::read(const std::filesystem::path& path, TileStore& store, Progress* progress) {
    const std::unique_ptr<ByteSource> source = ByteSource::ofFile(path);
    if (source == nullptr) return Fault(ImageIOError::unreadable());
    return read(*source, store, progress);
}

std::expected<ImportedImage, ImageIOError>
ImageImporter::read(std::span<const std::byte> bytes, TileStore& store, Progress* progress) {
    return read(*ByteSource::ofMemory(bytes), store, progress);
}

} // namespace ombrel
