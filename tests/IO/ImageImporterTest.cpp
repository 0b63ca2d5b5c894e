#include "IO/ImageImporter.h"

#include "Core/Orientation.h"
#include "IO/DecodedRows.h"
#include "IO/ImportedPixels.h"
#include "IO/JpegFiles.h"
#include "IO/PngFiles.h"
#include "IO/SampleRows.h"
#include "IO/TiffFiles.h"

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace ombrel::test {

namespace {

std::shared_ptr<TileStore> makeStore() {
    return TileStore::create(TileStore::Budget::ofMemory(std::int64_t{4} << 30, 0.5),
                             std::filesystem::temp_directory_path());
}

std::uint64_t noise(std::uint32_t x, std::uint32_t y, int channel) {
    const std::uint32_t mixed = (x + 1) * 2654435761u ^ (y + 1) * 40503u * 7919u ^
                                static_cast<std::uint32_t>(channel) * 977u;
    return (mixed >> 11) & 255;
}

TiffRecipe rgbaTiff(std::uint32_t width, std::uint32_t height, int orientation) {
    TiffRecipe recipe;
    recipe.width = width;
    recipe.height = height;
    recipe.samples = 4;
    recipe.photometric = PHOTOMETRIC_RGB;
    recipe.extraSamples = {EXTRASAMPLE_UNASSALPHA};
    recipe.tags = [orientation](TIFF* tiff) {
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, orientation);
    };
    return recipe;
}

/// Where Exif says the pixel at stored (x, y) belongs.
std::pair<std::int64_t, std::int64_t> uprightPlace(int orientation, PixelSize stored,
                                                   std::int64_t x, std::int64_t y) {
    const std::int64_t right = stored.width - 1 - x;
    const std::int64_t up = stored.height - 1 - y;
    switch (orientation) {
    case 2:
        return {right, y};
    case 3:
        return {right, up};
    case 4:
        return {x, up};
    case 5:
        return {y, x};
    case 6:
        return {up, x};
    case 7:
        return {up, right};
    case 8:
        return {y, right};
    default:
        return {x, y};
    }
}

/// The whole picture by one converter call a row and one move a pixel.
std::vector<HalfPixel> naiveImport(const DecodedRows& rows) {
    const ImageDescription& description = rows.description;
    const PixelSize size = description.size;
    const RowLineariser lineariser(description.layout, description.iccData);
    const bool isTransposed = description.orientation > 4;
    const std::int64_t width = isTransposed ? size.height : size.width;
    std::vector<HalfPixel> pixels(static_cast<std::size_t>(size.width * size.height));
    std::vector<Half> row(static_cast<std::size_t>(size.width) * 4);
    const std::size_t rowBytes =
        static_cast<std::size_t>(size.width) * description.layout.bytesPerPixel();
    for (std::int64_t y = 0; y < size.height; ++y) {
        lineariser.convert(
            std::span(rows.samples).subspan(static_cast<std::size_t>(y) * rowBytes, rowBytes), row);
        for (std::int64_t x = 0; x < size.width; ++x) {
            const auto [toX, toY] = uprightPlace(description.orientation, size, x, y);
            std::copy_n(row.begin() + x * 4, 4,
                        pixels[static_cast<std::size_t>(toY * width + toX)].begin());
        }
    }
    return pixels;
}

} // namespace

TEST(ImageImporter, putsEveryPixelInItsPlaceInEveryOrientation) {
    const auto store = makeStore();
    const std::pair<std::uint32_t, std::uint32_t> sizes[] = {
        {1, 1}, {256, 256}, {255, 257}, {300, 513}, {600, 40}, {3, 1030}, {512, 256}};
    for (const auto& [width, height] : sizes) {
        for (int orientation = 1; orientation <= 8; ++orientation) {
            SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height) + ", orientation " +
                         std::to_string(orientation));
            const auto file = makeTiff(rgbaTiff(width, height, orientation), noise);
            const auto rows = decodeRows(file);
            ASSERT_TRUE(rows);
            const auto image = ImageImporter::read(std::span(file), *store);
            ASSERT_TRUE(image);
            const PixelSize upright =
                orientation > 4 ? PixelSize{height, width} : PixelSize{width, height};
            ASSERT_EQ(image->size, upright);
            ASSERT_EQ(image->pixels.tileCount(), PixelRect::ofSize(upright).tileRange().count());
            ASSERT_TRUE(pixelsOf(*image) == naiveImport(*rows));
        }
    }
}

TEST(ImageImporter, leavesTilesTransparentBeyondThePicture) {
    const auto store = makeStore();
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto file = makeTiff(rgbaTiff(300, 270, orientation),
                                   [](std::uint32_t, std::uint32_t, int) { return 255u; });
        const auto image = ImageImporter::read(std::span(file), *store);
        ASSERT_TRUE(image);
        image->pixels.forEach([&](TileCoord coord, const TileCell& cell) {
            if (!cell.isPixels()) return true;
            const TilePin pin(cell.tile());
            for (std::int64_t i = 0; i < 65536; ++i) {
                const std::int64_t x = coord.x * 256 + i % 256;
                const std::int64_t y = coord.y * 256 + i / 256;
                HalfPixel pixel;
                std::memcpy(&pixel, pin.bytes() + i * 8, sizeof(pixel));
                const bool isInside = x < image->size.width && y < image->size.height;
                EXPECT_EQ(pixel == HalfPixel{}, !isInside) << x << ", " << y;
                if ((pixel == HalfPixel{}) == isInside) return false;
            }
            return true;
        });
    }
}

TEST(ImageImporter, aOnePixelImageIsOneTile) {
    const auto store = makeStore();
    PngRecipe recipe;
    recipe.width = 1;
    recipe.height = 1;
    const auto file = makePng(recipe, [](std::uint32_t, std::uint32_t, int) { return 255; });
    const auto image = ImageImporter::read(std::span(file), *store);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->pixels.tileCount(), 1);
    EXPECT_EQ(image->pixels.pixelTileCount(), 1);
    EXPECT_EQ(image->pixels.color(0, 0), PremultipliedColor::white());
    EXPECT_EQ(image->pixels.color(1, 0), PremultipliedColor::transparent());
    EXPECT_EQ(image->format, ImageFormat::png);
}

TEST(ImageImporter, keepsNoTransparentBlocksAndNoPixelsOfPlainOnes) {
    const auto store = makeStore();
    // Blocks from left to right: transparent but coloured, one colour, two colours.
    const auto file = makeTiff(rgbaTiff(768, 256, 1), [](std::uint32_t x, std::uint32_t y, int c) {
        if (x < 256) return std::uint64_t{c == 3 ? 0u : 90u};
        if (x < 512) return std::uint64_t{c == 3 ? 128u : 200u};
        return std::uint64_t{c == 3 || (x == 600 && y == 200) ? 255u : 10u};
    });
    const auto image = ImageImporter::read(std::span(file), *store);
    ASSERT_TRUE(image);
    EXPECT_TRUE(image->pixels.cell({0, 0}).isAbsent());
    EXPECT_TRUE(image->pixels.cell({1, 0}).isSolid());
    EXPECT_TRUE(image->pixels.cell({2, 0}).isPixels());
    EXPECT_EQ(store->statistics().tileCount, 1);
    const auto naive = naiveImport(*decodeRows(file));
    EXPECT_EQ(image->pixels.cell({1, 0}).color().halves(), naive[300]);
}

TEST(ImageImporter, givesUpAtOnceWhenCancelledAndKeepsNothing) {
    const auto store = makeStore();
    PngRecipe recipe;
    recipe.height = 4000;
    recipe.width = 300;
    const auto file = makePng(recipe, [](std::uint32_t x, std::uint32_t y, int c) {
        return static_cast<std::uint16_t>(noise(x, y, c));
    });
    Progress early;
    early.cancel();
    EXPECT_EQ(ImageImporter::read(std::span(file), *store, &early).error(),
              ImageIOError::cancelled());

    Progress* self = nullptr;
    double last = 0;
    Progress midway([&](double fraction, const std::string&) {
        last = fraction;
        if (fraction > 0.2) self->cancel();
    });
    self = &midway;
    EXPECT_EQ(ImageImporter::read(std::span(file), *store, &midway).error(),
              ImageIOError::cancelled());
    EXPECT_LT(last, 1);
    EXPECT_EQ(store->statistics().tileCount, 0);

    Progress whole;
    EXPECT_TRUE(ImageImporter::read(std::span(file), *store, &whole));
    EXPECT_EQ(whole.fraction(), 1);
}

TEST(ImageImporter, dropsAPartlyDecodedImageWhole) {
    const auto store = makeStore();
    JpegRecipe recipe;
    recipe.width = 900;
    recipe.height = 1500;
    auto file = makeJpeg(recipe, [](std::uint32_t x, std::uint32_t y, int c) {
        return static_cast<std::uint8_t>(noise(x, y, c));
    });
    file.resize(file.size() * 3 / 4);
    EXPECT_EQ(ImageImporter::read(std::span(file), *store).error(), ImageIOError::unreadable());
    EXPECT_EQ(store->statistics().tileCount, 0);
}

TEST(ImageImporter, refusesWhatIsNoImage) {
    const auto store = makeStore();
    for (const std::string text : {"", "x", "<svg/>", "\x89PNG\r\n\x1A\n", "RIFF....WEBPVP8 "}) {
        const auto bytes = std::as_bytes(std::span(text));
        const auto image = ImageImporter::read(bytes, *store);
        ASSERT_FALSE(image);
        EXPECT_EQ(image.error().text(), "The file could not be read as an image.");
    }
    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    EXPECT_FALSE(ImageImporter::read(folder, *store));
    EXPECT_FALSE(ImageImporter::read(folder / "ombrel-no-such-file.png", *store));
}

TEST(ImageImporter, takesSidesUpTo300000) {
    const auto store = makeStore();
    PngRecipe recipe;
    recipe.colorType = PNG_COLOR_TYPE_GRAY_ALPHA;
    recipe.width = 300'000;
    recipe.height = 1;
    const auto lastWhite = [](std::uint32_t x, std::uint32_t, int) {
        return static_cast<std::uint16_t>(x == 299'999 ? 255 : 0);
    };
    const auto wide = makePng(recipe, lastWhite);
    const auto image = ImageImporter::read(std::span(wide), *store);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->size, (PixelSize{300'000, 1}));
    EXPECT_EQ(image->pixels.tileCount(), 1);
    EXPECT_EQ(image->pixels.color(299'999, 0), PremultipliedColor::white());

    recipe.width = 1;
    recipe.height = 300'001;
    const auto tall = makePng(recipe, lastWhite);
    const auto refused = ImageImporter::read(std::span(tall), *store);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().text(), "The image is too large (1×300001).");
}

TEST(ImageImporter, tellsResolutionAndDepthAndKeepsHighValues) {
    const auto store = makeStore();
    TiffRecipe recipe;
    recipe.bits = 32;
    recipe.samples = 3;
    recipe.photometric = PHOTOMETRIC_RGB;
    recipe.sampleFormat = SAMPLEFORMAT_IEEEFP;
    const auto file = makeTiff(recipe, [](std::uint32_t, std::uint32_t, int) {
        return std::uint64_t{std::bit_cast<std::uint32_t>(4.0f)};
    });
    const auto image = ImageImporter::read(std::span(file), *store);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->bitDepth, BitDepth::thirtyTwo);
    EXPECT_EQ(image->resolution, 72);
    EXPECT_GT(image->pixels.color(0, 0).red, 20); // 4 by the sRGB curve
    EXPECT_EQ(image->canvas().profile, ColorProfile::sRGB());

    JpegRecipe jpeg;
    jpeg.densityUnit = 1;
    jpeg.density = 240;
    const auto photo =
        makeJpeg(jpeg, [](std::uint32_t, std::uint32_t, int) { return std::uint8_t{9}; });
    EXPECT_EQ(ImageImporter::read(std::span(photo), *store)->canvas().resolution, 240);
}

} // namespace ombrel::test
