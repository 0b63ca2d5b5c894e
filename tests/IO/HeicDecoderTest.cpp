#include "Core/ColorProfile.h"
#include "IO/DecodedRows.h"

#include <cmath>
#include <string>

#include <gtest/gtest.h>
#include <libheif/heif.h>

namespace ombrel::test {

namespace {

constexpr int width = 128;
constexpr int height = 64;

struct HeicRecipe {
    int bits = 8;
    bool hasAlpha = false;
    std::vector<std::byte> profile = {};
    int primaries = 0; ///< of an nclx profile; 0 for none
    heif_orientation orientation = heif_orientation_normal;
};

/// As a share of the range.
double smooth(int x, int y, int channel) {
    return channel == 3 ? 0.3 + x / 300.0 : 0.2 + x / 400.0 + y / 400.0 + channel * 0.1;
}

heif_error append(heif_context*, const void* data, std::size_t size, void* out) {
    auto& file = *static_cast<std::vector<std::byte>*>(out);
    const auto* bytes = static_cast<const std::byte*>(data);
    file.insert(file.end(), bytes, bytes + size);
    return {heif_error_Ok, heif_suberror_Unspecified, ""};
}

std::vector<std::byte> makeHeic(const HeicRecipe& recipe) {
    const bool isDeep = recipe.bits > 8;
    const int channels = recipe.hasAlpha ? 4 : 3;
    heif_image* image = nullptr;
    const heif_chroma chroma =
        isDeep ? (recipe.hasAlpha ? heif_chroma_interleaved_RRGGBBAA_LE
                                  : heif_chroma_interleaved_RRGGBB_LE)
               : (recipe.hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB);
    heif_image_create(width, height, heif_colorspace_RGB, chroma, &image);
    heif_image_add_plane(image, heif_channel_interleaved, width, height, recipe.bits);
    int stride = 0;
    std::uint8_t* plane = heif_image_get_plane(image, heif_channel_interleaved, &stride);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < channels; ++c) {
                const auto value = static_cast<std::uint16_t>(
                    std::lround(smooth(x, y, c) * ((1 << recipe.bits) - 1)));
                const int at = y * stride + (x * channels + c) * (isDeep ? 2 : 1);
                plane[at] = static_cast<std::uint8_t>(value);
                if (isDeep) plane[at + 1] = static_cast<std::uint8_t>(value >> 8);
            }
        }
    }
    if (!recipe.profile.empty()) {
        heif_image_set_raw_color_profile(image, "prof", recipe.profile.data(),
                                         recipe.profile.size());
    }
    heif_color_profile_nclx* nclx = heif_nclx_color_profile_alloc();
    if (recipe.primaries != 0) {
        heif_nclx_color_profile_set_color_primaries(nclx,
                                                    static_cast<std::uint16_t>(recipe.primaries));
        heif_image_set_nclx_color_profile(image, nclx);
    }
    heif_context* context = heif_context_alloc();
    heif_encoder* encoder = nullptr;
    heif_context_get_encoder_for_format(context, heif_compression_HEVC, &encoder);
    heif_encoder_set_lossy_quality(encoder, 95);
    heif_encoding_options* options = heif_encoding_options_alloc();
    options->image_orientation = recipe.orientation;
    if (recipe.primaries != 0) {
        options->output_nclx_profile = nclx;
        options->macOS_compatibility_workaround_no_nclx_profile = 0;
    }
    heif_image_handle* handle = nullptr;
    const heif_error error = heif_context_encode_image(context, image, encoder, options, &handle);
    std::vector<std::byte> file;
    if (error.code == heif_error_Ok) {
        heif_writer writer{1, append};
        heif_context_write(context, &writer, &file);
    }
    heif_image_handle_release(handle);
    heif_encoding_options_free(options);
    heif_encoder_release(encoder);
    heif_context_free(context);
    heif_nclx_color_profile_free(nclx);
    heif_image_release(image);
    return file;
}

} // namespace

TEST(HeicDecoder, readsEveryDepthWithAndWithoutAlpha) {
    for (const int bits : {8, 10, 12}) {
        for (const bool hasAlpha : {false, true}) {
            SCOPED_TRACE(std::to_string(bits) + " bits, alpha " + std::to_string(hasAlpha));
            const auto file = makeHeic({.bits = bits, .hasAlpha = hasAlpha});
            if (file.empty()) continue; // the encoder at hand may lack a depth
            const auto rows = decodeRows(file);
            ASSERT_TRUE(rows);
            const ImageDescription& description = rows->description;
            ASSERT_EQ(description.size, (PixelSize{width, height}));
            ASSERT_EQ(description.bitDepth, bits > 8 ? BitDepth::sixteen : BitDepth::eight);
            ASSERT_EQ(description.layout.channelCount(), hasAlpha ? 4 : 3);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    for (int c = 0; c < description.layout.channelCount(); ++c) {
                        const double share = bits > 8 ? rows->at<std::uint16_t>(x, y, c) / 65535.0
                                                      : rows->at<std::uint8_t>(x, y, c) / 255.0;
                        ASSERT_NEAR(share, smooth(x, y, c), 0.05);
                    }
                }
            }
        }
    }
}

TEST(HeicDecoder, takesTheProfileOrTheColourNamedByNumber) {
    const auto p3 = ColorProfile::displayP3().iccData();
    const auto plain = decodeRows(makeHeic({}));
    ASSERT_TRUE(plain);
    EXPECT_TRUE(plain->description.iccData.empty());

    const auto numbered = decodeRows(makeHeic({.primaries = 12}));
    ASSERT_TRUE(numbered);
    EXPECT_TRUE(std::ranges::equal(numbered->description.iccData, p3));

    const auto adobe = ColorProfile::adobeRGB().iccData();
    const auto embedded = decodeRows(makeHeic({.profile = {adobe.begin(), adobe.end()}}));
    ASSERT_TRUE(embedded);
    EXPECT_TRUE(std::ranges::equal(embedded->description.iccData, adobe));
}

TEST(HeicDecoder, comesOutUprightByItself) {
    const auto rows = decodeRows(makeHeic({.orientation = heif_orientation_rotate_90_cw}));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->description.size, (PixelSize{height, width}));
    EXPECT_EQ(rows->description.orientation, 1);
    // The top left corner comes from the bottom left one.
    EXPECT_NEAR(rows->at<std::uint8_t>(0, 0, 0) / 255.0, smooth(0, height - 1, 0), 0.05);
    EXPECT_NEAR(rows->at<std::uint8_t>(height - 1, width - 1, 0) / 255.0, smooth(width - 1, 0, 0),
                0.05);
}

TEST(HeicDecoder, refusesFilesCutAnywhere) {
    const auto file = makeHeic({});
    ASSERT_TRUE(decodeRows(file));
    for (std::size_t keep = 0; keep < file.size(); keep += 1 + file.size() / 60)
        ASSERT_FALSE(decodeRows(std::span(file).first(keep))) << keep;
}

} // namespace ombrel::test
