#include "IO/JpegFiles.h"

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace ombrel::test {

std::vector<std::byte>
makeJpeg(const JpegRecipe& recipe,
         const std::function<std::uint8_t(std::uint32_t x, std::uint32_t y, int component)>& at) {
    jpeg_compress_struct compress = {};
    jpeg_error_mgr errors = {};
    compress.err = jpeg_std_error(&errors);
    jpeg_create_compress(&compress);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&compress, &data, &size);
    compress.image_width = recipe.width;
    compress.image_height = recipe.height;
    compress.input_components = recipe.components;
    compress.in_color_space = recipe.components == 1   ? JCS_GRAYSCALE
                              : recipe.components == 3 ? JCS_RGB
                                                       : JCS_CMYK;
    jpeg_set_defaults(&compress);
    if (recipe.components == 4 && !recipe.keepsInks) jpeg_set_colorspace(&compress, JCS_YCCK);
    if (recipe.components == 4) {
        compress.write_Adobe_marker = recipe.writesAdobeMarker ? TRUE : FALSE;
    }
    jpeg_set_quality(&compress, recipe.quality, TRUE);
    if (recipe.components == 3) {
        compress.comp_info[0].h_samp_factor = recipe.across;
        compress.comp_info[0].v_samp_factor = recipe.down;
    }
    if (recipe.isProgressive) jpeg_simple_progression(&compress);
    compress.arith_code = recipe.isArithmetic ? TRUE : FALSE;
    compress.restart_interval = static_cast<unsigned>(recipe.restartInterval);
    if (recipe.components != 4) {
        compress.density_unit = static_cast<UINT8>(recipe.densityUnit);
        compress.X_density = static_cast<UINT16>(recipe.density);
        compress.Y_density = static_cast<UINT16>(recipe.density);
    }
    jpeg_start_compress(&compress, TRUE);
    if (!recipe.exif.empty()) {
        jpeg_write_marker(&compress, JPEG_APP0 + 1,
                          reinterpret_cast<const JOCTET*>(recipe.exif.data()),
                          static_cast<unsigned>(recipe.exif.size()));
    }
    if (!recipe.profile.empty()) {
        jpeg_write_icc_profile(&compress, reinterpret_cast<const JOCTET*>(recipe.profile.data()),
                               static_cast<unsigned>(recipe.profile.size()));
    }
    std::vector<JSAMPLE> row(std::size_t{recipe.width} *
                             static_cast<std::size_t>(recipe.components));
    for (std::uint32_t y = 0; y < recipe.height; ++y) {
        std::size_t next = 0;
        for (std::uint32_t x = 0; x < recipe.width; ++x) {
            for (int component = 0; component < recipe.components; ++component)
                row[next++] = at(x, y, component);
        }
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&compress, rows, 1);
    }
    jpeg_finish_compress(&compress);
    jpeg_destroy_compress(&compress);
    const auto* bytes = reinterpret_cast<const std::byte*>(data);
    std::vector<std::byte> file(bytes, bytes + size);
    std::free(data);
    return file;
}

std::vector<std::byte> makeExif(bool isBigEndian, int orientation, std::uint32_t resolution,
                                int unit) {
    std::vector<std::byte> block;
    const auto put = [&](std::uint32_t value, int length) {
        for (int i = 0; i < length; ++i) {
            const int shift = 8 * (isBigEndian ? length - 1 - i : i);
            block.push_back(static_cast<std::byte>(value >> shift));
        }
    };
    const auto putText = [&](std::span<const char> text) {
        for (const char character : text)
            block.push_back(static_cast<std::byte>(character));
    };
    putText(std::vector<char>{'E', 'x', 'i', 'f', 0, 0});
    putText(std::vector<char>(2, isBigEndian ? 'M' : 'I'));
    put(42, 2);
    put(8, 4);
    put(3, 2); // entries
    const auto putShort = [&](std::uint32_t tag, int value) {
        put(tag, 2);
        put(3, 2);
        put(1, 4);
        put(static_cast<std::uint32_t>(value), 2);
        put(0, 2);
    };
    putShort(0x0112, orientation);
    put(0x011A, 2);
    put(5, 2);
    put(1, 4);
    put(8 + 2 + 3 * 12 + 4, 4); // behind the directory
    putShort(0x0128, unit);
    put(0, 4);
    put(resolution, 4);
    put(1, 4);
    return block;
}

} // namespace ombrel::test
