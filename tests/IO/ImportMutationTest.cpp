// Small valid files of every format, damaged at random: whatever comes of it, nothing may crash,
// leak or run away. Meant to run under the sanitizers as well.
#include "IO/DecodedRows.h"
#include "IO/JpegFiles.h"
#include "IO/PngFiles.h"
#include "IO/TiffFiles.h"
#include "TestSeed.h"
#include "support/StoredRows.h"

#include <random>
#include <string>

#include <gtest/gtest.h>
#include <webp/encode.h>

namespace ombrel::test {

namespace {

/// Larger pictures are opened but not read: they cost time and show nothing that small ones don't.
constexpr std::int64_t largestArea = 1 << 20;

using File = std::vector<std::byte>;

void open(ImageFormat format, const File& file) {
    const auto source = ByteSource::ofMemory(file);
    const auto decoder = codecOf(format).open(*source);
    if (!decoder) return;
    const ImageDescription& description = (*decoder)->description();
    const PixelSize size = description.size;
    ASSERT_FALSE(size.isEmpty());
    if (size.width * size.height > largestArea) return;
    const std::size_t rowBytes =
        static_cast<std::size_t>(size.width) * description.layout.bytesPerPixel();
    constexpr std::int64_t rowsPerCall = 16;
    File rows(rowBytes * rowsPerCall);
    for (std::int64_t y = 0; y < size.height; y += rowsPerCall) {
        const std::int64_t count = std::min(rowsPerCall, size.height - y);
        const std::size_t length = rowBytes * static_cast<std::size_t>(count);
        if (!(*decoder)->readRows(count, std::span(rows).first(length))) return;
    }
}

File damaged(File file, std::mt19937_64& random) {
    const auto below = [&](std::size_t limit) {
        return static_cast<std::size_t>(random() % limit);
    };
    switch (below(5)) {
    case 0: // cut
        file.resize(below(file.size()));
        break;
    case 1: { // a piece copied over another
        const std::size_t length = 1 + below(std::min<std::size_t>(file.size(), 64));
        const std::size_t from = below(file.size() - length + 1);
        const std::size_t to = below(file.size() - length + 1);
        std::memmove(file.data() + to, file.data() + from, length);
        break;
    }
    case 2: { // a piece left out
        const std::size_t begin = below(file.size());
        const std::size_t length = std::min<std::size_t>(1 + below(32), file.size() - begin);
        file.erase(file.begin() + static_cast<long>(begin),
                   file.begin() + static_cast<long>(begin + length));
        break;
    }
    default: { // bytes changed, often among the first, where the structure is
        const std::size_t reach =
            below(2) == 0 ? std::min<std::size_t>(file.size(), 400) : file.size();
        for (std::size_t count = 1 + below(8); count > 0; --count) {
            static constexpr std::byte extremes[] = {std::byte{0}, std::byte{0xFF}, std::byte{0x7F},
                                                     std::byte{0x80}};
            std::byte& byte = file[below(reach)];
            switch (below(3)) {
            case 0:
                byte = extremes[below(4)];
                break;
            case 1:
                byte ^= static_cast<std::byte>(1u << below(8));
                break;
            default:
                byte = static_cast<std::byte>(random());
                break;
            }
        }
        break;
    }
    }
    return file;
}

void damageManyTimes(ImageFormat format, const std::vector<File>& files, int rounds) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE("OMBREL_TEST_SEED=" + std::to_string(seed));
    std::mt19937_64 random(seed + static_cast<std::uint64_t>(format));
    for (const File& file : files) {
        ASSERT_FALSE(file.empty());
        open(format, file);
    }
    for (int round = 0; round < rounds; ++round) {
        File file = damaged(files[random() % files.size()], random);
        while (!file.empty() && random() % 3 == 0)
            file = damaged(std::move(file), random);
        open(format, file);
        if (testing::Test::HasFatalFailure()) return;
    }
}

std::uint8_t pattern(std::uint32_t x, std::uint32_t y, int channel) {
    return static_cast<std::uint8_t>((x * 7 + y * 11 + static_cast<std::uint32_t>(channel) * 50) ^
                                     (x * y >> 3));
}

/// Written by our own encoder, in a layout it takes.
File encoded(ImageFormat format, SampleLayout layout) {
    const PixelSize size{48, 40};
    File samples;
    for (std::uint32_t y = 0; y < 40; ++y) {
        for (std::uint32_t x = 0; x < 48; ++x) {
            for (int c = 0; c < layout.channelCount(); ++c)
                samples.push_back(static_cast<std::byte>(pattern(x, y, c)));
        }
    }
    class Sink final : public ByteSink {
    public:
        std::uint64_t size() const override { return bytes.size(); }
        bool writeAt(std::uint64_t offset, std::span<const std::byte> data) override {
            if (bytes.size() < offset + data.size()) bytes.resize(offset + data.size());
            std::ranges::copy(data, bytes.begin() + static_cast<long>(offset));
            return true;
        }
        std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) override {
            return ByteSource::ofMemory(bytes)->readAt(offset, out);
        }
        File bytes;
    };
    Sink sink;
    StoredRows rows(samples, 48u * layout.bytesPerPixel());
    const ImageEncodeRequest request{.size = size, .layout = layout, .iccData = {}};
    EXPECT_TRUE(codecOf(format).encode(request, rows, sink));
    return sink.bytes;
}

constexpr SampleLayout rgba{.alpha = AlphaKind::straight};

} // namespace

TEST(ImportMutation, damagedPngFilesAreHarmless) {
    std::vector<File> files;
    for (const int colorType : {PNG_COLOR_TYPE_GRAY, PNG_COLOR_TYPE_RGB_ALPHA}) {
        for (const bool isInterlaced : {false, true}) {
            PngRecipe recipe;
            recipe.colorType = colorType;
            recipe.isInterlaced = isInterlaced;
            files.push_back(makePng(recipe, pattern));
            files.push_back(withChunkAfter(files.back(), "IHDR", "eXIf", makeExif(true, 6, 72, 2)));
        }
    }
    damageManyTimes(ImageFormat::png, files, 4000);
}

TEST(ImportMutation, damagedJpegFilesAreHarmless) {
    std::vector<File> files;
    for (const int components : {1, 3, 4}) {
        for (const bool isProgressive : {false, true}) {
            JpegRecipe recipe;
            recipe.components = components;
            recipe.isProgressive = isProgressive;
            recipe.isArithmetic = components == 1;
            recipe.across = 2;
            recipe.exif = makeExif(false, 3, 100, 2);
            files.push_back(makeJpeg(recipe, pattern));
        }
    }
    damageManyTimes(ImageFormat::jpeg, files, 3000);
}

TEST(ImportMutation, damagedTiffFilesAreHarmless) {
    std::vector<File> files;
    for (const int compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE,
                                  COMPRESSION_PACKBITS, COMPRESSION_JPEG, COMPRESSION_ZSTD}) {
        for (const std::uint32_t tile : {0u, 16u}) {
            for (const int planar : {PLANARCONFIG_CONTIG, PLANARCONFIG_SEPARATE}) {
                TiffRecipe recipe;
                recipe.samples = 3;
                recipe.photometric = PHOTOMETRIC_RGB;
                recipe.compression = compression;
                recipe.tile = tile;
                recipe.planar = planar;
                recipe.rowsPerStrip = 16;
                recipe.mode = tile > 0 ? "wb8" : "wl";
                files.push_back(makeTiff(recipe, pattern));
            }
        }
    }
    TiffRecipe chroma;
    chroma.samples = 3;
    chroma.photometric = PHOTOMETRIC_YCBCR;
    chroma.tags = [](TIFF* tiff) { TIFFSetField(tiff, TIFFTAG_YCBCRSUBSAMPLING, 2, 2); };
    files.push_back(makeTiffOfSegments(chroma, 4, [](std::uint32_t strip) {
        return std::vector<std::uint8_t>(19u * 6 * (strip == 3 ? 3 : 4), 90);
    }));
    TiffRecipe fax;
    fax.bits = 1;
    fax.compression = COMPRESSION_CCITTFAX4;
    files.push_back(makeTiff(fax, [](std::uint32_t x, std::uint32_t y, int) {
        return std::uint64_t{(x / 3 + y / 5) & 1u};
    }));
    damageManyTimes(ImageFormat::tiff, files, 8000);
}

TEST(ImportMutation, damagedWebpFilesAreHarmless) {
    std::vector<std::uint8_t> samples;
    for (std::uint32_t y = 0; y < 40; ++y) {
        for (std::uint32_t x = 0; x < 48; ++x) {
            for (int c = 0; c < 4; ++c)
                samples.push_back(pattern(x, y, c));
        }
    }
    std::uint8_t* data = nullptr;
    const std::size_t size = WebPEncodeRGBA(samples.data(), 48, 40, 48 * 4, 80, &data);
    const auto* bytes = reinterpret_cast<const std::byte*>(data);
    const File lossy(bytes, bytes + size);
    WebPFree(data);
    damageManyTimes(ImageFormat::webp, {lossy, encoded(ImageFormat::webp, rgba)}, 3000);
}

TEST(ImportMutation, damagedHeicFilesAreHarmless) {
    if (!codecOf(ImageFormat::heic).canEncode()) GTEST_SKIP() << "no HEIC encoder";
    damageManyTimes(ImageFormat::heic, {encoded(ImageFormat::heic, rgba)}, 500);
}

} // namespace ombrel::test
