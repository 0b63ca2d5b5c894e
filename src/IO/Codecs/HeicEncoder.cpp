// HEIC: HEVC with 8 bits, or 10 for deeper documents; alpha only where the picture has any. Holds
// the whole picture while encoding.
#include "Base/Check.h"
#include "IO/Codecs/HeicCodec.h"
#include "IO/Codecs/Resolution.h"

#include <libheif/heif.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

namespace ombrel::heic {

namespace {

using EncodeResult = std::expected<void, ImageIOError>;

// Of x265's presets: a third of the time of "slow", the library's own choice, for 3% of size at the
// same error. Other encoders do not know it and keep theirs.
constexpr const char* encoderPreset = "veryfast";
constexpr std::int64_t rowsAtOnce = 64;
constexpr int deepBits = 10; // what phones and browsers decode; 12 bits few do

struct HeifDeleter {
    void operator()(heif_context* context) const { heif_context_free(context); }
    void operator()(heif_encoder* encoder) const { heif_encoder_release(encoder); }
    void operator()(heif_image* image) const { heif_image_release(image); }
    void operator()(heif_image_handle* handle) const { heif_image_handle_release(handle); }
    void operator()(heif_encoding_options* options) const { heif_encoding_options_free(options); }
};
template <class Object>
using Owned = std::unique_ptr<Object, HeifDeleter>;

bool isOk(const heif_error& error) {
    return error.code == heif_error_Ok;
}

/// Calls a library function that makes an object through its last argument.
template <class Object, class Make>
Owned<Object> made(Make make) {
    Object* object = nullptr;
    const bool ok = isOk(make(&object));
    Owned<Object> owned(object);
    return ok ? std::move(owned) : nullptr;
}

/// The picture as planes; the alpha plane is made when the first pixel needs it, so that opaque
/// pictures carry none.
class Planes {
public:
    Planes(heif_image* image, PixelSize size, SampleType type)
        : image_(image), size_(size), isDeep_(type == SampleType::unsigned16) {}

    bool addColors() { return add(0) && add(1) && add(2); }

    bool put(std::int64_t firstRow, std::int64_t rowCount, std::span<const std::byte> samples) {
        return isDeep_ ? putSamples<std::uint16_t>(firstRow, rowCount, samples)
                       : putSamples<std::uint8_t>(firstRow, rowCount, samples);
    }

private:
    struct Plane {
        std::uint8_t* bytes = nullptr;
        std::size_t stride = 0;
    };
    static constexpr std::array channels{heif_channel_R, heif_channel_G, heif_channel_B,
                                         heif_channel_Alpha};

    bool add(std::size_t index) {
        if (!isOk(heif_image_add_plane(image_, channels[index], static_cast<int>(size_.width),
                                       static_cast<int>(size_.height), isDeep_ ? deepBits : 8))) {
            return false;
        }
        int stride = 0;
        planes_[index].bytes = heif_image_get_plane(image_, channels[index], &stride);
        planes_[index].stride = static_cast<std::size_t>(stride);
        return planes_[index].bytes != nullptr;
    }

    template <class Sample>
    Sample* rowOf(std::size_t plane, std::int64_t row) const {
        const Plane& p = planes_[plane];
        return reinterpret_cast<Sample*>(p.bytes + static_cast<std::size_t>(row) * p.stride);
    }

    template <class Sample>
    static Sample stored(Sample value) {
        if constexpr (sizeof(Sample) == 1) return value;
        constexpr std::uint32_t largest = (1u << deepBits) - 1;
        return static_cast<Sample>((value * largest + 32767u) / 65535u);
    }

    template <class Sample>
    bool addAlpha() {
        if (!add(3)) return false;
        for (std::int64_t row = 0; row < size_.height; ++row)
            std::fill_n(rowOf<Sample>(3, row), size_.width,
                        stored<Sample>(static_cast<Sample>(-1)));
        return true;
    }

    template <class Sample>
    bool putSamples(std::int64_t firstRow, std::int64_t rowCount,
                    std::span<const std::byte> samples) {
        const auto width = static_cast<std::size_t>(size_.width);
        std::vector<Sample> line(width * 4);
        for (std::int64_t row = 0; row < rowCount; ++row) {
            std::memcpy(line.data(),
                        samples.data() +
                            static_cast<std::size_t>(row) * line.size() * sizeof(Sample),
                        line.size() * sizeof(Sample));
            if (planes_[3].bytes == nullptr) {
                bool isOpaque = true;
                for (std::size_t x = 0; x < width; ++x)
                    isOpaque &= line[4 * x + 3] == static_cast<Sample>(-1);
                if (!isOpaque && !addAlpha<Sample>()) return false;
            }
            const std::size_t count = planes_[3].bytes == nullptr ? 3 : 4;
            for (std::size_t channel = 0; channel < count; ++channel) {
                Sample* out = rowOf<Sample>(channel, firstRow + row);
                for (std::size_t x = 0; x < width; ++x)
                    out[x] = stored<Sample>(line[4 * x + channel]);
            }
        }
        return true;
    }

    heif_image* image_;
    PixelSize size_;
    bool isDeep_;
    std::array<Plane, 4> planes_;
};

EncodeResult fillImage(heif_image* image, const ImageEncodeRequest& request,
                       SampleRowSource& rows) {
    OMBREL_CHECK(request.layout.channelCount() == 4 && request.layout.model == SampleModel::rgb,
                 "this encoder draws rows of RGB with alpha");
    const auto failed = std::unexpected(ImageIOError::encodingFailed());
    Planes planes(image, request.size, request.layout.type);
    if (!planes.addColors()) return failed;
    const std::size_t rowBytes =
        static_cast<std::size_t>(request.size.width) * request.layout.bytesPerPixel();
    std::vector<std::byte> samples(rowBytes * static_cast<std::size_t>(rowsAtOnce));
    for (std::int64_t first = 0; first < request.size.height; first += rowsAtOnce) {
        const std::int64_t count = std::min(rowsAtOnce, request.size.height - first);
        const auto batch = std::span(samples).first(rowBytes * static_cast<std::size_t>(count));
        if (auto read = rows.readRows(count, batch); !read) return read;
        if (!planes.put(first, count, batch)) return failed;
    }
    if (request.iccData.empty()) return {};
    if (!isOk(heif_image_set_raw_color_profile(image, "prof", request.iccData.data(),
                                               request.iccData.size()))) {
        return failed;
    }
    return {};
}

heif_error writeToSink(heif_context*, const void* data, std::size_t size, void* user) {
    auto& sink = *static_cast<ByteSink*>(user);
    const std::span bytes(static_cast<const std::byte*>(data), size);
    if (sink.writeAt(sink.size(), bytes)) return {heif_error_Ok, heif_suberror_Unspecified, ""};
    return {heif_error_Encoding_error, heif_suberror_Cannot_write_output_data, "sink"};
}

bool encodeImage(heif_context* context, const heif_image* image,
                 const ImageEncodeRequest& request) {
    const auto encoder = made<heif_encoder>([&](heif_encoder** out) {
        return heif_context_get_encoder_for_format(context, heif_compression_HEVC, out);
    });
    const int quality = static_cast<int>(std::lround(std::clamp(request.quality, 0.0, 1.0) * 100));
    const Owned<heif_encoding_options> options(heif_encoding_options_alloc());
    if (!encoder || !options || !isOk(heif_encoder_set_lossy_quality(encoder.get(), quality))) {
        return false;
    }
    heif_encoder_set_parameter_string(encoder.get(), "preset", encoderPreset);
    const auto handle = made<heif_image_handle>([&](heif_image_handle** out) {
        return heif_context_encode_image(context, image, encoder.get(), options.get(), out);
    });
    const std::vector<std::byte> exif = exifOfResolution(request.resolution);
    return handle && isOk(heif_context_add_exif_metadata(context, handle.get(), exif.data(),
                                                         static_cast<int>(exif.size())));
}

} // namespace

SampleLayout layoutFor(BitDepth depth) {
    return {SampleModel::rgb,
            depth == BitDepth::eight ? SampleType::unsigned8 : SampleType::unsigned16,
            AlphaKind::straight};
}

bool canEncode() {
    return heif_have_encoder_for_format(heif_compression_HEVC) != 0;
}

std::expected<void, ImageIOError> encode(const ImageEncodeRequest& request, SampleRowSource& rows,
                                         ByteSink& sink) {
    const auto failed = std::unexpected(ImageIOError::encodingFailed());
    const Owned<heif_context> context(heif_context_alloc());
    auto image = made<heif_image>([&](heif_image** out) {
        return heif_image_create(static_cast<int>(request.size.width),
                                 static_cast<int>(request.size.height), heif_colorspace_RGB,
                                 heif_chroma_444, out);
    });
    if (!context || !image) return failed;
    if (auto filled = fillImage(image.get(), request, rows); !filled) return filled;
    if (!rows.reportEncoding(0)) return std::unexpected(ImageIOError::cancelled());
    if (!encodeImage(context.get(), image.get(), request)) return failed;
    image.reset();
    if (!rows.reportEncoding(1)) return std::unexpected(ImageIOError::cancelled());

    heif_writer writer{1, writeToSink};
    if (!isOk(heif_context_write(context.get(), &writer, &sink))) return failed;
    return {};
}

} // namespace ombrel::heic
