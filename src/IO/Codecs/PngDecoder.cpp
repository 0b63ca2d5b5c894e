#include "IO/Codecs/BufferedReader.h"
#include "IO/Codecs/PngChunks.h"
#include "IO/Codecs/PngCodec.h"
#include "IO/ImageLimits.h"

#include <array>
#include <bit>
#include <cmath>
#include <csetjmp>

#include <png.h>

namespace ombrel::png {

namespace {

constexpr std::array<unsigned char, 8> signature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

/// Deflate makes at most 1032 bytes of one; what claims more is cut or lies.
constexpr std::uint64_t largestExpansion = 1032;

// libpng reports faults by longjmp. Every call into it stands in one of the functions below, whose
// locals have no destructors, so that nothing is skipped; they return false after a fault.

void onError(png_structp png, png_const_charp) {
    png_longjmp(png, 1);
}

void onWarning(png_structp, png_const_charp) {}

void readBytes(png_structp png, png_bytep out, std::size_t length) {
    auto* reader = static_cast<BufferedReader*>(png_get_io_ptr(png));
    if (reader->read({reinterpret_cast<std::byte*>(out), length}) < length) {
        png_error(png, "unexpected end");
    }
}

bool readHeader(png_structp png, png_infop info, BufferedReader* reader) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_set_read_fn(png, reader, readBytes);
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX); // sides are checked by us
    png_set_benign_errors(png, 1);
    png_read_info(png, info);
    return true;
}

/// Asks for samples as SampleLayout has them: no palettes, no packed samples, alpha as a channel.
bool startReading(png_structp png, png_infop info) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_set_expand(png);
    if (std::endian::native == std::endian::little && png_get_bit_depth(png, info) == 16) {
        png_set_swap(png);
    }
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    return true;
}

bool readRowsInto(png_structp png, png_bytep out, std::size_t stride, std::int64_t rowCount) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    for (std::int64_t row = 0; row < rowCount; ++row) {
        png_read_row(png, out + static_cast<std::size_t>(row) * stride, nullptr);
    }
    return true;
}

bool readEnd(png_structp png) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_read_end(png, nullptr);
    return true;
}

/// A resolution kept in whole pixels per metre: the whole number of pixels per inch that is stored
/// so, where there is one.
double perInchOfMetre(std::uint32_t perMetre) {
    const double exact = perMetre * 0.0254;
    const double whole = std::round(exact);
    return std::round(whole / 0.0254) == perMetre ? whole : exact;
}

class PngDecoder final : public ImageDecoder {
public:
    explicit PngDecoder(ByteSource& source) : source_(source), reader_(source) {}
    PngDecoder(const PngDecoder&) = delete;
    PngDecoder& operator=(const PngDecoder&) = delete;
    ~PngDecoder() override { png_destroy_read_struct(&png_, &info_, nullptr); }

    std::expected<void, ImageIOError> open() {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, onError, onWarning);
        if (png_ != nullptr) info_ = png_create_info_struct(png_);
        if (info_ == nullptr || !readHeader(png_, info_, &reader_)) {
            return std::unexpected(ImageIOError::unreadable());
        }
        description_.size = {png_get_image_width(png_, info_), png_get_image_height(png_, info_)};
        if (auto checked = checkImageSize(description_.size); !checked) return checked;
        describe(scanPngChunks(source_));
        if (!startReading(png_, info_)) return std::unexpected(ImageIOError::unreadable());
        describeSamples();
        stride_ =
            static_cast<std::size_t>(description_.size.width) * description_.layout.bytesPerPixel();
        if (png_get_rowbytes(png_, info_) != stride_) {
            return std::unexpected(ImageIOError::unreadable());
        }
        return {};
    }

    const ImageDescription& description() const override { return description_; }

    std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                               std::span<std::byte> out) override {
        if (isImplausible_) return std::unexpected(ImageIOError::unreadable());
        return isInterlaced_ ? readInterlaced(rowCount, out) : readPlain(rowCount, out);
    }

private:
    void describe(const PngChunks& chunks) {
        isInterlaced_ = png_get_interlace_type(png_, info_) != PNG_INTERLACE_NONE;
        const std::uint64_t rawBits =
            std::uint64_t{png_get_image_width(png_, info_)} * png_get_image_height(png_, info_) *
            png_get_bit_depth(png_, info_) * png_get_channels(png_, info_);
        isImplausible_ = rawBits / 8 / largestExpansion > chunks.imageDataBytes;
        description_.orientation = chunks.exif.orientation;
        description_.resolution = chunks.exif.resolution;

        png_uint_32 perMetre = 0;
        png_uint_32 perMetreDown = 0;
        int unit = PNG_RESOLUTION_UNKNOWN;
        if (png_get_pHYs(png_, info_, &perMetre, &perMetreDown, &unit) != 0 &&
            unit == PNG_RESOLUTION_METER && perMetre > 0) {
            description_.resolution = perInchOfMetre(perMetre);
        }
        png_charp name = nullptr;
        int compression = 0;
        png_bytep profile = nullptr;
        png_uint_32 length = 0;
        if (chunks.codedColor) {
            description_.iccData = iccDataOf(*chunks.codedColor);
        } else if (png_get_iCCP(png_, info_, &name, &compression, &profile, &length) != 0) {
            const auto* bytes = reinterpret_cast<const std::byte*>(profile);
            description_.iccData.assign(bytes, bytes + length);
        }
    }

    void describeSamples() {
        const png_byte colorType = png_get_color_type(png_, info_);
        const bool isDeep = png_get_bit_depth(png_, info_) == 16;
        SampleLayout& layout = description_.layout;
        layout.model =
            (colorType & PNG_COLOR_MASK_COLOR) != 0 ? SampleModel::rgb : SampleModel::gray;
        layout.type = isDeep ? SampleType::unsigned16 : SampleType::unsigned8;
        layout.alpha =
            (colorType & PNG_COLOR_MASK_ALPHA) != 0 ? AlphaKind::straight : AlphaKind::none;
        description_.bitDepth = isDeep ? BitDepth::sixteen : BitDepth::eight;
    }

    std::expected<void, ImageIOError> readPlain(std::int64_t rowCount, std::span<std::byte> out) {
        if (!readRowsInto(png_, reinterpret_cast<png_bytep>(out.data()), stride_, rowCount)) {
            return std::unexpected(ImageIOError::unreadable());
        }
        nextRow_ += rowCount;
        if (nextRow_ == description_.size.height && !readEnd(png_)) {
            return std::unexpected(ImageIOError::unreadable());
        }
        return {};
    }

    /// The seven passes touch every eighth of the picture, so it has to be there as a whole.
    std::expected<void, ImageIOError> decodeFrame() {
        const std::int64_t height = description_.size.height;
        frame_ = allocateFrame(static_cast<std::uint64_t>(height) * stride_);
        if (frame_ == nullptr) {
            return std::unexpected(ImageIOError::imageTooLarge(description_.size));
        }
        for (int pass = 0; pass < PNG_INTERLACE_ADAM7_PASSES; ++pass) {
            if (!readRowsInto(png_, reinterpret_cast<png_bytep>(frame_.get()), stride_, height)) {
                return std::unexpected(ImageIOError::unreadable());
            }
        }
        if (!readEnd(png_)) return std::unexpected(ImageIOError::unreadable());
        return {};
    }

    std::expected<void, ImageIOError> readInterlaced(std::int64_t rowCount,
                                                     std::span<std::byte> out) {
        if (frame_ == nullptr) {
            if (auto decoded = decodeFrame(); !decoded) return decoded;
        }
        std::memcpy(out.data(), frame_.get() + static_cast<std::size_t>(nextRow_) * stride_,
                    static_cast<std::size_t>(rowCount) * stride_);
        nextRow_ += rowCount;
        return {};
    }

    ByteSource& source_;
    BufferedReader reader_;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    ImageDescription description_;
    std::size_t stride_ = 0;
    bool isInterlaced_ = false;
    bool isImplausible_ = false;
    std::int64_t nextRow_ = 0;
    RawBytes frame_; ///< of interlaced files only
};

} // namespace

bool recognises(std::span<const std::byte> head) {
    return head.size() >= signature.size() &&
           std::memcmp(head.data(), signature.data(), signature.size()) == 0;
}

std::expected<std::unique_ptr<ImageDecoder>, ImageIOError> open(ByteSource& source) {
    auto decoder = std::make_unique<PngDecoder>(source);
    if (auto opened = decoder->open(); !opened) return std::unexpected(opened.error());
    return decoder;
}

} // namespace ombrel::png
