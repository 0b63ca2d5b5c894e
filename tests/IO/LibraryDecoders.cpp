#include "IO/LibraryDecoders.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <memory>

#include <jpeglib.h>
#include <libheif/heif.h>
#include <png.h>
#include <tiffio.h>
#include <webp/decode.h>
#include <webp/mux.h>

namespace ombrel::test {

namespace {

/// Orientation and resolution of a little-endian Exif block, read by its directory.
void readExif(std::span<const std::byte> exif, DecodedFile& out) {
    const auto number = [&](std::size_t at, std::size_t length) {
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < length && at + i < exif.size(); ++i)
            value |= std::to_integer<std::uint32_t>(exif[at + i]) << (8 * i);
        return value;
    };
    if (exif.size() < 8 || number(0, 2) != 0x4949 || number(2, 2) != 42) {
        out.error = "Exif header";
        return;
    }
    const std::size_t directory = number(4, 4);
    double unit = 1;
    for (std::size_t i = 0; i < number(directory, 2); ++i) {
        const std::size_t entry = directory + 2 + 12 * i;
        const std::uint32_t tag = number(entry, 2);
        if (tag == 0x0112) out.orientation = static_cast<int>(number(entry + 8, 2));
        if (tag == 0x0128) unit = number(entry + 8, 2) == 3 ? 2.54 : 1;
        if (tag != 0x011A) continue;
        const std::size_t at = number(entry + 8, 4);
        out.resolution = static_cast<double>(number(at, 4)) / number(at + 4, 4);
    }
    out.resolution *= unit;
}

std::vector<std::byte> copied(const void* bytes, std::size_t length) {
    const auto* begin = static_cast<const std::byte*>(bytes);
    return {begin, begin + length};
}

struct PngInput {
    std::span<const std::byte> bytes;
};

void readPng(png_structp png, png_bytep out, std::size_t length) {
    auto& input = *static_cast<PngInput*>(png_get_io_ptr(png));
    if (length > input.bytes.size()) png_error(png, "short file");
    std::memcpy(out, input.bytes.data(), length);
    input.bytes = input.bytes.subspan(length);
}

struct JpegErrors {
    jpeg_error_mgr base;
    std::jmp_buf escape;
};

struct TiffInput {
    std::span<const std::byte> bytes;
    std::uint64_t position = 0;
};

tmsize_t readTiff(thandle_t handle, void* out, tmsize_t length) {
    auto& input = *static_cast<TiffInput*>(handle);
    if (input.position >= input.bytes.size()) return 0;
    const auto part = input.bytes.subspan(input.position);
    const std::size_t count = std::min(part.size(), static_cast<std::size_t>(length));
    std::memcpy(out, part.data(), count);
    input.position += count;
    return static_cast<tmsize_t>(count);
}
tmsize_t refuseWrite(thandle_t, void*, tmsize_t) {
    return -1;
}
toff_t seekTiff(thandle_t handle, toff_t offset, int whence) {
    auto& input = *static_cast<TiffInput*>(handle);
    input.position = offset + (whence == SEEK_CUR   ? input.position
                               : whence == SEEK_END ? input.bytes.size()
                                                    : 0);
    return input.position;
}

} // namespace

DecodedFile decodePng(std::span<const std::byte> file) {
    auto out = std::make_unique<DecodedFile>();
    auto rows = std::make_unique<std::vector<png_bytep>>();
    PngInput input{file};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) {
        png_destroy_read_struct(&png, &info, nullptr);
        out->error = "libpng refused the file";
        return *out;
    }
    // Warnings and wrong check values are faults of the writer.
    png_set_error_fn(png, nullptr, nullptr,
                     [](png_structp p, png_const_charp text) { png_error(p, text); });
    png_set_crc_action(png, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
    png_set_read_fn(png, &input, readPng);
    png_read_info(png, info);
    if (png_get_bit_depth(png, info) == 16) png_set_swap(png);
    out->size = {png_get_image_width(png, info), png_get_image_height(png, info)};
    out->layout.type =
        png_get_bit_depth(png, info) == 16 ? SampleType::unsigned16 : SampleType::unsigned8;
    out->layout.alpha = (png_get_color_type(png, info) & PNG_COLOR_MASK_ALPHA) != 0
                            ? AlphaKind::straight
                            : AlphaKind::none;
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    out->samples.resize(rowBytes * static_cast<std::size_t>(out->size.height));
    for (std::int64_t row = 0; row < out->size.height; ++row)
        rows->push_back(reinterpret_cast<png_bytep>(out->samples.data()) +
                        static_cast<std::size_t>(row) * rowBytes);
    png_read_image(png, rows->data());
    png_read_end(png, info);
    png_charp name = nullptr;
    png_bytep profile = nullptr;
    png_uint_32 length = 0;
    int compression = 0;
    if (png_get_iCCP(png, info, &name, &compression, &profile, &length) != 0) {
        out->iccData = copied(profile, length);
    }
    out->resolution = png_get_x_pixels_per_meter(png, info) * 0.0254;
    png_destroy_read_struct(&png, &info, nullptr);
    if (!input.bytes.empty()) out->error = "bytes after the end";
    return *out;
}

DecodedFile decodeJpeg(std::span<const std::byte> file) {
    auto out = std::make_unique<DecodedFile>();
    jpeg_decompress_struct codec{};
    JpegErrors errors{};
    codec.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = [](j_common_ptr c) {
        std::longjmp(reinterpret_cast<JpegErrors*>(c->err)->escape, 1);
    };
    errors.base.output_message = [](j_common_ptr) {};
    if (setjmp(errors.escape) != 0) {
        jpeg_destroy_decompress(&codec);
        out->error = "libjpeg refused the file";
        return *out;
    }
    jpeg_create_decompress(&codec);
    jpeg_mem_src(&codec, reinterpret_cast<const unsigned char*>(file.data()), file.size());
    jpeg_save_markers(&codec, JPEG_APP0 + 1, 0xFFFF);
    jpeg_save_markers(&codec, JPEG_APP0 + 2, 0xFFFF);
    jpeg_read_header(&codec, TRUE);
    for (auto* marker = codec.marker_list; marker != nullptr; marker = marker->next) {
        if (marker->marker == JPEG_APP0 + 1) {
            readExif(std::as_bytes(std::span(marker->data, marker->data_length)).subspan(6), *out);
        }
    }
    if (codec.density_unit != 1 || std::abs(codec.X_density - out->resolution) > 1) {
        out->error = "JFIF density disagrees with Exif";
    }
    JOCTET* profile = nullptr;
    unsigned length = 0;
    if (jpeg_read_icc_profile(&codec, &profile, &length)) out->iccData = copied(profile, length);
    std::free(profile);
    codec.out_color_space = JCS_RGB;
    jpeg_start_decompress(&codec);
    out->size = {codec.output_width, codec.output_height};
    const std::size_t rowBytes = std::size_t{codec.output_width} * 3;
    out->samples.resize(rowBytes * codec.output_height);
    while (codec.output_scanline < codec.output_height) {
        auto* row =
            reinterpret_cast<JSAMPROW>(out->samples.data() + codec.output_scanline * rowBytes);
        jpeg_read_scanlines(&codec, &row, 1);
    }
    jpeg_finish_decompress(&codec);
    if (codec.err->num_warnings != 0) out->error = "libjpeg warned";
    jpeg_destroy_decompress(&codec);
    return *out;
}

DecodedFile decodeTiff(std::span<const std::byte> file) {
    DecodedFile out;
    TiffInput input{file};
    TIFFSetWarningHandler(nullptr);
    TIFF* tiff = TIFFClientOpen(
        "test", "r", &input, readTiff, refuseWrite, seekTiff, [](thandle_t) { return 0; },
        [](thandle_t handle) {
            return static_cast<toff_t>(static_cast<TiffInput*>(handle)->bytes.size());
        },
        nullptr, nullptr);
    if (tiff == nullptr) {
        out.error = "libtiff refused the file";
        return out;
    }
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 0;
    std::uint16_t channels = 0;
    std::uint16_t format = 0;
    std::uint16_t unit = 0;
    std::uint16_t orientation = 0;
    std::uint16_t extraCount = 0;
    std::uint16_t compression = 0;
    std::uint16_t* extra = nullptr;
    float resolution = 0;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetField(tiff, TIFFTAG_SAMPLESPERPIXEL, &channels);
    TIFFGetField(tiff, TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetField(tiff, TIFFTAG_RESOLUTIONUNIT, &unit);
    TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &resolution);
    TIFFGetField(tiff, TIFFTAG_ORIENTATION, &orientation);
    TIFFGetField(tiff, TIFFTAG_COMPRESSION, &compression);
    TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &extraCount, &extra);
    std::uint32_t length = 0;
    void* profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &length, &profile) == 1) {
        out.iccData = copied(profile, length);
    }
    out.size = {width, height};
    out.orientation = orientation;
    out.resolution = static_cast<double>(resolution) * (unit == RESUNIT_CENTIMETER ? 2.54 : 1);
    out.layout.type = bits == 8    ? SampleType::unsigned8
                      : bits == 32 ? SampleType::float32
                                   : SampleType::unsigned16;
    if (extraCount == 1 && extra[0] == EXTRASAMPLE_UNASSALPHA) {
        out.layout.alpha = AlphaKind::straight;
    }
    if (compression != COMPRESSION_LZW) out.error = "not LZW";
    if ((format == SAMPLEFORMAT_IEEEFP) != (bits == 32)) out.error = "sample format";
    const auto rowBytes = static_cast<std::size_t>(TIFFScanlineSize(tiff));
    out.samples.resize(rowBytes * height);
    for (std::uint32_t row = 0; row < height; ++row) {
        if (TIFFReadScanline(tiff, out.samples.data() + row * rowBytes, row) != 1) {
            out.error = "libtiff could not read a row";
            break;
        }
    }
    TIFFClose(tiff);
    return out;
}

DecodedFile decodeWebp(std::span<const std::byte> file) {
    DecodedFile out;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(file.data());
    int width = 0;
    int height = 0;
    // Opaque pictures may be stored without alpha; both read as four channels here.
    std::uint8_t* pixels = WebPDecodeRGBA(bytes, file.size(), &width, &height);
    if (pixels == nullptr) {
        out.error = "libwebp refused the file";
        return out;
    }
    out.size = {width, height};
    out.layout.alpha = AlphaKind::straight;
    out.samples = copied(pixels, std::size_t{4} * static_cast<std::size_t>(width) *
                                     static_cast<std::size_t>(height));
    WebPFree(pixels);
    const WebPData data{bytes, file.size()};
    WebPMux* mux = WebPMuxCreate(&data, 0);
    WebPData chunk{};
    if (WebPMuxGetChunk(mux, "ICCP", &chunk) == WEBP_MUX_OK) {
        out.iccData = copied(chunk.bytes, chunk.size);
    }
    if (WebPMuxGetChunk(mux, "EXIF", &chunk) == WEBP_MUX_OK) {
        readExif(std::as_bytes(std::span(chunk.bytes, chunk.size)), out);
    }
    WebPMuxDelete(mux);
    return out;
}

DecodedFile decodeHeic(std::span<const std::byte> file) {
    DecodedFile out;
    std::unique_ptr<heif_context, decltype(&heif_context_free)> context(heif_context_alloc(),
                                                                        &heif_context_free);
    heif_image_handle* handle = nullptr;
    heif_image* image = nullptr;
    if (heif_context_read_from_memory_without_copy(context.get(), file.data(), file.size(), nullptr)
                .code != heif_error_Ok ||
        heif_context_get_primary_image_handle(context.get(), &handle).code != heif_error_Ok) {
        out.error = "libheif refused the file";
        return out;
    }
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle) != 0;
    const int bits = heif_image_handle_get_luma_bits_per_pixel(handle);
    const heif_chroma chroma =
        bits == 8
            ? (hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB)
            : (hasAlpha ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RRGGBB_LE);
    const heif_error decoding =
        heif_decode_image(handle, &image, heif_colorspace_RGB, chroma, nullptr);
    if (decoding.code != heif_error_Ok) {
        out.error = decoding.message;
        heif_image_handle_release(handle);
        return out;
    }
    out.size = {heif_image_handle_get_width(handle), heif_image_handle_get_height(handle)};
    out.layout.type = bits == 8 ? SampleType::unsigned8 : SampleType::unsigned16;
    out.layout.alpha = hasAlpha ? AlphaKind::straight : AlphaKind::none;
    const std::size_t rowBytes =
        static_cast<std::size_t>(out.size.width) * out.layout.bytesPerPixel();
    int stride = 0;
    const std::uint8_t* plane =
        heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    out.samples.resize(rowBytes * static_cast<std::size_t>(out.size.height));
    for (std::int64_t row = 0; row < out.size.height; ++row) {
        std::memcpy(out.samples.data() + static_cast<std::size_t>(row) * rowBytes,
                    plane + row * stride, rowBytes);
    }
    if (bits != 8) {
        for (std::size_t i = 0; i + 1 < out.samples.size(); i += 2) {
            std::uint16_t value = 0;
            std::memcpy(&value, &out.samples[i], 2);
            value = static_cast<std::uint16_t>(value * 65535u / ((1u << bits) - 1));
            std::memcpy(&out.samples[i], &value, 2);
        }
    }
    out.iccData.resize(heif_image_handle_get_raw_color_profile_size(handle));
    if (!out.iccData.empty()) {
        heif_image_handle_get_raw_color_profile(handle, out.iccData.data());
    }
    heif_item_id id = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &id, 1) == 1) {
        std::vector<std::byte> exif(heif_image_handle_get_metadata_size(handle, id));
        heif_image_handle_get_metadata(handle, id, exif.data());
        if (exif.size() > 4) readExif(std::span(exif).subspan(4), out); // offset of the header
    }
    heif_image_release(image);
    heif_image_handle_release(handle);
    return out;
}

} // namespace ombrel::test
