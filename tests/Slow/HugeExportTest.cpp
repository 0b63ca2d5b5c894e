// A document far larger than its memory budget becomes a file: 30000 x 30000 pixels of noise, 7.2
// GB of tiles with 512 MiB of them resident, merged and written while memory stays small. The file
// is read back whole by the format's own library.
#include "Core/DocumentState.h"
#include "Core/TileStore.h"
#include "Engine/CpuDevice.h"
#include "Engine/StateBands.h"
#include "IO/ImageExporter.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <tbb/parallel_for.h>

#include <chrono>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <mutex>

#include <png.h>
#include <tiffio.h>

namespace ombrel {
namespace {

namespace fs = std::filesystem;

constexpr PixelSize size{30000, 30000};
constexpr std::int64_t mebibyte = 1024 * 1024;
constexpr TileStore::Budget budget{512 * mebibyte, 256 * mebibyte, 64 * mebibyte};
constexpr std::int64_t largestPeak = 2560 * mebibyte;

std::uint32_t noiseAt(std::int64_t x, std::int64_t y) {
    std::uint32_t h =
        static_cast<std::uint32_t>(x) * 0x9E3779B1u ^ static_cast<std::uint32_t>(y) * 0x85EBCA77u;
    h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
    h = (h ^ (h >> 12)) * 0x297A2D39u;
    return h ^ (h >> 15);
}

/// Every channel full of noise: neither the store nor the file can make much of it small.
std::array<Half, 4> lowerPixel(std::int64_t x, std::int64_t y) {
    const std::uint32_t bits = noiseAt(x, y);
    const float alpha = static_cast<float>(64 + (bits >> 26) * 3) / 255.0f;
    return {toHalf(alpha * static_cast<float>(bits & 0x1FF) / 511.0f),
            toHalf(alpha * static_cast<float>((bits >> 9) & 0x1FF) / 511.0f),
            toHalf(alpha * static_cast<float>((bits >> 17) & 0x1FF) / 511.0f), toHalf(alpha)};
}

constexpr bool isCovered(TileCoord coord) {
    return (coord.x + coord.y) % 8 == 0;
}

Tile makeNoise(TileCoord coord, TileStore& store) {
    TileBuffer buffer = store.acquireBuffer(TileFormat::rgba16Float);
    std::byte* out = buffer.bytes();
    for (std::int64_t y = 0; y < tileSize; ++y) {
        for (std::int64_t x = 0; x < tileSize; ++x, out += 8) {
            const auto halves = lowerPixel(coord.x * tileSize + x, coord.y * tileSize + y);
            std::memcpy(out, halves.data(), sizeof(halves));
        }
    }
    return store.makeTile(std::move(buffer));
}

/// A lower layer of noise and an upper one that covers an eighth of the tiles with opaque red.
DocumentState makeDocument(TileStore& store) {
    DocumentState state;
    state.canvas.size = size;
    PixelLayer lower = PixelLayer::named("Noise");
    PixelLayer upper = PixelLayer::named("Patches");
    const TileRange range = PixelRect::ofSize(size).tileRange();
    std::mutex mutex;
    for (std::int64_t tileY = range.minY; tileY <= range.maxY; ++tileY) {
        tbb::parallel_for(range.minX, range.maxX + 1, [&](std::int64_t tileX) {
            const TileCoord coord = TileCoord::checked(tileX, tileY);
            const Tile tile = makeNoise(coord, store);
            const std::lock_guard lock(mutex);
            lower.pixels.set(coord, tile);
            if (isCovered(coord)) upper.pixels.set(coord, PremultipliedColor{1, 0, 0, 1});
        });
        store.keepPace();
    }
    state.insert({LayerNode(std::move(lower)), LayerNode(std::move(upper))}, std::nullopt, 0);
    return state;
}

/// The sample that must be in the file, by the sRGB formula in double.
int expectedSample(std::int64_t x, std::int64_t y, std::size_t channel) {
    if (isCovered(TileCoord::checked(x >> tileShift, y >> tileShift))) {
        return channel == 0 || channel == 3 ? 255 : 0;
    }
    const auto halves = lowerPixel(x, y);
    const auto alpha = static_cast<double>(toFloat(halves[3]));
    if (channel == 3) return static_cast<int>(std::lround(alpha * 255));
    const double linear = static_cast<double>(toFloat(halves[channel])) / alpha;
    const double encoded =
        linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
    return static_cast<int>(std::lround(std::min(encoded, 1.0) * 255));
}

class Judge {
public:
    void row(std::int64_t y, std::span<const std::uint8_t> samples) {
        for (std::int64_t x = y % 101; x < size.width; x += 101) {
            for (std::size_t channel = 0; channel < 4; ++channel) {
                const int found = samples[static_cast<std::size_t>(x) * 4 + channel];
                worst_ = std::max(worst_, std::abs(found - expectedSample(x, y, channel)));
            }
        }
        ++rows_;
    }
    int worst() const { return worst_; }
    std::int64_t rows() const { return rows_; }

private:
    int worst_ = 0;
    std::int64_t rows_ = 0;
};

void judgeTiff(const fs::path& path, Judge& judge) {
    TIFF* tiff = TIFFOpen(path.c_str(), "r");
    ASSERT_NE(tiff, nullptr);
    std::vector<std::uint8_t> row(static_cast<std::size_t>(size.width) * 4);
    ASSERT_EQ(TIFFScanlineSize(tiff), static_cast<tmsize_t>(row.size()));
    for (std::uint32_t y = 0; y < static_cast<std::uint32_t>(size.height); ++y) {
        ASSERT_EQ(TIFFReadScanline(tiff, row.data(), y), 1);
        judge.row(y, row);
    }
    TIFFClose(tiff);
}

void judgePng(const fs::path& path, Judge& judge) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    std::vector<std::uint8_t> row(static_cast<std::size_t>(size.width) * 4);
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    if (setjmp(png_jmpbuf(png)) != 0) {
        FAIL() << "libpng refused the file";
    }
    png_init_io(png, file);
    png_set_crc_action(png, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
    png_read_info(png, info);
    ASSERT_EQ(png_get_rowbytes(png, info), row.size());
    for (std::int64_t y = 0; y < size.height; ++y) {
        png_read_row(png, row.data(), nullptr);
        judge.row(y, row);
    }
    png_read_end(png, info);
    png_destroy_read_struct(&png, &info, nullptr);
    std::fclose(file);
}

std::int64_t peakBytes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return std::int64_t{usage.ru_maxrss} * 1024;
}

class HugeExport : public testing::TestWithParam<ImageFormat> {};

TEST_P(HugeExport, aDocumentBeyondItsBudgetIsWrittenInSmallMemory) {
    const test::TemporaryFolder folder;
    if (fs::space(folder.path()).available < 20ull * 1024 * 1024 * 1024) {
        GTEST_SKIP() << "needs 20 GiB in " << folder.path().parent_path();
    }
    using Clock = std::chrono::steady_clock;
    const auto seconds = [](Clock::duration d) { return std::chrono::duration<double>(d).count(); };

    const auto store = TileStore::create(budget, folder / "scratch");
    const auto start = Clock::now();
    const DocumentState state = makeDocument(*store);
    const TileStore::Statistics before = store->statistics();
    EXPECT_GT(before.spilledBytes, 3'000'000'000);
    const std::int64_t peakBefore = peakBytes();

    CpuDevice device;
    StateBands bands(state, device, *store);
    const fs::path path = folder / "huge";
    const auto exportStart = Clock::now();
    const auto outcome = ImageExporter::write(bands, GetParam(), {}, state.canvas, path);
    const auto exportEnd = Clock::now();
    ASSERT_TRUE(outcome.has_value()) << outcome.error().text();
    const std::int64_t peak = peakBytes();
    std::printf("made in %.1f s, peak %.0f MiB, %.2f GB spilled; exported in %.1f s, file %.2f GB, "
                "peak %.0f MiB\n",
                seconds(exportStart - start), static_cast<double>(peakBefore) / mebibyte,
                static_cast<double>(before.spilledBytes) / 1e9, seconds(exportEnd - exportStart),
                static_cast<double>(fs::file_size(path)) / 1e9,
                static_cast<double>(peak) / mebibyte);
    EXPECT_LT(peak, largestPeak);

    Judge judge;
    if (GetParam() == ImageFormat::png) {
        judgePng(path, judge);
    } else {
        judgeTiff(path, judge);
    }
    EXPECT_EQ(judge.rows(), size.height);
    EXPECT_LE(judge.worst(), 1);
}

INSTANTIATE_TEST_SUITE_P(Formats, HugeExport, testing::Values(ImageFormat::tiff, ImageFormat::png),
                         [](const auto& parameter) {
                             return std::string(traitsOf(parameter.param).name);
                         });

} // namespace
} // namespace ombrel
