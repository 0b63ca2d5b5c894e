// Lossless WebP, 8 bits, straight alpha. Holds the whole picture while encoding.
#include "Base/Check.h"
#include "IO/Codecs/Resolution.h"
#include "IO/Codecs/WebpCodec.h"

#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace ombrel::webp {

namespace {

using EncodeResult = std::expected<void, ImageIOError>;

// Of the ten lossless presets: on photographs higher ones take up to ten times as long and save
// nothing.
constexpr int losslessLevel = 1;
constexpr std::int64_t rowsAtOnce = 64;

struct Picture {
    Picture() { isInitialised = WebPPictureInit(&value) != 0; }
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    ~Picture() { WebPPictureFree(&value); }

    WebPPicture value;
    bool isInitialised;
};

struct MemoryWriter {
    MemoryWriter() { WebPMemoryWriterInit(&value); }
    MemoryWriter(const MemoryWriter&) = delete;
    MemoryWriter& operator=(const MemoryWriter&) = delete;
    ~MemoryWriter() { WebPMemoryWriterClear(&value); }

    WebPMemoryWriter value;
};

struct MuxDeleter {
    void operator()(WebPMux* mux) const { WebPMuxDelete(mux); }
};

int report(int percent, const WebPPicture* picture) {
    auto& rows = *static_cast<SampleRowSource*>(picture->user_data);
    return rows.reportEncoding(percent / 100.0) ? 1 : 0;
}

EncodeResult fillPicture(WebPPicture& picture, const ImageEncodeRequest& request,
                         SampleRowSource& rows) {
    const auto width = static_cast<std::size_t>(request.size.width);
    std::vector<std::byte> samples(width * 4 * static_cast<std::size_t>(rowsAtOnce));
    for (std::int64_t first = 0; first < request.size.height; first += rowsAtOnce) {
        const std::int64_t count = std::min(rowsAtOnce, request.size.height - first);
        const auto batch = std::span(samples).first(width * 4 * static_cast<std::size_t>(count));
        if (auto read = rows.readRows(count, batch); !read) return read;
        for (std::int64_t row = 0; row < count; ++row) {
            std::uint32_t* out = picture.argb + (first + row) * picture.argb_stride;
            const std::byte* in = batch.data() + static_cast<std::size_t>(row) * width * 4;
            for (std::size_t x = 0; x < width; ++x, in += 4) {
                out[x] = std::to_integer<std::uint32_t>(in[3]) << 24 |
                         std::to_integer<std::uint32_t>(in[0]) << 16 |
                         std::to_integer<std::uint32_t>(in[1]) << 8 |
                         std::to_integer<std::uint32_t>(in[2]);
            }
        }
    }
    return {};
}

/// The bare picture with its profile and Exif around it.
bool writeContainer(const WebPMemoryWriter& image, const ImageEncodeRequest& request,
                    ByteSink& sink) {
    const std::unique_ptr<WebPMux, MuxDeleter> mux(WebPMuxNew());
    if (!mux) return false;
    constexpr int byReference = 0;
    const WebPData picture{image.mem, image.size};
    const std::vector<std::byte> exifBytes = exifOfResolution(request.resolution);
    const WebPData exif{reinterpret_cast<const std::uint8_t*>(exifBytes.data()), exifBytes.size()};
    const WebPData profile{reinterpret_cast<const std::uint8_t*>(request.iccData.data()),
                           request.iccData.size()};
    if (WebPMuxSetImage(mux.get(), &picture, byReference) != WEBP_MUX_OK) return false;
    if (WebPMuxSetChunk(mux.get(), "EXIF", &exif, byReference) != WEBP_MUX_OK) return false;
    if (profile.size != 0 &&
        WebPMuxSetChunk(mux.get(), "ICCP", &profile, byReference) != WEBP_MUX_OK) {
        return false;
    }
    WebPData file{};
    if (WebPMuxAssemble(mux.get(), &file) != WEBP_MUX_OK) return false;
    const bool written = sink.writeAt(sink.size(), std::as_bytes(std::span(file.bytes, file.size)));
    WebPDataClear(&file);
    return written;
}

} // namespace

SampleLayout layoutFor(BitDepth) {
    return {SampleModel::rgb, SampleType::unsigned8, AlphaKind::straight};
}

bool canEncode() {
    return true;
}

std::expected<void, ImageIOError> encode(const ImageEncodeRequest& request, SampleRowSource& rows,
                                         ByteSink& sink) {
    OMBREL_CHECK(request.layout.channelCount() == 4 && request.layout.model == SampleModel::rgb,
                 "this encoder draws rows of RGB with alpha");
    const auto failed = std::unexpected(ImageIOError::encodingFailed());
    Picture picture;
    WebPConfig config;
    if (!picture.isInitialised || !WebPConfigInit(&config) ||
        !WebPConfigLosslessPreset(&config, losslessLevel)) {
        return failed;
    }
    config.exact = 1; // colours under alpha 0 are the document's, not ours to change
    config.thread_level = 1;
    picture.value.use_argb = 1;
    picture.value.width = static_cast<int>(request.size.width);
    picture.value.height = static_cast<int>(request.size.height);
    if (!WebPPictureAlloc(&picture.value)) return failed;
    if (auto filled = fillPicture(picture.value, request, rows); !filled) return filled;

    MemoryWriter writer;
    picture.value.writer = WebPMemoryWrite;
    picture.value.custom_ptr = &writer.value;
    picture.value.progress_hook = report;
    picture.value.user_data = &rows;
    if (!WebPEncode(&config, &picture.value)) {
        if (picture.value.error_code == VP8_ENC_ERROR_USER_ABORT) {
            return std::unexpected(ImageIOError::cancelled());
        }
        return failed;
    }
    if (!writeContainer(writer.value, request, sink)) return failed;
    return {};
}

} // namespace ombrel::webp
