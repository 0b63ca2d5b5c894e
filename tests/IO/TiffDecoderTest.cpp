#include "Base/Half.h"
#include "IO/DecodedRows.h"
#include "IO/TiffFiles.h"

#include <bit>
#include <cmath>
#include <string>

#include <gtest/gtest.h>

namespace ombrel::test {

namespace {

/// Well spread over the range, different in every sample.
std::uint64_t sampleOf(std::uint32_t x, std::uint32_t y, int sample, int bits) {
    const std::uint64_t mixed =
        (std::uint64_t{x} * 2654435761u + std::uint64_t{y} * 40503u * 65537u +
         static_cast<std::uint64_t>(sample + 1) * 0x9E3779B97F4A7C15ull) *
        0xD6E8FEB86659FD93ull;
    return bits == 64 ? mixed : (mixed >> 17) & ((std::uint64_t{1} << bits) - 1);
}

TiffSampleSource integers(int bits) {
    return [bits](std::uint32_t x, std::uint32_t y, int s) { return sampleOf(x, y, s, bits); };
}

double largestOf(int bits) {
    return std::ldexp(1.0, bits) - 1;
}

/// A decoded sample as a share of its range.
double shareAt(const DecodedRows& rows, std::int64_t x, std::int64_t y, int channel) {
    switch (rows.description.layout.type) {
    case SampleType::unsigned8:
        return rows.at<std::uint8_t>(x, y, channel) / 255.0;
    case SampleType::unsigned16:
        return rows.at<std::uint16_t>(x, y, channel) / 65535.0;
    case SampleType::half:
        return toFloat(Half{rows.at<std::uint16_t>(x, y, channel)});
    case SampleType::float32:
        return rows.at<float>(x, y, channel);
    }
    return -1;
}

double stepOf(SampleType type) {
    return type == SampleType::unsigned8    ? 1.0 / 255
           : type == SampleType::unsigned16 ? 1.0 / 65535
                                            : 1e-6;
}

} // namespace

TEST(TiffDecoder, readsIntegersOfEveryWidthInEveryArrangement) {
    for (const int bits : {1, 2, 3, 4, 6, 8, 10, 12, 14, 16, 24, 31, 32}) {
        for (const int samples : {1, 3}) {
            for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
                for (const std::uint32_t tile : {0u, 16u}) {
                    for (const char* mode : {"wl", "wb", "wl8", "wb8"}) {
                        SCOPED_TRACE(std::to_string(bits) + " bits, " + std::to_string(samples) +
                                     " samples, planar " + std::to_string(planar) + ", tile " +
                                     std::to_string(tile) + ", " + mode);
                        TiffRecipe recipe;
                        recipe.bits = bits;
                        recipe.samples = samples;
                        recipe.planar = planar;
                        recipe.tile = tile;
                        recipe.mode = mode;
                        recipe.compression = tile > 0 ? COMPRESSION_LZW : COMPRESSION_NONE;
                        recipe.photometric =
                            samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
                        const auto file = makeTiff(recipe, integers(bits));
                        ASSERT_FALSE(file.empty());
                        const auto rows = decodeRows(file);
                        ASSERT_TRUE(rows);
                        const ImageDescription& description = rows->description;
                        ASSERT_EQ(description.layout.model,
                                  samples == 3 ? SampleModel::rgb : SampleModel::gray);
                        ASSERT_EQ(description.bitDepth, bits <= 8    ? BitDepth::eight
                                                        : bits <= 16 ? BitDepth::sixteen
                                                                     : BitDepth::thirtyTwo);
                        for (std::uint32_t y = 0; y < recipe.height; ++y) {
                            for (std::uint32_t x = 0; x < recipe.width; ++x) {
                                for (int s = 0; s < samples; ++s) {
                                    const double expected =
                                        static_cast<double>(sampleOf(x, y, s, bits)) /
                                        largestOf(bits);
                                    ASSERT_NEAR(shareAt(*rows, x, y, s), expected,
                                                0.51 * stepOf(description.layout.type));
                                }
                            }
                        }
                    }
                }
            }
        }
    }
}

TEST(TiffDecoder, readsFloatsOfEveryWidth) {
    const auto value = [](std::uint32_t x, std::uint32_t y, int s) {
        return static_cast<float>(x) * 0.125f - static_cast<float>(y) * 0.25f +
               static_cast<float>(s) + 0.5f; // exact as a half; some negative, some above one
    };
    const auto bitsOf = [&](int bits, float number) -> std::uint64_t {
        if (bits == 16) return toHalf(number).bits;
        if (bits == 64) return std::bit_cast<std::uint64_t>(static_cast<double>(number));
        const auto single = std::bit_cast<std::uint32_t>(number);
        if (bits == 32) return single;
        if ((single & 0x7FFFFFFFu) == 0) return 0;
        const std::uint32_t exponent = ((single >> 23) & 0xFFu) - 127 + 63;
        return (single >> 31) << 23 | exponent << 16 | (single & 0x7FFFFFu) >> 7;
    };
    for (const int bits : {16, 24, 32, 64}) {
        for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
            for (const char* mode : {"wl", "wb"}) {
                for (const int predictor : {PREDICTOR_NONE, PREDICTOR_FLOATINGPOINT}) {
                    // libtiff 4.5 writes the bytes of these in the wrong order.
                    if (predictor == PREDICTOR_FLOATINGPOINT && mode[1] == 'b') continue;
                    SCOPED_TRACE(std::to_string(bits) + " bits, planar " + std::to_string(planar) +
                                 " " + mode + " predictor " + std::to_string(predictor));
                    TiffRecipe recipe;
                    recipe.bits = bits;
                    recipe.samples = 3;
                    recipe.photometric = PHOTOMETRIC_RGB;
                    recipe.sampleFormat = SAMPLEFORMAT_IEEEFP;
                    recipe.compression = COMPRESSION_ADOBE_DEFLATE;
                    recipe.predictor = predictor;
                    recipe.planar = planar;
                    recipe.mode = mode;
                    const auto file =
                        makeTiff(recipe, [&](std::uint32_t x, std::uint32_t y, int s) {
                            return bitsOf(bits, value(x, y, s));
                        });
                    const auto rows = decodeRows(file);
                    ASSERT_TRUE(rows);
                    ASSERT_EQ(rows->description.bitDepth, BitDepth::thirtyTwo);
                    for (std::uint32_t y = 0; y < recipe.height; ++y) {
                        for (std::uint32_t x = 0; x < recipe.width; ++x) {
                            for (int s = 0; s < 3; ++s)
                                ASSERT_EQ(shareAt(*rows, x, y, s), value(x, y, s));
                        }
                    }
                }
            }
        }
    }
}

TEST(TiffDecoder, readsEveryLosslessCompression) {
    for (const int compression : {COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE,
                                  COMPRESSION_PACKBITS, COMPRESSION_ZSTD, COMPRESSION_LZMA}) {
        for (const int predictor : {PREDICTOR_NONE, PREDICTOR_HORIZONTAL}) {
            if (predictor != PREDICTOR_NONE && compression == COMPRESSION_PACKBITS) continue;
            for (const int bits : {8, 16}) {
                SCOPED_TRACE(std::to_string(compression) + " predictor " +
                             std::to_string(predictor) + " bits " + std::to_string(bits));
                TiffRecipe recipe;
                recipe.bits = bits;
                recipe.samples = 3;
                recipe.photometric = PHOTOMETRIC_RGB;
                recipe.compression = compression;
                recipe.predictor = predictor;
                recipe.mode = bits == 16 ? "wb" : "wl";
                const auto file = makeTiff(recipe, integers(bits));
                ASSERT_FALSE(file.empty());
                const auto rows = decodeRows(file);
                ASSERT_TRUE(rows);
                ASSERT_NEAR(shareAt(*rows, 36, 28, 2),
                            static_cast<double>(sampleOf(36, 28, 2, bits)) / largestOf(bits), 1e-9);
                ASSERT_NEAR(shareAt(*rows, 5, 11, 0),
                            static_cast<double>(sampleOf(5, 11, 0, bits)) / largestOf(bits), 1e-9);
            }
        }
    }
}

TEST(TiffDecoder, readsFaxPagesAsBlackOnWhite) {
    for (const int compression :
         {COMPRESSION_CCITTRLE, COMPRESSION_CCITTFAX3, COMPRESSION_CCITTFAX4}) {
        TiffRecipe recipe;
        recipe.bits = 1;
        recipe.photometric = PHOTOMETRIC_MINISWHITE;
        recipe.compression = compression;
        const auto file = makeTiff(recipe, integers(1));
        const auto rows = decodeRows(file);
        ASSERT_TRUE(rows) << compression;
        for (std::uint32_t x = 0; x < recipe.width; ++x)
            ASSERT_EQ(rows->at<std::uint8_t>(x, 3, 0), sampleOf(x, 3, 0, 1) != 0 ? 0 : 255);
    }
}

TEST(TiffDecoder, turnsInvertedGrayAndSignedSamplesAround) {
    TiffRecipe inverted;
    inverted.bits = 16;
    inverted.photometric = PHOTOMETRIC_MINISWHITE;
    const auto rows = decodeRows(makeTiff(inverted, integers(16)));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->at<std::uint16_t>(4, 9, 0), 65535 - sampleOf(4, 9, 0, 16));

    TiffRecipe signedSamples;
    signedSamples.sampleFormat = SAMPLEFORMAT_INT;
    const auto shifted = decodeRows(makeTiff(
        signedSamples, [](std::uint32_t x, std::uint32_t, int) { return std::uint64_t{x} - 18; }));
    ASSERT_TRUE(shifted);
    EXPECT_EQ(shifted->at<std::uint8_t>(0, 0, 0), 128 - 18);
    EXPECT_EQ(shifted->at<std::uint8_t>(36, 0, 0), 128 + 18);
}

TEST(TiffDecoder, looksUpPalettesOfAnyDepth) {
    for (const int bits : {1, 2, 4, 8}) {
        for (const bool holdsBytes : {false, true}) {
            const std::size_t count = std::size_t{1} << bits;
            std::vector<std::uint16_t> map[3];
            for (int c = 0; c < 3; ++c) {
                for (std::size_t i = 0; i < count; ++i) {
                    const auto value = static_cast<std::uint16_t>(
                        (i * 37 + 11u * static_cast<unsigned>(c) + 5) & 255);
                    map[c].push_back(holdsBytes ? value : static_cast<std::uint16_t>(value * 257));
                }
            }
            TiffRecipe recipe;
            recipe.bits = bits;
            recipe.photometric = PHOTOMETRIC_PALETTE;
            recipe.tags = [&](TIFF* tiff) {
                TIFFSetField(tiff, TIFFTAG_COLORMAP, map[0].data(), map[1].data(), map[2].data());
            };
            const auto rows = decodeRows(makeTiff(recipe, integers(bits)));
            ASSERT_TRUE(rows);
            EXPECT_EQ(rows->description.bitDepth, BitDepth::eight);
            for (std::uint32_t x = 0; x < recipe.width; ++x) {
                for (int c = 0; c < 3; ++c) {
                    const std::uint16_t entry = map[c][sampleOf(x, 2, 0, bits)];
                    ASSERT_EQ(rows->at<std::uint16_t>(x, 2, c), holdsBytes ? entry * 257 : entry);
                }
            }
        }
    }
}

TEST(TiffDecoder, takesAlphaOnlyFromSamplesThatAreAlpha) {
    struct Case {
        int samples;
        std::vector<std::uint16_t> extra;
        AlphaKind alpha;
        int alphaSample;
    };
    const std::vector<Case> cases{
        {4, {EXTRASAMPLE_ASSOCALPHA}, AlphaKind::premultiplied, 3},
        {4, {EXTRASAMPLE_UNASSALPHA}, AlphaKind::straight, 3},
        {4, {EXTRASAMPLE_UNSPECIFIED}, AlphaKind::none, 0},
        {4, {}, AlphaKind::straight, 3}, // not described at all
        {5, {EXTRASAMPLE_UNSPECIFIED, EXTRASAMPLE_UNASSALPHA}, AlphaKind::straight, 4},
        {6,
         {EXTRASAMPLE_ASSOCALPHA, EXTRASAMPLE_UNSPECIFIED, EXTRASAMPLE_UNSPECIFIED},
         AlphaKind::premultiplied,
         3},
    };
    for (const Case& one : cases) {
        for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
            for (const int bits : {8, 12}) {
                SCOPED_TRACE(std::to_string(one.samples) + " samples, planar " +
                             std::to_string(planar) + ", bits " + std::to_string(bits));
                TiffRecipe recipe;
                recipe.bits = bits;
                recipe.samples = one.samples;
                recipe.planar = planar;
                recipe.photometric = PHOTOMETRIC_RGB;
                recipe.extraSamples = one.extra;
                const auto rows = decodeRows(makeTiff(recipe, integers(bits)));
                ASSERT_TRUE(rows);
                ASSERT_EQ(rows->description.layout.alpha, one.alpha);
                const double step = stepOf(rows->description.layout.type);
                for (std::uint32_t x = 0; x < recipe.width; ++x) {
                    ASSERT_NEAR(shareAt(*rows, x, 6, 1),
                                static_cast<double>(sampleOf(x, 6, 1, bits)) / largestOf(bits),
                                step);
                    if (one.alpha == AlphaKind::none) continue;
                    ASSERT_NEAR(shareAt(*rows, x, 6, 3),
                                static_cast<double>(sampleOf(x, 6, one.alphaSample, bits)) /
                                    largestOf(bits),
                                step);
                }
            }
        }
    }
}

TEST(TiffDecoder, readsInksAndLab) {
    TiffRecipe inks;
    inks.samples = 4;
    inks.photometric = PHOTOMETRIC_SEPARATED;
    const auto cmyk = decodeRows(makeTiff(inks, integers(8)));
    ASSERT_TRUE(cmyk);
    EXPECT_EQ(cmyk->description.layout.model, SampleModel::cmyk);
    EXPECT_EQ(cmyk->at<std::uint8_t>(7, 7, 3), sampleOf(7, 7, 3, 8));

    struct LabCase {
        int photometric;
        int bits;
        std::uint64_t lightness, a, b;
    };
    // L* 50, a* -20, b* 30 in each encoding.
    for (const LabCase& one :
         {LabCase{PHOTOMETRIC_CIELAB, 8, 128, 256 - 20, 30},
          LabCase{PHOTOMETRIC_CIELAB, 16, 32768, 65536 - 20 * 256, 30 * 256},
          LabCase{PHOTOMETRIC_ICCLAB, 8, 128, 128 - 20, 128 + 30},
          LabCase{PHOTOMETRIC_ICCLAB, 16, 32640, (128 - 20) * 256, (128 + 30) * 256}}) {
        TiffRecipe recipe;
        recipe.samples = 3;
        recipe.bits = one.bits;
        recipe.photometric = one.photometric;
        const auto rows = decodeRows(makeTiff(recipe, [&](std::uint32_t, std::uint32_t, int s) {
            return s == 0 ? one.lightness : s == 1 ? one.a : one.b;
        }));
        ASSERT_TRUE(rows);
        ASSERT_EQ(rows->description.layout.model, SampleModel::lab);
        EXPECT_NEAR(rows->at<float>(0, 0, 0), 50, 0.2);
        EXPECT_NEAR(rows->at<float>(0, 0, 1), -20, 0.01);
        EXPECT_NEAR(rows->at<float>(0, 0, 2), 30, 0.01);
    }
}

TEST(TiffDecoder, takesBlocksOfSharedChromaApart) {
    for (const int across : {1, 2, 4}) {
        for (const int down : {1, 2, 4}) {
            for (const std::uint32_t tile : {0u, 16u}) {
                SCOPED_TRACE(std::to_string(across) + "x" + std::to_string(down) + ", tile " +
                             std::to_string(tile));
                TiffRecipe recipe;
                recipe.samples = 3;
                recipe.photometric = PHOTOMETRIC_YCBCR;
                recipe.compression = COMPRESSION_LZW;
                recipe.tile = tile;
                recipe.tags = [&](TIFF* tiff) {
                    TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, across, down);
                };
                const auto luma = [](int x, int y) { return (x * 5 + y * 3) & 255; };
                // Every block has a chroma of its own, numbered by its place in the picture.
                const auto chroma = [](int x, int y) { return 100 + (x * 7 + y * 13) % 50; };
                const int edge = static_cast<int>(tile);
                const int width = tile > 0 ? edge : static_cast<int>(recipe.width);
                const int tilesAcross =
                    tile > 0 ? (static_cast<int>(recipe.width) + edge - 1) / edge : 1;
                const int rowsHere = tile > 0 ? edge : static_cast<int>(recipe.rowsPerStrip);
                const int segmentRows = (static_cast<int>(recipe.height) + rowsHere - 1) / rowsHere;
                const auto file = makeTiffOfSegments(
                    recipe, static_cast<std::uint32_t>(tilesAcross * segmentRows),
                    [&](std::uint32_t number) {
                        const int left = static_cast<int>(number) % tilesAcross * width;
                        const int top = static_cast<int>(number) / tilesAcross * rowsHere;
                        const int rows =
                            tile > 0 ? rowsHere
                                     : std::min(rowsHere, static_cast<int>(recipe.height) - top);
                        std::vector<std::uint8_t> data;
                        for (int y = top; y < top + rows; y += down) {
                            for (int x = left; x < left + width; x += across) {
                                for (int j = 0; j < down; ++j) {
                                    for (int i = 0; i < across; ++i)
                                        data.push_back(
                                            static_cast<std::uint8_t>(luma(x + i, y + j)));
                                }
                                data.push_back(
                                    static_cast<std::uint8_t>(chroma(x / across, y / down)));
                                data.push_back(
                                    static_cast<std::uint8_t>(chroma(y / down, x / across)));
                            }
                        }
                        return data;
                    });
                ASSERT_FALSE(file.empty());
                const auto rows = decodeRows(file);
                ASSERT_TRUE(rows);
                for (int y = 0; y < static_cast<int>(recipe.height); ++y) {
                    for (int x = 0; x < static_cast<int>(recipe.width); ++x) {
                        const double cb = chroma(x / across, y / down) - 128;
                        const double cr = chroma(y / down, x / across) - 128;
                        const double red = luma(x, y) + 1.402 * cr;
                        const double green = luma(x, y) - 0.344136 * cb - 0.714136 * cr;
                        ASSERT_NEAR(rows->at<std::uint8_t>(x, y, 0), std::clamp(red, 0.0, 255.0),
                                    1.01);
                        ASSERT_NEAR(rows->at<std::uint8_t>(x, y, 1), std::clamp(green, 0.0, 255.0),
                                    1.01);
                    }
                }
            }
        }
    }
}

TEST(TiffDecoder, readsJpegAndLogLuvInside) {
    for (const std::uint32_t tile : {0u, 16u}) {
        TiffRecipe jpeg;
        jpeg.samples = 3;
        jpeg.tile = tile;
        jpeg.rowsPerStrip = 16;
        jpeg.photometric = PHOTOMETRIC_YCBCR;
        jpeg.compression = COMPRESSION_JPEG;
        jpeg.tags = [](TIFF* tiff) {
            TIFFSetField(tiff, TIFFTAG_JPEGQUALITY, 98);
            TIFFSetField(tiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        };
        const auto rows = decodeRows(makeTiff(jpeg, [](std::uint32_t, std::uint32_t, int s) {
            return std::uint64_t{s == 0 ? 200u : s == 1 ? 100u : 50u};
        }));
        ASSERT_TRUE(rows);
        EXPECT_NEAR(rows->at<std::uint8_t>(30, 20, 0), 200, 3);
        EXPECT_NEAR(rows->at<std::uint8_t>(30, 20, 1), 100, 3);
        EXPECT_NEAR(rows->at<std::uint8_t>(30, 20, 2), 50, 3);
    }

    TiffRecipe log;
    log.bits = 32;
    log.samples = 3;
    log.photometric = PHOTOMETRIC_LOGLUV;
    log.compression = COMPRESSION_SGILOG;
    log.sampleFormat = SAMPLEFORMAT_IEEEFP;
    log.tags = [](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_SGILOGDATAFMT, SGILOGDATAFMT_FLOAT); };
    const auto rows = decodeRows(makeTiff(log, [](std::uint32_t, std::uint32_t, int) {
        return std::uint64_t{std::bit_cast<std::uint32_t>(0.2140f)}; // equal X, Y and Z: gray
    }));
    ASSERT_TRUE(rows);
    for (int s = 0; s < 3; ++s)
        EXPECT_NEAR(rows->at<float>(3, 3, s), 0.5, 0.02); // encoded by the sRGB curve
}

TEST(TiffDecoder, readsResolutionOrientationAndProfile) {
    const std::vector<std::uint8_t> profile(700, 42);
    TiffRecipe recipe;
    recipe.tags = [&](TIFF* tiff) {
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 100.0);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, 50.0);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_RIGHTTOP);
        TIFFSetField(tiff, TIFFTAG_ICCPROFILE, static_cast<std::uint32_t>(profile.size()),
                     profile.data());
    };
    const auto rows = decodeRows(makeTiff(recipe, integers(8)));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->description.resolution, 254.0);
    EXPECT_EQ(rows->description.orientation, 6);
    EXPECT_EQ(rows->description.iccData.size(), profile.size());

    recipe.tags = [](TIFF* tiff) {
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, 3.0);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_NONE);
    };
    EXPECT_EQ(decodeRows(makeTiff(recipe, integers(8)))->description.resolution, std::nullopt);
}

TEST(TiffDecoder, refusesSizesWithoutReadingPixels) {
    TiffRecipe recipe;
    recipe.width = 300'001;
    recipe.height = 1;
    recipe.bits = 1;
    const auto wide = decodeRows(makeTiff(recipe, integers(1)));
    ASSERT_FALSE(wide);
    EXPECT_EQ(wide.error(), ImageIOError::imageTooLarge({300'001, 1}));
    recipe.width = 300'000;
    EXPECT_TRUE(decodeRows(makeTiff(recipe, integers(1))));
}

TEST(TiffDecoder, refusesFilesCutAnywhereInTheirPixels) {
    TiffRecipe recipe;
    recipe.samples = 3;
    recipe.photometric = PHOTOMETRIC_RGB;
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE}) {
        recipe.compression = compression;
        const auto file = makeTiff(recipe, integers(8));
        ASSERT_TRUE(decodeRows(file));
        // The directory is at the end: move what lies before it out of reach instead.
        for (std::size_t keep = 8; keep + 400 < file.size(); keep += 97) {
            std::vector<std::byte> cut(file.begin(), file.begin() + static_cast<long>(keep));
            const auto rows = decodeRows(cut);
            ASSERT_FALSE(rows);
            ASSERT_EQ(rows.error(), ImageIOError::unreadable());
        }
    }
}

} // namespace ombrel::test
