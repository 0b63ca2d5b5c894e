// Export of a 24-megapixel photograph with alpha, from merged pixels to a file in memory:
// Export/<format>. Export/<format>/library is the format's own library with the settings that give
// the same samples and nearly the same size, on samples that are ready in memory.
#include "Base/Half.h"
#include "IO/ImageCodecs.h"
#include "IO/ImageExporter.h"
#include "IO/SampleRows.h"

#include <benchmark/benchmark.h>
#include <tbb/parallel_for.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include <jpeglib.h>
#include <libheif/heif.h>
#include <png.h>
#include <tiffio.h>
#include <webp/encode.h>

namespace ombrel {
namespace {

constexpr PixelSize photoSize{6000, 4000};
constexpr auto width = static_cast<std::size_t>(photoSize.width);
constexpr auto height = static_cast<std::size_t>(photoSize.height);

std::uint32_t hashOf(std::uint32_t x, std::uint32_t y, std::uint32_t salt) {
    std::uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ salt * 0xC2B2AE3Du;
    h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
    h = (h ^ (h >> 12)) * 0x297A2D39u;
    return h ^ (h >> 15);
}

/// Smooth noise with features of `scale` pixels, 0 to 1.
float noiseAt(std::size_t x, std::size_t y, std::size_t scale, std::uint32_t salt) {
    const auto corner = [&](std::size_t cx, std::size_t cy) {
        return static_cast<float>(
                   hashOf(static_cast<std::uint32_t>(cx), static_cast<std::uint32_t>(cy), salt) >>
                   8) *
               0x1p-24f;
    };
    const std::size_t cx = x / scale;
    const std::size_t cy = y / scale;
    const float u = static_cast<float>(x % scale) / static_cast<float>(scale);
    const float v = static_cast<float>(y % scale) / static_cast<float>(scale);
    const float su = u * u * (3 - 2 * u);
    const float sv = v * v * (3 - 2 * v);
    const float top = corner(cx, cy) * (1 - su) + corner(cx + 1, cy) * su;
    const float bottom = corner(cx, cy + 1) * (1 - su) + corner(cx + 1, cy + 1) * su;
    return top * (1 - sv) + bottom * sv;
}

/// What a camera might give: large forms, texture in some places, edges, and a sensor's grain.
std::vector<Half> makePhoto() {
    std::vector<Half> pixels(width * height * 4);
    tbb::parallel_for(std::size_t{0}, height, [&](std::size_t y) {
        for (std::size_t x = 0; x < width; ++x) {
            const float form = noiseAt(x, y, 900, 1);
            const float texture = noiseAt(x, y, 300, 2) * noiseAt(x, y, 5, 3);
            const float edge = noiseAt(x, y, 400, 4) > 0.5f ? 0.25f : 0.0f;
            Half* out = pixels.data() + (y * width + x) * 4;
            for (std::uint32_t channel = 0; channel < 3; ++channel) {
                const float tint = 0.7f + 0.3f * noiseAt(x, y, 700, 10 + channel);
                const auto at = static_cast<std::uint32_t>(x);
                const auto row = static_cast<std::uint32_t>(y);
                const float grain =
                    (static_cast<float>(hashOf(at, row, 20 + channel) >> 16) +
                     static_cast<float>(hashOf(at, row, 30 + channel) >> 16) - 65535.0f) /
                    65535.0f * 0.025f;
                const float encoded =
                    std::clamp((0.45f * form + 0.3f * texture + edge) * tint + grain, 0.0f, 1.0f);
                out[channel] = toHalf(std::pow(encoded, 2.2f));
            }
            out[3] = toHalf(1.0f);
        }
    });
    return pixels;
}

const std::vector<Half>& photo() {
    static const std::vector<Half> pixels = makePhoto();
    return pixels;
}

class PhotoBands final : public CompositeBands {
public:
    PixelSize size() const override { return photoSize; }
    std::expected<void, EngineError> read(std::int64_t firstRow, std::int64_t rowCount,
                                          std::span<std::byte> out) override {
        std::memcpy(out.data(), photo().data() + static_cast<std::size_t>(firstRow) * width * 4,
                    static_cast<std::size_t>(rowCount) * width * 8);
        return {};
    }
};

void report(benchmark::State& state, std::size_t fileBytes) {
    state.SetItemsProcessed(state.iterations() * photoSize.width * photoSize.height);
    state.counters["fileMB"] = static_cast<double>(fileBytes) / 1e6;
}

void exportPhoto(benchmark::State& state, ImageFormat format, BitDepth depth) {
    PhotoBands bands;
    photo();
    Canvas canvas;
    canvas.size = photoSize;
    canvas.bitDepth = depth;
    std::size_t bytes = 0;
    for (auto _ : state) {
        const auto file = ImageExporter::data(bands, format, {}, canvas);
        if (!file) {
            state.SkipWithError("export failed");
            return;
        }
        bytes = file->size();
    }
    report(state, bytes);
}

/// The samples that the library gets: what the exporter's own conversion makes.
const std::vector<std::uint8_t>& samplesFor(ImageFormat format) {
    static std::array<std::vector<std::uint8_t>, 2> byAlpha;
    const bool keepsAlpha = traitsOf(format).keepsAlpha;
    std::vector<std::uint8_t>& samples = byAlpha[keepsAlpha ? 1 : 0];
    if (samples.empty()) {
        const SampleLayout layout = codecOf(format).layoutFor(BitDepth::eight);
        samples.resize(width * height * layout.bytesPerPixel());
        RowEncoder(ColorProfile(), layout)
            .convert(photo(), std::as_writable_bytes(std::span(samples)));
    }
    return samples;
}

std::size_t encodePngByLibrary(const std::vector<std::uint8_t>& samples) {
    std::size_t bytes = 0;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(
        png, &bytes,
        [](png_structp p, png_bytep, std::size_t length) {
            *static_cast<std::size_t*>(png_get_io_ptr(p)) += length;
        },
        nullptr);
    png_set_IHDR(png, info, static_cast<png_uint_32>(width), static_cast<png_uint_32>(height), 8,
                 PNG_COLOR_TYPE_RGB_ALPHA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, 3);
    png_set_filter(png, 0, PNG_ALL_FILTERS);
    png_write_info(png, info);
    for (std::size_t y = 0; y < height; ++y)
        png_write_row(png, samples.data() + y * width * 4);
    png_write_end(png, info);
    png_destroy_write_struct(&png, &info);
    return bytes;
}

std::size_t encodeJpegByLibrary(const std::vector<std::uint8_t>& samples) {
    jpeg_compress_struct codec{};
    jpeg_error_mgr errors{};
    codec.err = jpeg_std_error(&errors);
    jpeg_create_compress(&codec);
    unsigned char* file = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&codec, &file, &length);
    codec.image_width = static_cast<JDIMENSION>(width);
    codec.image_height = static_cast<JDIMENSION>(height);
    codec.input_components = 3;
    codec.in_color_space = JCS_RGB;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, 90, TRUE);
    codec.comp_info[0].h_samp_factor = codec.comp_info[0].v_samp_factor = 1;
    codec.optimize_coding = TRUE;
    jpeg_start_compress(&codec, TRUE);
    for (std::size_t y = 0; y < height; ++y) {
        auto* row = const_cast<JSAMPROW>(samples.data() + y * width * 3);
        jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    std::free(file);
    return length;
}

struct Memory {
    std::vector<std::uint8_t> bytes;
    std::size_t position = 0;
};

std::size_t encodeTiffByLibrary(const std::vector<std::uint8_t>& samples) {
    Memory memory;
    const auto write = [](thandle_t handle, void* data, tmsize_t length) -> tmsize_t {
        auto& m = *static_cast<Memory*>(handle);
        const auto count = static_cast<std::size_t>(length);
        m.bytes.resize(std::max(m.bytes.size(), m.position + count));
        std::memcpy(m.bytes.data() + m.position, data, count);
        m.position += count;
        return length;
    };
    const auto seek = [](thandle_t handle, toff_t offset, int whence) -> toff_t {
        auto& m = *static_cast<Memory*>(handle);
        m.position = offset + (whence == SEEK_END   ? m.bytes.size()
                               : whence == SEEK_CUR ? m.position
                                                    : 0);
        return m.position;
    };
    TIFF* tiff = TIFFClientOpen(
        "bench", "wl", &memory, [](thandle_t, void*, tmsize_t) -> tmsize_t { return 0; }, write,
        seek, [](thandle_t) { return 0; },
        [](thandle_t handle) -> toff_t { return static_cast<Memory*>(handle)->bytes.size(); },
        nullptr, nullptr);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, 4);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    const std::uint16_t extra = EXTRASAMPLE_UNASSALPHA;
    TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &extra);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, 2);
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, 5);
    std::vector<std::uint8_t> row(width * 4); // the library's predictor works in place
    for (std::size_t y = 0; y < height; ++y) {
        std::memcpy(row.data(), samples.data() + y * row.size(), row.size());
        TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y));
    }
    TIFFClose(tiff);
    return memory.bytes.size();
}

std::size_t encodeWebpByLibrary(const std::vector<std::uint8_t>& samples) {
    WebPConfig config;
    WebPConfigInit(&config);
    WebPConfigLosslessPreset(&config, 1);
    config.exact = 1;
    config.thread_level = 1;
    WebPPicture picture;
    WebPPictureInit(&picture);
    picture.use_argb = 1;
    picture.width = static_cast<int>(width);
    picture.height = static_cast<int>(height);
    WebPPictureImportRGBA(&picture, samples.data(), static_cast<int>(width * 4));
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    picture.writer = WebPMemoryWrite;
    picture.custom_ptr = &writer;
    WebPEncode(&config, &picture);
    const std::size_t bytes = writer.size;
    WebPMemoryWriterClear(&writer);
    WebPPictureFree(&picture);
    return bytes;
}

std::size_t encodeHeicByLibrary(const std::vector<std::uint8_t>& samples) {
    heif_context* context = heif_context_alloc();
    heif_image* image = nullptr;
    heif_image_create(static_cast<int>(width), static_cast<int>(height), heif_colorspace_RGB,
                      heif_chroma_interleaved_RGB, &image);
    heif_image_add_plane(image, heif_channel_interleaved, static_cast<int>(width),
                         static_cast<int>(height), 8);
    int stride = 0;
    std::uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (std::size_t y = 0; y < height; ++y) {
        std::uint8_t* out = plane + y * static_cast<std::size_t>(stride);
        for (std::size_t x = 0; x < width; ++x)
            std::memcpy(out + 3 * x, &samples[(y * width + x) * 4], 3);
    }
    heif_encoder* encoder = nullptr;
    heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder);
    heif_encoder_set_lossy_quality(encoder, 90);
    heif_encoder_set_parameter_string(encoder, "preset", "veryfast");
    heif_context_encode_image(context, image, encoder, nullptr, nullptr);
    std::size_t bytes = 0;
    heif_writer writer{1, [](heif_context*, const void*, std::size_t size, void* user) {
                           *static_cast<std::size_t*>(user) = size;
                           return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
                       }};
    heif_context_write(context, &writer, &bytes);
    heif_encoder_release(encoder);
    heif_image_release(image);
    heif_context_free(context);
    return bytes;
}

using LibraryEncode = std::size_t (*)(const std::vector<std::uint8_t>&);

void encodeByLibrary(benchmark::State& state, ImageFormat format, LibraryEncode encode) {
    const auto& samples = samplesFor(format);
    std::size_t bytes = 0;
    for (auto _ : state)
        bytes = encode(samples);
    report(state, bytes);
}

struct Peer {
    ImageFormat format;
    LibraryEncode encode;
};
constexpr Peer peers[] = {
    {ImageFormat::png, encodePngByLibrary},   {ImageFormat::jpeg, encodeJpegByLibrary},
    {ImageFormat::heic, encodeHeicByLibrary}, {ImageFormat::tiff, encodeTiffByLibrary},
    {ImageFormat::webp, encodeWebpByLibrary},
};

const bool registered = [] {
    for (const Peer& peer : peers) {
        const std::string name = "Export/" + std::string(traitsOf(peer.format).name);
        benchmark::RegisterBenchmark(name.c_str(), exportPhoto, peer.format, BitDepth::eight)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
        benchmark::RegisterBenchmark((name + "/library").c_str(), encodeByLibrary, peer.format,
                                     peer.encode)
            ->Unit(benchmark::kMillisecond)
            ->UseRealTime();
    }
    for (const ImageFormat format : {ImageFormat::png, ImageFormat::tiff}) {
        for (const BitDepth depth : {BitDepth::sixteen, BitDepth::thirtyTwo}) {
            if (format == ImageFormat::png && depth == BitDepth::thirtyTwo) continue;
            const std::string name = "Export/" + std::string(traitsOf(format).name) +
                                     "/bits:" + std::to_string(bitsPerChannel(depth));
            benchmark::RegisterBenchmark(name.c_str(), exportPhoto, format, depth)
                ->Unit(benchmark::kMillisecond)
                ->UseRealTime();
        }
    }
    return true;
}();

} // namespace
} // namespace ombrel
