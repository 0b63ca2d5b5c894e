#include "Core/ColorProfile.h"
#include "IO/DecodedRows.h"
#include "IO/JpegFiles.h"
#include "IO/PngFiles.h"

#include <array>
#include <string>

#include <gtest/gtest.h>

namespace ombrel::test {

namespace {

std::uint16_t sampleOf(std::uint32_t x, std::uint32_t y, int channel, int bits) {
    const std::uint32_t mixed =
        (x * 2654435761u + y * 40503u * 7919u + static_cast<std::uint32_t>(channel) * 977u) >> 7;
    return static_cast<std::uint16_t>(mixed & ((1u << bits) - 1));
}

auto samplesOf(int bits) {
    return [bits](std::uint32_t x, std::uint32_t y, int channel) {
        return sampleOf(x, y, channel, bits);
    };
}

std::vector<std::byte> plainPng() {
    return makePng({}, samplesOf(8));
}

} // namespace

TEST(PngDecoder, readsEveryColourTypeAndDepth) {
    struct Kind {
        int colorType;
        std::vector<int> depths;
        SampleModel model;
        AlphaKind alpha;
    };
    const std::vector<Kind> kinds{
        {PNG_COLOR_TYPE_GRAY, {1, 2, 4, 8, 16}, SampleModel::gray, AlphaKind::none},
        {PNG_COLOR_TYPE_RGB, {8, 16}, SampleModel::rgb, AlphaKind::none},
        {PNG_COLOR_TYPE_GRAY_ALPHA, {8, 16}, SampleModel::gray, AlphaKind::straight},
        {PNG_COLOR_TYPE_RGB_ALPHA, {8, 16}, SampleModel::rgb, AlphaKind::straight},
    };
    for (const Kind& kind : kinds) {
        for (const int bits : kind.depths) {
            for (const bool isInterlaced : {false, true}) {
                SCOPED_TRACE(std::to_string(kind.colorType) + ", " + std::to_string(bits) +
                             " bits, interlaced " + std::to_string(isInterlaced));
                PngRecipe recipe;
                recipe.colorType = kind.colorType;
                recipe.bits = bits;
                recipe.isInterlaced = isInterlaced;
                const auto rows = decodeRows(makePng(recipe, samplesOf(bits)));
                ASSERT_TRUE(rows);
                const SampleLayout layout = rows->description.layout;
                ASSERT_EQ(layout.model, kind.model);
                ASSERT_EQ(layout.alpha, kind.alpha);
                ASSERT_EQ(rows->description.bitDepth,
                          bits == 16 ? BitDepth::sixteen : BitDepth::eight);
                for (std::uint32_t y = 0; y < recipe.height; ++y) {
                    for (std::uint32_t x = 0; x < recipe.width; ++x) {
                        for (int c = 0; c < layout.channelCount(); ++c) {
                            const int sample = sampleOf(x, y, c, bits);
                            if (bits == 16) {
                                ASSERT_EQ(rows->at<std::uint16_t>(x, y, c), sample);
                            } else {
                                ASSERT_EQ(rows->at<std::uint8_t>(x, y, c),
                                          sample * 255 / ((1 << bits) - 1));
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST(PngDecoder, looksUpPalettesAndTheirAlpha) {
    std::array<png_color, 16> palette;
    std::array<png_byte, 16> alpha;
    for (unsigned i = 0; i < palette.size(); ++i) {
        palette[i] = {static_cast<png_byte>(i * 3), static_cast<png_byte>(255 - i * 5),
                      static_cast<png_byte>(i * 11)};
        alpha[i] = static_cast<png_byte>(i * 16);
    }
    for (const bool hasAlpha : {false, true}) {
        PngRecipe recipe;
        recipe.colorType = PNG_COLOR_TYPE_PALETTE;
        recipe.bits = 4;
        recipe.chunks = [&](png_structp png, png_infop info) {
            png_set_PLTE(png, info, palette.data(), static_cast<int>(palette.size()));
            if (hasAlpha) png_set_tRNS(png, info, alpha.data(), 16, nullptr);
        };
        const auto rows = decodeRows(makePng(recipe, samplesOf(4)));
        ASSERT_TRUE(rows);
        const std::uint16_t index = sampleOf(9, 9, 0, 4);
        EXPECT_EQ(rows->at<std::uint8_t>(9, 9, 0), palette[index].red);
        EXPECT_EQ(rows->at<std::uint8_t>(9, 9, 1), palette[index].green);
        ASSERT_EQ(rows->description.layout.alpha, hasAlpha ? AlphaKind::straight : AlphaKind::none);
        if (hasAlpha) {
            EXPECT_EQ(rows->at<std::uint8_t>(9, 9, 3), alpha[index]);
        }
    }
}

TEST(PngDecoder, readsResolutionOrientationAndColourSpace) {
    PngRecipe recipe;
    const auto withDensity = [&](std::uint32_t perUnit, int unit) {
        recipe.chunks = [=](png_structp png, png_infop info) {
            png_set_pHYs(png, info, perUnit, perUnit, unit);
        };
        return decodeRows(makePng(recipe, samplesOf(8)))->description.resolution;
    };
    EXPECT_EQ(withDensity(2835, PNG_RESOLUTION_METER), 72); // as 72 an inch is stored
    EXPECT_EQ(withDensity(11811, PNG_RESOLUTION_METER), 300);
    EXPECT_EQ(withDensity(5000, PNG_RESOLUTION_METER), 127);
    EXPECT_NEAR(*withDensity(3000, PNG_RESOLUTION_METER), 76.2, 1e-9);
    EXPECT_EQ(withDensity(2835, PNG_RESOLUTION_UNKNOWN), std::nullopt);

    auto exif = makeExif(true, 7, 96, 2);
    exif.erase(exif.begin(), exif.begin() + 6);
    for (const char* place : {"IHDR", "IDAT"}) { // before or behind the pixels
        const auto rows = decodeRows(withChunkAfter(plainPng(), place, "eXIf", exif));
        ASSERT_TRUE(rows);
        EXPECT_EQ(rows->description.orientation, 7);
        EXPECT_EQ(rows->description.resolution, 96);
    }
    const std::vector<std::byte> coded{std::byte{12}, std::byte{13}, std::byte{0}, std::byte{1}};
    const auto rows = decodeRows(withChunkAfter(plainPng(), "IHDR", "cICP", coded));
    ASSERT_TRUE(rows);
    EXPECT_TRUE(std::ranges::equal(rows->description.iccData, ColorProfile::displayP3().iccData()));
}

TEST(PngDecoder, refusesFilesCutAnywhere) {
    for (const bool isInterlaced : {false, true}) {
        PngRecipe recipe;
        recipe.isInterlaced = isInterlaced;
        const auto file = makePng(recipe, samplesOf(8));
        ASSERT_TRUE(decodeRows(file));
        for (std::size_t keep = 0; keep < file.size(); keep += keep + 40 < file.size() ? 11 : 1) {
            const auto rows = decodeRows(std::span(file).first(keep));
            ASSERT_FALSE(rows) << keep;
            ASSERT_EQ(rows.error(), ImageIOError::unreadable());
        }
    }
}

TEST(PngDecoder, allocatesNothingOnTheWordOfAHeader) {
    // 300000 x 300000 pixels of 8 bytes in a file of a few hundred bytes.
    PngRecipe recipe;
    recipe.width = 8;
    recipe.height = 8;
    recipe.bits = 16;
    recipe.colorType = PNG_COLOR_TYPE_RGB_ALPHA;
    recipe.isInterlaced = true;
    auto file = makePng(recipe, samplesOf(16));
    std::vector<std::byte> header(file.begin() + 16, file.begin() + 29);
    for (const std::size_t side : {std::size_t{0}, std::size_t{4}}) {
        const std::array<std::byte, 4> length{std::byte{0}, std::byte{0x04}, std::byte{0x93},
                                              std::byte{0xE0}};
        std::ranges::copy(length, header.begin() + static_cast<long>(side));
    }
    // The new header replaces the old one.
    auto grown = withChunkAfter(file, "IHDR", "IHDR", header);
    grown.erase(grown.begin() + 8, grown.begin() + 33);
    const auto source = ByteSource::ofMemory(grown);
    const auto decoder = codecOf(ImageFormat::png).open(*source);
    ASSERT_TRUE(decoder);
    EXPECT_EQ((*decoder)->description().size, (PixelSize{300'000, 300'000}));
    std::vector<std::byte> row(300'000 * 8);
    EXPECT_EQ((*decoder)->readRows(1, row).error(), ImageIOError::unreadable());
}

} // namespace ombrel::test
