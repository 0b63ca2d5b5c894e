#include "IO/DecodedRows.h"
#include "IO/JpegFiles.h"

#include <string>

#include <gtest/gtest.h>

namespace ombrel::test {

namespace {

/// Smooth, so that even coarse chroma comes back close.
std::uint8_t smooth(std::uint32_t x, std::uint32_t y, int component) {
    return static_cast<std::uint8_t>(20 + x + y + static_cast<std::uint32_t>(component) * 30);
}

} // namespace

TEST(JpegDecoder, readsEveryKindOfCoding) {
    for (const bool isProgressive : {false, true}) {
        for (const bool isArithmetic : {false, true}) {
            for (const auto& [across, down] : {std::pair{1, 1}, std::pair{2, 1}, std::pair{2, 2},
                                               std::pair{4, 1}, std::pair{1, 2}}) {
                for (const int components : {1, 3}) {
                    SCOPED_TRACE(std::to_string(isProgressive) + std::to_string(isArithmetic) +
                                 " " + std::to_string(across) + "x" + std::to_string(down) + ", " +
                                 std::to_string(components) + " components");
                    JpegRecipe recipe;
                    recipe.components = components;
                    recipe.across = across;
                    recipe.down = down;
                    recipe.isProgressive = isProgressive;
                    recipe.isArithmetic = isArithmetic;
                    recipe.restartInterval = across == 2 ? 3 : 0;
                    const auto rows = decodeRows(makeJpeg(recipe, smooth));
                    ASSERT_TRUE(rows);
                    ASSERT_EQ(rows->description.size, (PixelSize{61, 45}));
                    ASSERT_EQ(rows->description.layout.model,
                              components == 1 ? SampleModel::gray : SampleModel::rgb);
                    for (std::uint32_t y = 0; y < 45; ++y) {
                        for (std::uint32_t x = 0; x < 61; ++x) {
                            for (int c = 0; c < components; ++c)
                                ASSERT_NEAR(rows->at<std::uint8_t>(x, y, c), smooth(x, y, c), 9);
                        }
                    }
                }
            }
        }
    }
}

TEST(JpegDecoder, turnsAdobeInksTheRightWayUp) {
    for (const bool keepsInks : {true, false}) {
        JpegRecipe recipe;
        recipe.components = 4;
        recipe.keepsInks = keepsInks;
        const auto rows = decodeRows(makeJpeg(recipe, smooth));
        ASSERT_TRUE(rows);
        ASSERT_EQ(rows->description.layout.model, SampleModel::cmyk);
        for (int c = 0; c < 4; ++c)
            EXPECT_NEAR(rows->at<std::uint8_t>(20, 20, c), 255 - smooth(20, 20, c), 6);
    }
    JpegRecipe plain;
    plain.components = 4;
    plain.writesAdobeMarker = false;
    const auto rows = decodeRows(makeJpeg(plain, smooth));
    ASSERT_TRUE(rows);
    EXPECT_NEAR(rows->at<std::uint8_t>(20, 20, 1), smooth(20, 20, 1), 6);
}

TEST(JpegDecoder, readsResolutionOrientationAndLongProfiles) {
    struct Case {
        int unit, density;
        std::vector<std::byte> exif;
        std::optional<double> resolution;
        int orientation;
    };
    const std::vector<Case> cases{
        {0, 1, {}, std::nullopt, 1},
        {1, 300, {}, 300, 1},
        {2, 100, {}, 254, 1},
        {0, 1, makeExif(true, 6, 240, 2), 240, 6},
        {0, 1, makeExif(false, 8, 50, 3), 127, 8},
        {1, 300, makeExif(false, 3, 72, 2), 300, 3}, // JFIF's own field goes first
        {0, 1, makeExif(false, 9, 0, 2), std::nullopt, 1},
    };
    for (const Case& one : cases) {
        JpegRecipe recipe;
        recipe.densityUnit = one.unit;
        recipe.density = one.density;
        recipe.exif = one.exif;
        recipe.profile.resize(150'000, std::byte{7}); // three markers
        const auto rows = decodeRows(makeJpeg(recipe, smooth));
        ASSERT_TRUE(rows);
        EXPECT_EQ(rows->description.resolution, one.resolution);
        EXPECT_EQ(rows->description.orientation, one.orientation);
        EXPECT_EQ(rows->description.iccData, recipe.profile);
    }
}

TEST(JpegDecoder, refusesFilesCutAnywhereButBehindTheirPixels) {
    for (const bool isProgressive : {false, true}) {
        JpegRecipe recipe;
        recipe.isProgressive = isProgressive;
        const auto file = makeJpeg(recipe, smooth);
        for (std::size_t keep = 0; keep < file.size(); ++keep) {
            const bool isOnlyMissingItsEnd = !isProgressive && keep + 2 >= file.size();
            const auto rows = decodeRows(std::span(file).first(keep));
            // The last byte of pixels may hold nothing but padding.
            if (keep + 3 >= file.size() && !isProgressive && !isOnlyMissingItsEnd) continue;
            ASSERT_EQ(rows.has_value(), isOnlyMissingItsEnd) << keep << " of " << file.size();
            if (!rows) {
                ASSERT_EQ(rows.error(), ImageIOError::unreadable());
            }
        }
    }
}

TEST(JpegDecoder, refusesAHeaderThatItsFileCannotFill) {
    auto file = makeJpeg({}, smooth);
    // The frame header: FF C0, length, precision, height, width.
    for (std::size_t i = 0; i + 8 < file.size(); ++i) {
        if (file[i] == std::byte{0xFF} && file[i + 1] == std::byte{0xC0}) {
            file[i + 5] = file[i + 7] = std::byte{0xFF};
            break;
        }
    }
    const auto source = ByteSource::ofMemory(file);
    EXPECT_FALSE(codecOf(ImageFormat::jpeg).open(*source));
}

} // namespace ombrel::test
