// TIFF: LZW strips with a predictor, straight alpha, 8 or 16 bits or 32-bit floats; BigTIFF where
// the file could pass 4 GiB. libtiff makes the container; the strips are compressed here, in
// parallel.
#include "IO/Codecs/LzwEncoder.h"
#include "IO/Codecs/Resolution.h"
#include "IO/Codecs/TiffCodec.h"
#include "IO/Codecs/TiffPredictor.h"

#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>
#include <tiffio.h>

#include <algorithm>
#include <bit>
#include <memory>
#include <vector>

namespace ombrel::tiff {

namespace {

using EncodeResult = std::expected<void, ImageIOError>;

static_assert(std::endian::native == std::endian::little, "strips are written as they lie");

// Strips are compressed on their own, in parallel; readers that take one strip at a time stay
// within a cache.
constexpr std::size_t stripBytesGoal = 128 * 1024;
constexpr std::size_t batchBytesGoal = 16 * 1024 * 1024;
constexpr std::uint64_t largestClassicFile = 0xFFFFFFFFull;

/// What the library calls to reach the sink: a file with a position.
struct SinkStream {
    ByteSink& sink;
    std::uint64_t base;         ///< where in the sink the file begins
    std::uint64_t position = 0; ///< relative to it

    static tmsize_t read(thandle_t handle, void* out, tmsize_t length) {
        auto& stream = *static_cast<SinkStream*>(handle);
        const std::span bytes(static_cast<std::byte*>(out), static_cast<std::size_t>(length));
        const std::size_t count = stream.sink.readAt(stream.base + stream.position, bytes);
        stream.position += count;
        return static_cast<tmsize_t>(count);
    }
    static tmsize_t write(thandle_t handle, void* in, tmsize_t length) {
        auto& stream = *static_cast<SinkStream*>(handle);
        const std::span bytes(static_cast<const std::byte*>(in), static_cast<std::size_t>(length));
        if (!stream.sink.writeAt(stream.base + stream.position, bytes)) return -1;
        stream.position += bytes.size();
        return length;
    }
    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        auto& stream = *static_cast<SinkStream*>(handle);
        const std::uint64_t from = whence == SEEK_CUR   ? stream.position
                                   : whence == SEEK_END ? size(handle)
                                                        : 0;
        stream.position = from + offset;
        return stream.position;
    }
    static int close(thandle_t) { return 0; }
    static toff_t size(thandle_t handle) {
        const auto& stream = *static_cast<SinkStream*>(handle);
        return stream.sink.size() - stream.base;
    }
};

int stayQuiet(TIFF*, void*, const char*, const char*, va_list) {
    return 1;
}

struct TiffCloser {
    void operator()(TIFF* tiff) const { TIFFCleanup(tiff); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

TiffHandle openTiff(SinkStream& stream, bool isBig) {
    std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(TIFFOpenOptionsAlloc(),
                                                                             &TIFFOpenOptionsFree);
    if (!options) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), stayQuiet, nullptr);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), stayQuiet, nullptr);
    return TiffHandle(TIFFClientOpenExt("export", isBig ? "wl8" : "wl", &stream, SinkStream::read,
                                        SinkStream::write, SinkStream::seek, SinkStream::close,
                                        SinkStream::size, nullptr, nullptr, options.get()));
}

struct Geometry {
    explicit Geometry(const ImageEncodeRequest& request)
        : height(static_cast<std::size_t>(request.size.height)),
          rowBytes(static_cast<std::size_t>(request.size.width) * request.layout.bytesPerPixel()),
          rowsPerStrip(std::clamp<std::size_t>(stripBytesGoal / rowBytes, 1, height)),
          stripCount((height + rowsPerStrip - 1) / rowsPerStrip),
          stripsPerBatch(std::clamp<std::size_t>(batchBytesGoal / (rowsPerStrip * rowBytes), 16,
                                                 std::max<std::size_t>(stripCount, 16))) {}

    /// No file of this picture is longer.
    std::uint64_t largestFile(std::size_t profileLength) const {
        const std::uint64_t strips =
            LzwEncoder::longestOutput(rowsPerStrip * rowBytes) * std::uint64_t{stripCount};
        return strips + stripCount * 16 + profileLength + 64 * 1024;
    }

    std::size_t height;
    std::size_t rowBytes;
    std::size_t rowsPerStrip;
    std::size_t stripCount;
    std::size_t stripsPerBatch;
};

bool setFields(TIFF* tiff, const ImageEncodeRequest& request, const Geometry& geometry) {
    const SampleLayout layout = request.layout;
    const bool isFloat = layout.type == SampleType::float32 || layout.type == SampleType::half;
    const bool hasAlpha = layout.alpha != AlphaKind::none;
    const ResolutionFraction fraction = resolutionFraction(request.resolution);
    const double resolution = static_cast<double>(fraction.numerator) / fraction.denominator;
    bool ok = true;
    const auto set = [&](std::uint32_t tag, auto... values) {
        ok = ok && TIFFSetField(tiff, tag, values...) == 1;
    };
    set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(request.size.width));
    set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(request.size.height));
    set(TIFFTAG_BITSPERSAMPLE, static_cast<int>(8 * layout.bytesPerSample()));
    set(TIFFTAG_SAMPLESPERPIXEL, layout.channelCount());
    set(TIFFTAG_SAMPLEFORMAT, isFloat ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    set(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    if (hasAlpha) {
        const std::uint16_t kind = EXTRASAMPLE_UNASSALPHA;
        set(TIFFTAG_EXTRASAMPLES, 1, &kind);
    }
    set(TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    set(TIFFTAG_PREDICTOR, tiffPredictorNumber(layout.type));
    set(TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(geometry.rowsPerStrip));
    set(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    set(TIFFTAG_XRESOLUTION, resolution);
    set(TIFFTAG_YRESOLUTION, resolution);
    if (!request.iccData.empty()) {
        set(TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(request.iccData.size()),
            request.iccData.data());
    }
    return ok;
}

/// Rows in batches, each batch's strips compressed in parallel and handed over in order.
EncodeResult writeStrips(TIFF* tiff, const ImageEncodeRequest& request, SampleRowSource& rows,
                         const Geometry& geometry) {
    const std::size_t rowsPerBatch =
        std::min(geometry.height, geometry.stripsPerBatch * geometry.rowsPerStrip);
    std::vector<std::byte> samples(rowsPerBatch * geometry.rowBytes);
    tbb::enumerable_thread_specific<LzwEncoder> encoders;
    std::vector<std::vector<std::uint8_t>> packed;
    std::uint32_t strip = 0;
    for (std::size_t first = 0; first < geometry.height; first += rowsPerBatch) {
        const std::size_t count = std::min(rowsPerBatch, geometry.height - first);
        const auto batch = std::span(samples).first(count * geometry.rowBytes);
        if (auto read = rows.readRows(static_cast<std::int64_t>(count), batch); !read) return read;
        packed.resize((count + geometry.rowsPerStrip - 1) / geometry.rowsPerStrip);
        tbb::parallel_for(std::size_t{0}, packed.size(), [&](std::size_t index) {
            const std::size_t begin = index * geometry.rowsPerStrip * geometry.rowBytes;
            const auto bytes = batch.subspan(
                begin, std::min(geometry.rowsPerStrip * geometry.rowBytes, batch.size() - begin));
            applyTiffPredictor(request.layout, geometry.rowBytes, bytes);
            packed[index] = encoders.local().encode(
                {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
        });
        for (std::vector<std::uint8_t>& bytes : packed) {
            const auto length = static_cast<tmsize_t>(bytes.size());
            if (TIFFWriteRawStrip(tiff, strip++, bytes.data(), length) != length) {
                return std::unexpected(ImageIOError::encodingFailed());
            }
        }
    }
    return {};
}

} // namespace

SampleLayout layoutFor(BitDepth depth) {
    constexpr SampleType types[] = {SampleType::unsigned8, SampleType::unsigned16,
                                    SampleType::float32};
    return {SampleModel::rgb, types[static_cast<std::size_t>(depth)], AlphaKind::straight};
}

bool canEncode() {
    return TIFFIsCODECConfigured(COMPRESSION_LZW) == 1;
}

std::expected<void, ImageIOError> encode(const ImageEncodeRequest& request, SampleRowSource& rows,
                                         ByteSink& sink) {
    const Geometry geometry(request);
    SinkStream stream{sink, sink.size()};
    const bool isBig = geometry.largestFile(request.iccData.size()) > largestClassicFile;
    const TiffHandle tiff = openTiff(stream, isBig);
    if (!tiff || !setFields(tiff.get(), request, geometry)) {
        return std::unexpected(ImageIOError::encodingFailed());
    }
    if (auto written = writeStrips(tiff.get(), request, rows, geometry); !written) return written;
    if (TIFFWriteDirectory(tiff.get()) != 1) {
        return std::unexpected(ImageIOError::encodingFailed());
    }
    return {};
}

} // namespace ombrel::tiff
