#include "IO/DecodedRows.h"
#include "IO/JpegFiles.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>
#include <webp/encode.h>
#include <webp/mux.h>

namespace ombrel::test {

namespace {

constexpr int width = 70;
constexpr int height = 54;

std::uint8_t smooth(int x, int y, int channel) {
    return static_cast<std::uint8_t>(channel == 3 ? 100 + x : 30 + x + y + channel * 20);
}

std::vector<std::uint8_t> picture(int channels) {
    std::vector<std::uint8_t> samples;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            for (int c = 0; c < channels; ++c)
                samples.push_back(smooth(x, y, c));
        }
    }
    return samples;
}

std::vector<std::byte> adopt(std::uint8_t* data, std::size_t size) {
    const auto* bytes = reinterpret_cast<const std::byte*>(data);
    std::vector<std::byte> file(bytes, bytes + size);
    WebPFree(data);
    return file;
}

std::vector<std::byte> encode(int channels, bool isLossless) {
    const auto samples = picture(channels);
    std::uint8_t* data = nullptr;
    const int stride = width * channels;
    const std::size_t size =
        channels == 4
            ? (isLossless ? WebPEncodeLosslessRGBA(samples.data(), width, height, stride, &data)
                          : WebPEncodeRGBA(samples.data(), width, height, stride, 98, &data))
            : (isLossless ? WebPEncodeLosslessRGB(samples.data(), width, height, stride, &data)
                          : WebPEncodeRGB(samples.data(), width, height, stride, 98, &data));
    return adopt(data, size);
}

WebPData dataOf(std::span<const std::byte> bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

std::vector<std::byte> assemble(WebPMux* mux) {
    WebPData assembled = {};
    EXPECT_EQ(WebPMuxAssemble(mux, &assembled), WEBP_MUX_OK);
    WebPMuxDelete(mux);
    return adopt(const_cast<std::uint8_t*>(assembled.bytes), assembled.size);
}

} // namespace

TEST(WebpDecoder, readsLossyAndLosslessWithAndWithoutAlpha) {
    for (const bool isLossless : {false, true}) {
        for (const int channels : {3, 4}) {
            const auto rows = decodeRows(encode(channels, isLossless));
            ASSERT_TRUE(rows);
            ASSERT_EQ(rows->description.size, (PixelSize{width, height}));
            ASSERT_EQ(rows->description.layout.channelCount(), channels);
            for (int y = 0; y < height; ++y) {
                for (int x = 0; x < width; ++x) {
                    for (int c = 0; c < channels; ++c)
                        ASSERT_NEAR(rows->at<std::uint8_t>(x, y, c), smooth(x, y, c),
                                    isLossless ? 0 : 12);
                }
            }
        }
    }
}

TEST(WebpDecoder, readsFilesThatTheDecoderIsFedInManySteps) {
    // Noise: two megabytes, whose first rows need more than the first step.
    constexpr int side = 720;
    std::mt19937 random(5);
    std::vector<std::uint8_t> samples(std::size_t{side} * side * 4);
    std::ranges::generate(samples, [&] { return static_cast<std::uint8_t>(random() >> 8 | 1); });
    for (const bool isLossless : {true, false}) {
        std::uint8_t* data = nullptr;
        const std::size_t size =
            isLossless ? WebPEncodeLosslessRGBA(samples.data(), side, side, side * 4, &data)
                       : WebPEncodeRGBA(samples.data(), side, side, side * 4, 100, &data);
        const auto rows = decodeRows(adopt(data, size));
        ASSERT_TRUE(rows);
        ASSERT_EQ(rows->samples.size(), samples.size());
        if (!isLossless) continue;
        ASSERT_TRUE(std::ranges::equal(std::as_bytes(std::span(samples)), rows->samples));
    }
}

TEST(WebpDecoder, readsProfileOrientationAndResolution) {
    const auto file = encode(3, true);
    const auto exif = makeExif(true, 5, 150, 2);
    const std::vector<std::byte> profile(321, std::byte{9});
    const WebPData fileData = dataOf(file);
    const WebPData exifData = dataOf(exif);
    const WebPData profileData = dataOf(profile);
    WebPMux* mux = WebPMuxCreate(&fileData, 1);
    WebPMuxSetChunk(mux, "EXIF", &exifData, 1);
    WebPMuxSetChunk(mux, "ICCP", &profileData, 1);
    const auto rows = decodeRows(assemble(mux));
    ASSERT_TRUE(rows);
    EXPECT_EQ(rows->description.orientation, 5);
    EXPECT_EQ(rows->description.resolution, 150);
    EXPECT_EQ(rows->description.iccData, profile);
}

TEST(WebpDecoder, showsTheFirstFrameOfAnAnimationOnItsCanvas) {
    const auto file = encode(3, true);
    WebPMux* mux = WebPMuxNew();
    WebPMuxSetCanvasSize(mux, width + 40, height + 20);
    const WebPMuxAnimParams parameters{0xFFFFFFFF, 0};
    WebPMuxSetAnimationParams(mux, &parameters);
    for (const int offset : {10, 20}) {
        WebPMuxFrameInfo frame = {};
        frame.bitstream = dataOf(file);
        frame.id = WEBP_CHUNK_ANMF;
        frame.x_offset = offset;
        frame.y_offset = offset;
        frame.duration = 100;
        ASSERT_EQ(WebPMuxPushFrame(mux, &frame, 1), WEBP_MUX_OK);
    }
    const auto rows = decodeRows(assemble(mux));
    ASSERT_TRUE(rows);
    ASSERT_EQ(rows->description.size, (PixelSize{width + 40, height + 20}));
    ASSERT_EQ(rows->description.layout.alpha, AlphaKind::straight);
    for (int y = 0; y < height + 20; ++y) {
        for (int x = 0; x < width + 40; ++x) {
            const bool isInside = x >= 10 && y >= 10 && x < width + 10 && y < height + 10;
            ASSERT_EQ(rows->at<std::uint8_t>(x, y, 3), isInside ? 255 : 0);
            if (!isInside) continue;
            ASSERT_EQ(rows->at<std::uint8_t>(x, y, 1), smooth(x - 10, y - 10, 1));
        }
    }
}

TEST(WebpDecoder, refusesFilesCutAnywhere) {
    for (const bool isLossless : {false, true}) {
        const auto file = encode(4, isLossless);
        for (std::size_t keep = 0; keep + 1 < file.size(); ++keep)
            ASSERT_FALSE(decodeRows(std::span(file).first(keep))) << keep;
    }
}

} // namespace ombrel::test
