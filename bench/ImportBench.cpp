// Opening a 24-megapixel photograph, from bytes in memory to tiles, beside the codec's own library
// decoding the same bytes a strip at a time into one reused buffer.
#include "Core/Orientation.h"
#include "IO/ImageCodecs.h"
#include "IO/ImageImporter.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <jpeglib.h>
#include <libheif/heif.h>
#include <png.h>
#include <tiffio.h>
#include <webp/decode.h>
#include <webp/encode.h>

namespace ombrel {
namespace {

constexpr PixelSize photoSize{6000, 4000};
constexpr std::int64_t stripRows = 16;

using Bytes = std::vector<std::byte>;

/// Soft shapes under fine grain, about as hard to code as a photograph.
const Bytes& photo() {
    static const Bytes samples = [] {
        Bytes rgb(static_cast<std::size_t>(photoSize.width * photoSize.height) * 3);
        std::minstd_rand random(7);
        std::size_t next = 0;
        for (std::int64_t y = 0; y < photoSize.height; ++y) {
            for (std::int64_t x = 0; x < photoSize.width; ++x) {
                const auto shape =
                    static_cast<int>(((x * x / 9000 + y * 7 / 50) ^ (x * y / 60000)) & 127);
                const auto grain = static_cast<int>(random() >> 8 & 15) - 8;
                for (int c = 0; c < 3; ++c)
                    rgb[next++] =
                        static_cast<std::byte>(std::clamp(60 + shape + c * 12 + grain, 0, 255));
            }
        }
        return rgb;
    }();
    return samples;
}

class MemorySink final : public ByteSink {
public:
    std::uint64_t size() const override { return bytes.size(); }
    bool writeAt(std::uint64_t offset, std::span<const std::byte> data) override {
        if (bytes.size() < offset + data.size()) bytes.resize(offset + data.size());
        std::ranges::copy(data, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        return true;
    }
    std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) override {
        return ByteSource::ofMemory(bytes)->readAt(offset, out);
    }
    Bytes bytes;
};

/// The photograph in the layout an encoder asks for: RGB, or RGBA that is opaque.
class PhotoRows final : public SampleRowSource {
public:
    explicit PhotoRows(SampleLayout layout) : hasAlpha_(layout.alpha != AlphaKind::none) {}

    std::expected<void, ImageIOError> readRows(std::int64_t rowCount,
                                               std::span<std::byte> out) override {
        std::byte* target = out.data();
        for (std::int64_t pixel = 0; pixel < rowCount * photoSize.width; ++pixel, next_ += 3) {
            target = std::copy_n(photo().begin() + next_, 3, target);
            if (hasAlpha_) *target++ = std::byte{255};
        }
        return {};
    }

private:
    bool hasAlpha_;
    std::ptrdiff_t next_ = 0;
};

Bytes lossyWebp() {
    std::uint8_t* data = nullptr;
    const auto width = static_cast<int>(photoSize.width);
    const std::size_t size =
        WebPEncodeRGB(reinterpret_cast<const std::uint8_t*>(photo().data()), width,
                      static_cast<int>(photoSize.height), width * 3, 90, &data);
    const auto* bytes = reinterpret_cast<const std::byte*>(data);
    Bytes file(bytes, bytes + size);
    WebPFree(data);
    return file;
}

const Bytes& encodedPhoto(ImageFormat format) {
    static std::array<Bytes, imageFormats.size()> files;
    Bytes& file = files[static_cast<std::size_t>(format)];
    if (file.empty() && format == ImageFormat::webp) {
        file = lossyWebp(); // ours are lossless, which no photograph is kept in
    } else if (file.empty() && codecOf(format).canEncode()) {
        MemorySink sink;
        // Where an encoder takes only the layout of documents, the photograph has an opaque alpha.
        const bool isHeic = format == ImageFormat::heic;
        const SampleLayout layout =
            isHeic ? codecOf(format).layoutFor(BitDepth::eight) : SampleLayout{};
        PhotoRows rows(layout);
        const ImageEncodeRequest request{
            .size = photoSize, .layout = layout, .iccData = {}, .quality = isHeic ? 0.5 : 0.9};
        if (codecOf(format).encode(request, rows, sink)) file = std::move(sink.bytes);
    }
    return file;
}

void count(benchmark::State& state, const Bytes& file) {
    state.SetItemsProcessed(state.iterations() * photoSize.width * photoSize.height); // pixels
    state.counters["file_bytes"] = static_cast<double>(file.size());
}

void importPhoto(benchmark::State& state, ImageFormat format) {
    const Bytes& file = encodedPhoto(format);
    if (file.empty()) return state.SkipWithError("no encoder");
    const auto store = TileStore::create(TileStore::Budget::ofMemory(std::int64_t{16} << 30, 0.5),
                                         std::filesystem::temp_directory_path());
    for (auto _ : state) {
        auto image = ImageImporter::read(std::span(file), *store);
        if (!image) return state.SkipWithError("not read");
        benchmark::DoNotOptimize(image->pixels.tileCount());
        // The tiles' way back to the pool is the next document's business.
        state.PauseTiming();
        image = std::unexpected(ImageIOError::unreadable());
        state.ResumeTiming();
    }
    count(state, file);
}

/// Without the tiles: what the decoder behind import delivers by itself.
void decodePhoto(benchmark::State& state, ImageFormat format) {
    const Bytes& file = encodedPhoto(format);
    if (file.empty()) return state.SkipWithError("no encoder");
    Bytes band(static_cast<std::size_t>(photoSize.width * tileSize) * 4);
    for (auto _ : state) {
        const auto source = ByteSource::ofMemory(file);
        const auto decoder = codecOf(format).open(*source);
        if (!decoder) return state.SkipWithError("not read");
        const std::size_t rowBytes = static_cast<std::size_t>(photoSize.width) *
                                     (*decoder)->description().layout.bytesPerPixel();
        for (std::int64_t y = 0; y < photoSize.height; y += tileSize) {
            const std::int64_t rows = std::min(tileSize, photoSize.height - y);
            const std::size_t length = static_cast<std::size_t>(rows) * rowBytes;
            if (!(*decoder)->readRows(rows, std::span(band).first(length))) {
                return state.SkipWithError("not read");
            }
        }
        benchmark::DoNotOptimize(band.data());
    }
    count(state, file);
}

void decodePng(const Bytes& file, Bytes& strip) {
    struct Reader {
        const Bytes& file;
        std::size_t offset = 0;
    } reader{file};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_read_fn(png, &reader, [](png_structp self, png_bytep out, std::size_t length) {
        auto* from = static_cast<Reader*>(png_get_io_ptr(self));
        std::copy_n(reinterpret_cast<const png_byte*>(from->file.data()) + from->offset, length,
                    out);
        from->offset += length;
    });
    png_read_info(png, info);
    for (std::int64_t y = 0; y < photoSize.height; ++y)
        png_read_row(png, reinterpret_cast<png_bytep>(strip.data()), nullptr);
    png_read_end(png, nullptr);
    png_destroy_read_struct(&png, &info, nullptr);
}

void decodeJpeg(const Bytes& file, Bytes& strip) {
    jpeg_decompress_struct decompress = {};
    jpeg_error_mgr errors = {};
    decompress.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&decompress);
    jpeg_mem_src(&decompress, reinterpret_cast<const unsigned char*>(file.data()), file.size());
    jpeg_read_header(&decompress, TRUE);
    jpeg_start_decompress(&decompress);
    std::array<JSAMPROW, stripRows> rows;
    for (std::int64_t i = 0; i < stripRows; ++i)
        rows[static_cast<std::size_t>(i)] =
            reinterpret_cast<JSAMPROW>(strip.data()) + i * photoSize.width * 3;
    while (decompress.output_scanline < decompress.output_height)
        jpeg_read_scanlines(&decompress, rows.data(), stripRows);
    jpeg_finish_decompress(&decompress);
    jpeg_destroy_decompress(&decompress);
}

void decodeTiff(const Bytes& file, Bytes& strip) {
    struct Client {
        std::span<const std::byte> bytes;
        std::uint64_t position = 0;
    } client{file};
    TIFF* tiff = TIFFClientOpen(
        "", "rm", &client,
        [](thandle_t self, void* out, tmsize_t length) -> tmsize_t {
            auto* from = static_cast<Client*>(self);
            const std::size_t count =
                ByteSource::ofMemory(from->bytes)
                    ->readAt(from->position,
                             {static_cast<std::byte*>(out), static_cast<std::size_t>(length)});
            from->position += count;
            return static_cast<tmsize_t>(count);
        },
        [](thandle_t, void*, tmsize_t) -> tmsize_t { return -1; },
        [](thandle_t self, toff_t offset, int origin) -> toff_t {
            auto* from = static_cast<Client*>(self);
            const std::uint64_t base = origin == SEEK_CUR   ? from->position
                                       : origin == SEEK_END ? from->bytes.size()
                                                            : 0;
            return from->position = base + offset;
        },
        [](thandle_t) { return 0; },
        [](thandle_t self) -> toff_t { return static_cast<Client*>(self)->bytes.size(); }, nullptr,
        nullptr);
    for (std::uint32_t y = 0; y < photoSize.height; ++y)
        TIFFReadScanline(tiff, strip.data(), y, 0);
    TIFFClose(tiff);
}

void decodeWebp(const Bytes& file, Bytes&) {
    int width = 0;
    int height = 0;
    WebPFree(WebPDecodeRGB(reinterpret_cast<const std::uint8_t*>(file.data()), file.size(), &width,
                           &height));
}

void decodeHeic(const Bytes& file, Bytes&) {
    heif_context* context = heif_context_alloc();
    heif_context_read_from_memory_without_copy(context, file.data(), file.size(), nullptr);
    heif_image_handle* handle = nullptr;
    heif_context_get_primary_image_handle(context, &handle);
    heif_image* image = nullptr;
    heif_decode_image(handle, &image, heif_colorspace_RGB, heif_chroma_interleaved_RGB, nullptr);
    heif_image_release(image);
    heif_image_handle_release(handle);
    heif_context_free(context);
}

using LibraryDecoder = void (*)(const Bytes& file, Bytes& strip);

void libraryPhoto(benchmark::State& state, ImageFormat format, LibraryDecoder decode) {
    const Bytes& file = encodedPhoto(format);
    if (file.empty()) return state.SkipWithError("no encoder");
    Bytes strip(static_cast<std::size_t>(photoSize.width * stripRows) * 4);
    for (auto _ : state) {
        decode(file, strip);
        benchmark::DoNotOptimize(strip.data());
    }
    count(state, file);
}

/// Turning one tile: what a rotated picture costs beside its decoding.
void orientTile(benchmark::State& state, int orientation) {
    std::vector<PackedPixel> from(65536, 1);
    std::vector<PackedPixel> to(65536);
    for (auto _ : state) {
        orientBlock(from, 256, 256, Orientation::ofCode(orientation), to);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * 65536);
}

struct PhotoFormat {
    ImageFormat format;
    LibraryDecoder library;
};

constexpr PhotoFormat photoFormats[] = {
    {ImageFormat::png, decodePng},   {ImageFormat::jpeg, decodeJpeg},
    {ImageFormat::tiff, decodeTiff}, {ImageFormat::webp, decodeWebp},
    {ImageFormat::heic, decodeHeic},
};

const bool areRegistered = [] {
    for (const auto& [format, library] : photoFormats) {
        const std::string name = "Import/" + std::string(traitsOf(format).name);
        const auto settings = [](benchmark::internal::Benchmark* one) {
            one->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
        };
        settings(benchmark::RegisterBenchmark(name.c_str(), importPhoto, format));
        settings(benchmark::RegisterBenchmark((name + "/decoder").c_str(), decodePhoto, format));
        settings(benchmark::RegisterBenchmark((name + "/library").c_str(), libraryPhoto, format,
                                              library));
    }
    benchmark::RegisterBenchmark("Import/orient/mirrored", orientTile, 2);
    benchmark::RegisterBenchmark("Import/orient/turned", orientTile, 6);
    return true;
}();

} // namespace
} // namespace ombrel
