#include "IO/Codecs/TiffCodec.h"
#include "IO/Codecs/TiffRows.h"
#include "IO/Codecs/TiffSamples.h"
#include "IO/ExifMetadata.h"
#include "IO/ImageLimits.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace ombrel::tiff {

namespace {

using Fault = std::unexpected<ImageIOError>;

/// More channels than any picture has; bounds the length of a row.
constexpr int largestSampleCount = 64;

/// Missing photometric tags are common among fax files and old gray ones.
int photometricOf(const TiffHandle& handle, int samplesPerPixel) {
    std::uint16_t photometric = 0;
    if (TIFFGetField(handle.tiff(), TIFFTAG_PHOTOMETRIC, &photometric) == 1) return photometric;
    const auto compression = handle.value<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    const bool isFax = compression == COMPRESSION_CCITTRLE ||
                       compression == COMPRESSION_CCITTRLEW ||
                       compression == COMPRESSION_CCITTFAX3 || compression == COMPRESSION_CCITTFAX4;
    if (isFax) return PHOTOMETRIC_MINISWHITE;
    return samplesPerPixel >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
}

std::optional<TiffColor> colorOf(const TiffHandle& handle, int photometric, int samplesPerPixel) {
    switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
        return TiffColor::invertedGray;
    case PHOTOMETRIC_MINISBLACK:
    case PHOTOMETRIC_MASK:
        return TiffColor::gray;
    case PHOTOMETRIC_LOGL:
        return TiffColor::luminance;
    case PHOTOMETRIC_RGB:
        return TiffColor::rgb;
    case PHOTOMETRIC_PALETTE:
        return TiffColor::palette;
    case PHOTOMETRIC_SEPARATED: {
        const auto inks = handle.value<std::uint16_t>(TIFFTAG_INKSET, INKSET_CMYK);
        if (inks != INKSET_CMYK && samplesPerPixel != 4) return std::nullopt;
        return TiffColor::cmyk;
    }
    case PHOTOMETRIC_YCBCR:
        return TiffColor::ycbcr;
    case PHOTOMETRIC_CIELAB:
        return TiffColor::cieLab;
    case PHOTOMETRIC_ICCLAB:
        return TiffColor::iccLab;
    case PHOTOMETRIC_LOGLUV:
        return TiffColor::xyz;
    default:
        return std::nullopt;
    }
}

std::optional<TiffNumber> numberOf(const TiffHandle& handle) {
    switch (handle.value<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT)) {
    case SAMPLEFORMAT_UINT:
    case SAMPLEFORMAT_VOID:
        return TiffNumber::unsignedInteger;
    case SAMPLEFORMAT_INT:
        return TiffNumber::signedInteger;
    case SAMPLEFORMAT_IEEEFP:
        return TiffNumber::floating;
    default:
        return std::nullopt; // complex numbers
    }
}

std::vector<std::array<std::uint16_t, 3>> paletteOf(const TiffHandle& handle, int bitsPerSample) {
    std::uint16_t* red = nullptr;
    std::uint16_t* green = nullptr;
    std::uint16_t* blue = nullptr;
    if (bitsPerSample > 16 ||
        TIFFGetField(handle.tiff(), TIFFTAG_COLORMAP, &red, &green, &blue) != 1) {
        return {};
    }
    std::vector<std::array<std::uint16_t, 3>> palette(std::size_t{1} << bitsPerSample);
    std::uint16_t largest = 0;
    for (std::size_t i = 0; i < palette.size(); ++i) {
        palette[i] = {red[i], green[i], blue[i]};
        largest = std::max({largest, red[i], green[i], blue[i]});
    }
    if (largest < 256) { // written by programs that took the entries for bytes
        for (auto& entry : palette) {
            for (std::uint16_t& value : entry)
                value = static_cast<std::uint16_t>(value * 257);
        }
    }
    return palette;
}

void readAlpha(const TiffHandle& handle, TiffPixelFormat& format) {
    const int colors = format.colorSampleCount();
    if (format.samplesPerPixel <= colors) return;
    if (handle.lacksExtraSamples()) { // one channel more can only be meant as alpha
        if (format.samplesPerPixel == colors + 1 && format.color != TiffColor::palette) {
            format.alpha = AlphaKind::straight;
            format.alphaSample = colors;
        }
        return;
    }
    std::uint16_t count = 0;
    std::uint16_t* kinds = nullptr;
    if (TIFFGetFieldDefaulted(handle.tiff(), TIFFTAG_EXTRASAMPLES, &count, &kinds) != 1) return;
    for (int i = 0; i < count && colors + i < format.samplesPerPixel; ++i) {
        const bool isPremultiplied = kinds[i] == EXTRASAMPLE_ASSOCALPHA;
        if (!isPremultiplied && kinds[i] != EXTRASAMPLE_UNASSALPHA) continue;
        format.alpha = isPremultiplied ? AlphaKind::premultiplied : AlphaKind::straight;
        format.alphaSample = colors + i;
        return;
    }
}

void readYCbCr(const TiffHandle& handle, TiffPixelFormat& format) {
    float* weights = nullptr;
    if (TIFFGetFieldDefaulted(handle.tiff(), TIFFTAG_YCBCRCOEFFICIENTS, &weights) == 1 &&
        weights != nullptr && weights[1] != 0) {
        std::copy_n(weights, 3, format.lumaWeights.begin());
    }
    float* limits = nullptr;
    if (TIFFGetFieldDefaulted(handle.tiff(), TIFFTAG_REFERENCEBLACKWHITE, &limits) == 1 &&
        limits != nullptr) {
        std::copy_n(limits, 6, format.blackAndWhite.begin());
    }
}

class TiffDecoder final : public ImageDecoder {
public:
    std::expected<void, ImageIOError> open(ByteSource& source) {
        handle_ = TiffHandle::open(source);
        if (handle_ == nullptr) return Fault(ImageIOError::unreadable());
        description_.size = {handle_->value<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0),
                             handle_->value<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0)};
        if (auto checked = checkImageSize(description_.size); !checked) return checked;
        const auto compression = handle_->value<std::uint16_t>(TIFFTAG_COMPRESSION, 0);
        if (TIFFIsCODECConfigured(compression) == 0) return Fault(ImageIOError::unreadable());
        describe();

        TiffRowRequest request;
        std::optional<TiffPixelFormat> format = readFormat(compression, request);
        if (!format) return Fault(ImageIOError::unreadable());
        const std::vector<int> planes = format->neededPlanes();
        request.planes = planes;
        description_.bitDepth = depthOf(*format);
        converter_ = TiffSampleConverter::make(std::move(*format), description_.size.width);
        if (!converter_) return Fault(ImageIOError::unreadable());
        description_.layout = converter_->layout();
        auto rows = makeTiffRowReader(std::move(handle_), source, request);
        if (!rows) return Fault(rows.error());
        rows_ = std::move(*rows);
        return {};
    }

    const ImageDescription& description() const override { return description_; }

    std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                               std::span<std::byte> out) override {
        const std::size_t rowBytes =
            static_cast<std::size_t>(description_.size.width) * description_.layout.bytesPerPixel();
        for (std::int64_t row = 0; row < rowCount; ++row) {
            const auto planes = rows_->nextRow();
            if (!planes) return Fault(planes.error());
            converter_->convertRow(*planes,
                                   out.subspan(static_cast<std::size_t>(row) * rowBytes, rowBytes));
        }
        return {};
    }

private:
    void describe() {
        const auto orientation = handle_->value<std::uint16_t>(TIFFTAG_ORIENTATION, 1);
        if (orientation >= 1 && orientation <= 8) description_.orientation = orientation;
        float perUnit = 0;
        if (TIFFGetField(handle_->tiff(), TIFFTAG_XRESOLUTION, &perUnit) == 1) {
            const auto unit = handle_->value<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
            description_.resolution = resolutionPerInch(perUnit, unit);
        }
        std::uint32_t length = 0;
        void* profile = nullptr;
        if (TIFFGetField(handle_->tiff(), TIFFTAG_ICCPROFILE, &length, &profile) == 1) {
            const auto* bytes = static_cast<const std::byte*>(profile);
            description_.iccData.assign(bytes, bytes + length);
        }
    }

    std::optional<TiffPixelFormat> readFormat(int compression, TiffRowRequest& request) {
        TiffPixelFormat format;
        format.samplesPerPixel = handle_->value<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
        if (format.samplesPerPixel < 1 || format.samplesPerPixel > largestSampleCount) {
            return std::nullopt;
        }
        const int photometric = photometricOf(*handle_, format.samplesPerPixel);
        const bool isLog = photometric == PHOTOMETRIC_LOGL || photometric == PHOTOMETRIC_LOGLUV;
        if (isLog && !chooseFloats(compression)) return std::nullopt;

        format.bitsPerSample = handle_->value<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
        format.isPlanar = format.samplesPerPixel > 1 &&
                          handle_->value<std::uint16_t>(
                              TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
        const auto color = colorOf(*handle_, photometric, format.samplesPerPixel);
        const auto number = numberOf(*handle_);
        if (!color || !number) return std::nullopt;
        format.color = *color;
        format.number = *number;
        if (format.color == TiffColor::palette) {
            format.palette = paletteOf(*handle_, format.bitsPerSample);
        }
        if (format.color == TiffColor::ycbcr && !readChroma(compression, format, request)) {
            return std::nullopt;
        }
        readAlpha(*handle_, format);
        request.width = description_.size.width;
        request.height = description_.size.height;
        request.bitsPerSample = format.bitsPerSample;
        request.samplesPerPlanePixel = format.isPlanar ? 1 : format.samplesPerPixel;
        return format;
    }

    bool chooseFloats(int compression) {
        if (compression != COMPRESSION_SGILOG && compression != COMPRESSION_SGILOG24) return false;
        return TIFFSetField(handle_->tiff(), TIFFTAG_SGILOGDATAFMT, SGILOGDATAFMT_FLOAT) == 1;
    }

    /// The JPEG codec turns YCbCr into RGB itself; other codecs leave blocks of shared chroma.
    bool readChroma(int compression, TiffPixelFormat& format, TiffRowRequest& request) {
        if (compression == COMPRESSION_JPEG && !format.isPlanar) {
            format.color = TiffColor::rgb;
            request.expandsJpegToRGB = true;
            return true;
        }
        readYCbCr(*handle_, format);
        if (!format.isPlanar) {
            request.hasPackedChroma = true;
            return format.samplesPerPixel == 3 && format.bitsPerSample == 8;
        }
        std::uint16_t across = 0;
        std::uint16_t down = 0;
        TIFFGetFieldDefaulted(handle_->tiff(), TIFFTAG_YCBCRSUBSAMPLING, &across, &down);
        return across == 1 && down == 1;
    }

    static BitDepth depthOf(const TiffPixelFormat& format) {
        if (format.bitsPerSample <= 8 || format.color == TiffColor::palette) return BitDepth::eight;
        if (format.number == TiffNumber::floating) return BitDepth::thirtyTwo;
        return format.bitsPerSample <= 16 ? BitDepth::sixteen : BitDepth::thirtyTwo;
    }

    std::unique_ptr<TiffHandle> handle_; ///< until the row reader takes it
    ImageDescription description_;
    std::optional<TiffSampleConverter> converter_;
    std::unique_ptr<TiffRowReader> rows_;
};

} // namespace

bool recognises(std::span<const std::byte> head) {
    static constexpr std::array<std::array<char, 4>, 4> marks{{
        {'I', 'I', 42, 0},
        {'M', 'M', 0, 42},
        {'I', 'I', 43, 0},
        {'M', 'M', 0, 43},
    }};
    return std::ranges::any_of(marks, [&](const auto& mark) {
        return head.size() >= mark.size() &&
               std::memcmp(head.data(), mark.data(), mark.size()) == 0;
    });
}

std::expected<std::unique_ptr<ImageDecoder>, ImageIOError> open(ByteSource& source) {
    auto decoder = std::make_unique<TiffDecoder>();
    if (auto opened = decoder->open(source); !opened) return Fault(opened.error());
    return decoder;
}

} // namespace ombrel::tiff
