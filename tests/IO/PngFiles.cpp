#include "IO/PngFiles.h"

#include <cstring>

#include <zlib.h>

namespace ombrel::test {

namespace {

void append(png_structp png, png_bytep data, std::size_t length) {
    auto& file = *static_cast<std::vector<std::byte>*>(png_get_io_ptr(png));
    const auto* bytes = reinterpret_cast<const std::byte*>(data);
    file.insert(file.end(), bytes, bytes + length);
}

int channelsOf(int colorType) {
    return ((colorType & PNG_COLOR_MASK_COLOR) != 0 && colorType != PNG_COLOR_TYPE_PALETTE ? 3
                                                                                           : 1) +
           ((colorType & PNG_COLOR_MASK_ALPHA) != 0 ? 1 : 0);
}

} // namespace

std::vector<std::byte>
makePng(const PngRecipe& recipe,
        const std::function<std::uint16_t(std::uint32_t x, std::uint32_t y, int channel)>& at) {
    std::vector<std::byte> file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_set_write_fn(png, &file, append, [](png_structp) {});
    png_set_IHDR(png, info, recipe.width, recipe.height, recipe.bits, recipe.colorType,
                 recipe.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (recipe.chunks) recipe.chunks(png, info);
    png_write_info(png, info);
    if (recipe.bits < 8) png_set_packing(png);
    const int channels = channelsOf(recipe.colorType);
    std::vector<std::vector<png_byte>> rows;
    std::vector<png_bytep> pointers;
    for (std::uint32_t y = 0; y < recipe.height; ++y) {
        std::vector<png_byte> row;
        for (std::uint32_t x = 0; x < recipe.width; ++x) {
            for (int channel = 0; channel < channels; ++channel) {
                const std::uint16_t sample = at(x, y, channel);
                if (recipe.bits == 16) row.push_back(static_cast<png_byte>(sample >> 8));
                row.push_back(static_cast<png_byte>(sample));
            }
        }
        rows.push_back(std::move(row));
        pointers.push_back(rows.back().data());
    }
    png_write_image(png, pointers.data());
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return file;
}

std::vector<std::byte> withChunkAfter(const std::vector<std::byte>& file, const char* type,
                                      const char* newType, const std::vector<std::byte>& payload) {
    const auto lengthAt = [&](std::size_t offset) {
        std::size_t length = 0;
        for (std::size_t i = 0; i < 4; ++i)
            length = length << 8 | std::to_integer<std::size_t>(file[offset + i]);
        return length;
    };
    std::size_t offset = 8;
    while (std::memcmp(&file[offset + 4], type, 4) != 0)
        offset += lengthAt(offset) + 12;
    offset += lengthAt(offset) + 12;

    std::vector<std::byte> chunk;
    const auto put = [&](std::uint32_t value) {
        for (int shift = 24; shift >= 0; shift -= 8)
            chunk.push_back(static_cast<std::byte>(value >> shift));
    };
    put(static_cast<std::uint32_t>(payload.size()));
    for (int i = 0; i < 4; ++i)
        chunk.push_back(static_cast<std::byte>(newType[i]));
    for (const std::byte byte : payload)
        chunk.push_back(byte);
    put(static_cast<std::uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(chunk.data() + 4),
                                         static_cast<uInt>(chunk.size() - 4))));
    std::vector<std::byte> result(file.begin(), file.begin() + static_cast<long>(offset));
    result.insert(result.end(), chunk.begin(), chunk.end());
    result.insert(result.end(), file.begin() + static_cast<long>(offset), file.end());
    return result;
}

} // namespace ombrel::test
