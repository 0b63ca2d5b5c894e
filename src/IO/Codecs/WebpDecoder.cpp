#include "IO/Codecs/WebpCodec.h"
#include "IO/ExifMetadata.h"
#include "IO/ImageLimits.h"

#include <algorithm>
#include <cstring>

#include <webp/decode.h>
#include <webp/demux.h>

namespace ombrel::webp {

namespace {

using Fault = std::unexpected<ImageIOError>;

/// What is handed to the decoder at a time while rows are waited for.
constexpr std::size_t smallestStep = 65536;
constexpr std::size_t stepCount = 64;

struct DeleteDemuxer {
    void operator()(WebPDemuxer* demuxer) const { WebPDemuxDelete(demuxer); }
};
struct DeleteDecoder {
    void operator()(WebPIDecoder* decoder) const { WebPIDelete(decoder); }
};

/// Reads the first frame of the canvas; what the frame does not cover is transparent.
class WebpDecoder final : public ImageDecoder {
public:
    WebpDecoder() { WebPInitDecoderConfig(&configuration_); }
    WebpDecoder(const WebpDecoder&) = delete;
    WebpDecoder& operator=(const WebpDecoder&) = delete;
    ~WebpDecoder() override {
        decoder_.reset(); // before what it writes to
        WebPDemuxReleaseIterator(&frame_);
    }

    std::expected<void, ImageIOError> open(ByteSource& source) {
        file_ = allocateFrame(source.size());
        if (file_ == nullptr) return Fault(ImageIOError::unreadable());
        const auto size = static_cast<std::size_t>(source.size());
        const std::size_t count = source.readAt(0, {file_.get(), size});
        const WebPData data{reinterpret_cast<const std::uint8_t*>(file_.get()), count};
        demuxer_.reset(WebPDemux(&data)); // null for an incomplete file
        if (demuxer_ == nullptr || WebPDemuxGetFrame(demuxer_.get(), 1, &frame_) == 0 ||
            frame_.complete == 0) {
            return Fault(ImageIOError::unreadable());
        }
        description_.size = {WebPDemuxGetI(demuxer_.get(), WEBP_FF_CANVAS_WIDTH),
                             WebPDemuxGetI(demuxer_.get(), WEBP_FF_CANVAS_HEIGHT)};
        if (auto checked = checkImageSize(description_.size); !checked) return checked;
        const bool fits = frame_.x_offset >= 0 && frame_.y_offset >= 0 && frame_.width >= 1 &&
                          frame_.height >= 1 &&
                          frame_.x_offset + frame_.width <= description_.size.width &&
                          frame_.y_offset + frame_.height <= description_.size.height;
        if (!fits) return Fault(ImageIOError::unreadable());
        coversCanvas_ =
            frame_.width == description_.size.width && frame_.height == description_.size.height;
        const bool hasAlpha = frame_.has_alpha != 0 || !coversCanvas_;
        description_.layout.alpha = hasAlpha ? AlphaKind::straight : AlphaKind::none;
        readChunks();
        return {};
    }

    const ImageDescription& description() const override { return description_; }

    std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                               std::span<std::byte> out) override {
        if (decoder_ == nullptr) {
            if (auto started = start(); !started) return started;
        }
        const std::size_t pixelBytes = description_.layout.bytesPerPixel();
        const std::size_t rowBytes = static_cast<std::size_t>(description_.size.width) * pixelBytes;
        if (!coversCanvas_)
            std::memset(out.data(), 0, static_cast<std::size_t>(rowCount) * rowBytes);
        const std::int64_t first = std::max<std::int64_t>(nextRow_, frame_.y_offset);
        const std::int64_t last =
            std::min<std::int64_t>(nextRow_ + rowCount, frame_.y_offset + frame_.height);
        if (first < last && !decodeUntil(static_cast<int>(last - frame_.y_offset))) {
            return Fault(ImageIOError::unreadable());
        }
        for (std::int64_t row = first; row < last; ++row) {
            std::memcpy(out.data() + static_cast<std::size_t>(row - nextRow_) * rowBytes +
                            static_cast<std::size_t>(frame_.x_offset) * pixelBytes,
                        samples_.get() + static_cast<std::size_t>(row - frame_.y_offset) * stride_,
                        stride_);
        }
        nextRow_ += rowCount;
        return {};
    }

private:
    void readChunks() {
        WebPChunkIterator chunk = {};
        if (WebPDemuxGetChunk(demuxer_.get(), "ICCP", 1, &chunk) != 0) {
            const auto* bytes = reinterpret_cast<const std::byte*>(chunk.chunk.bytes);
            description_.iccData.assign(bytes, bytes + chunk.chunk.size);
        }
        WebPDemuxReleaseChunkIterator(&chunk);
        if (WebPDemuxGetChunk(demuxer_.get(), "EXIF", 1, &chunk) != 0) {
            const auto* bytes = reinterpret_cast<const std::byte*>(chunk.chunk.bytes);
            const ExifMetadata exif = readExif({bytes, chunk.chunk.size});
            description_.orientation = exif.orientation;
            description_.resolution = exif.resolution;
        }
        WebPDemuxReleaseChunkIterator(&chunk);
    }

    /// The library decodes into a whole frame and holds one of its own for lossless files.
    std::expected<void, ImageIOError> start() {
        stride_ = static_cast<std::size_t>(frame_.width) * description_.layout.bytesPerPixel();
        const std::size_t size = stride_ * static_cast<std::size_t>(frame_.height);
        samples_ =
            allocateFrame(std::uint64_t{size} * 2) != nullptr ? allocateFrame(size) : nullptr;
        if (samples_ == nullptr) return Fault(ImageIOError::imageTooLarge(description_.size));
        WebPDecBuffer& output = configuration_.output;
        output.colorspace = description_.layout.alpha == AlphaKind::none ? MODE_RGB : MODE_RGBA;
        output.is_external_memory = 1;
        output.u.RGBA.rgba = reinterpret_cast<std::uint8_t*>(samples_.get());
        output.u.RGBA.stride = static_cast<int>(stride_);
        output.u.RGBA.size = size;
        decoder_.reset(WebPIDecode(nullptr, 0, &configuration_));
        if (decoder_ == nullptr) return Fault(ImageIOError::unreadable());
        return {};
    }

    bool decodeUntil(int rowCount) {
        const WebPData& data = frame_.fragment;
        const std::size_t step = std::max(smallestStep, data.size / stepCount);
        while (rowsReady_ < rowCount) {
            if (fed_ == data.size) return false;
            fed_ += std::min(step, data.size - fed_);
            const VP8StatusCode status = WebPIUpdate(decoder_.get(), data.bytes, fed_);
            if (status != VP8_STATUS_OK && status != VP8_STATUS_SUSPENDED) return false;
            int width = 0;
            int height = 0;
            int stride = 0;
            int ready = 0;
            // Until the header has been understood there are no rows, and no size.
            if (WebPIDecGetRGB(decoder_.get(), &ready, &width, &height, &stride) != nullptr &&
                ready > 0) {
                if (width != frame_.width || height != frame_.height) return false;
                rowsReady_ = ready;
            }
        }
        return true;
    }

    RawBytes file_;
    std::unique_ptr<WebPDemuxer, DeleteDemuxer> demuxer_;
    WebPIterator frame_ = {};
    ImageDescription description_;
    bool coversCanvas_ = true;
    WebPDecoderConfig configuration_ = {};
    RawBytes samples_; ///< of the frame
    std::size_t stride_ = 0;
    std::unique_ptr<WebPIDecoder, DeleteDecoder> decoder_;
    std::size_t fed_ = 0;
    int rowsReady_ = 0;
    std::int64_t nextRow_ = 0; ///< of the canvas
};

} // namespace

bool recognises(std::span<const std::byte> head) {
    return head.size() >= 12 && std::memcmp(head.data(), "RIFF", 4) == 0 &&
           std::memcmp(head.data() + 8, "WEBP", 4) == 0;
}

std::expected<std::unique_ptr<ImageDecoder>, ImageIOError> open(ByteSource& source) {
    auto decoder = std::make_unique<WebpDecoder>();
    if (auto opened = decoder->open(source); !opened) return Fault(opened.error());
    return decoder;
}

} // namespace ombrel::webp
