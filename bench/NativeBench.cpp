// Native documents in the file system: a board of 100,000 cells whose blobs are 1 GB together
// (Native/open, Native/save), and manifests of a million cells read from memory (Native/manifest).
// Beside opening, /read reads the same file by read(2) into fresh memory; beside saving, /write
// writes the same bytes by write(2), syncs and renames as a save does. The file was just written,
// so it is read from the page cache; /cold drops it from there before every iteration. Freed memory
// goes back to the system before every iteration of opening and reading: both begin with none.
// Everything lies in the temporary folder. Rates are bytes of the file a second.
#include "Base/Check.h"
#include "Core/TileStore.h"
#include "IO/Native/NativeFile.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <vector>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

namespace ombrel {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t plenty = std::int64_t{1} << 40;
constexpr std::size_t ioSize = std::size_t{1} << 20;

std::shared_ptr<TileStore> makeStore() {
    return TileStore::create({plenty, plenty, 0}, TileStore::Services{});
}

/// Blobs of tiles that are blank but for `noise` pixels in their midst.
std::vector<TileBlob> blobsOf(TileFormat format, std::size_t noise, std::size_t count) {
    std::mt19937_64 random(1);
    std::vector<TileBlob> blobs;
    std::vector<std::byte> pixels(bytesPerTile(format));
    for (std::size_t i = 0; i < count; ++i) {
        std::ranges::fill(pixels, std::byte{0});
        for (std::size_t at = pixels.size() / 2; at < pixels.size() / 2 + noise * 8; at += 8) {
            const std::uint64_t pixel = random() & 0x3BFF3BFF3BFF3BFF; // finite, 0 to 1
            std::memcpy(pixels.data() + at, &pixel, sizeof(pixel));
        }
        blobs.push_back(TileCompression::encode(pixels, format));
    }
    return blobs;
}

using CellAt = std::function<TileContent(std::int64_t index)>;

/// Layers of 100 x 100 cells, or of masks where the tiles are coverage.
Board boardOf(std::int64_t cells, TileFormat format, const CellAt& cellAt) {
    constexpr std::int64_t side = 100;
    DocumentState state;
    state.canvas.size = {side * tileSize, side * tileSize};
    for (std::int64_t first = 0; first < cells; first += side * side) {
        TileGrid grid(format);
        for (std::int64_t i = 0; i < side * side; ++i)
            grid.set(TileCoord::checked(i % side, i / side), cellAt(first + i));
        PixelLayer layer = PixelLayer::named("Layer");
        if (format == TileFormat::r8) {
            layer.mask.emplace().pixels = std::move(grid);
        } else {
            layer.pixels = std::move(grid);
        }
        state.root.write().children.emplace_back(std::move(layer));
    }
    return Board(std::move(state), "Bench");
}

/// The document of 1 GB and its file, which goes with the process.
class LargeDocument {
public:
    static const LargeDocument& shared() {
        static const LargeDocument document;
        return document;
    }
    const fs::path& path() const { return path_; }
    const Board& board() const { return *board_; }
    std::uint64_t fileSize() const { return fs::file_size(path_); }

    ~LargeDocument() { fs::remove_all(folder_); }
    LargeDocument(const LargeDocument&) = delete;
    LargeDocument& operator=(const LargeDocument&) = delete;

private:
    LargeDocument() {
        std::string name = fs::temp_directory_path() / "OmbrelBenchXXXXXX";
        OMBREL_CHECK(::mkdtemp(name.data()) != nullptr, "the temporary folder can be written to");
        folder_ = name;
        path_ = folder_ / "large.ombrel";
        constexpr TileFormat format = TileFormat::rgba16Float;
        const std::vector<TileBlob> blobs = blobsOf(format, 1060, 256);
        board_ = boardOf(100'000, format, [&](std::int64_t i) {
            return store_->makeTile(blobs[static_cast<std::size_t>(i) % blobs.size()], format);
        });
        OMBREL_CHECK(saveNative(*board_, path_), "there is room for the document");
    }

    fs::path folder_;
    fs::path path_;
    std::shared_ptr<TileStore> store_ = makeStore();
    std::optional<Board> board_;
};

/// What is in the page cache is on the disk already: saves sync.
void dropFromCache(const fs::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ::posix_fadvise(descriptor, 0, 0, POSIX_FADV_DONTNEED);
    ::close(descriptor);
}

enum class Cache { warm, cold };

void setBytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(LargeDocument::shared().fileSize()));
}

void open(benchmark::State& state, Cache cache) {
    const LargeDocument& document = LargeDocument::shared();
    for (auto _ : state) {
        state.PauseTiming();
        if (cache == Cache::cold) dropFromCache(document.path());
        auto store = makeStore();
        state.ResumeTiming();
        auto board = openNative(document.path(), *store);
        state.PauseTiming();
        OMBREL_CHECK(board, "what was saved opens");
        board = std::unexpected(NativeFormat::Error{}); // not timed
        store.reset();
        ::malloc_trim(0);
        state.ResumeTiming();
    }
    setBytes(state);
}

/// All of the file in memory of its own.
std::unique_ptr<std::byte[]> bytesOf(const LargeDocument& document) {
    const std::uint64_t size = document.fileSize();
    auto bytes = std::make_unique_for_overwrite<std::byte[]>(size);
    const int descriptor = ::open(document.path().c_str(), O_RDONLY | O_CLOEXEC);
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = ::read(descriptor, bytes.get() + done, std::min(ioSize, size - done));
        OMBREL_CHECK(count > 0, "the file can be read");
        done += static_cast<std::size_t>(count);
    }
    ::close(descriptor);
    return bytes;
}

void read(benchmark::State& state, Cache cache) {
    const LargeDocument& document = LargeDocument::shared();
    for (auto _ : state) {
        state.PauseTiming();
        if (cache == Cache::cold) dropFromCache(document.path());
        state.ResumeTiming();
        auto bytes = bytesOf(document);
        state.PauseTiming();
        benchmark::DoNotOptimize(bytes.get());
        bytes.reset();
        state.ResumeTiming();
    }
    setBytes(state);
}

void save(benchmark::State& state) {
    const LargeDocument& document = LargeDocument::shared();
    const fs::path path = document.path().parent_path() / "saved.ombrel";
    for (auto _ : state)
        OMBREL_CHECK(saveNative(document.board(), path), "there is room for the document");
    setBytes(state);
}

void write(benchmark::State& state) {
    const LargeDocument& document = LargeDocument::shared();
    const fs::path path = document.path().parent_path() / "written";
    const std::uint64_t size = document.fileSize();
    const auto bytes = bytesOf(document);
    for (auto _ : state) {
        const fs::path temporary = path.native() + ".tmp";
        const int descriptor =
            ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        for (std::size_t done = 0; done < size;) {
            const ssize_t count =
                ::write(descriptor, bytes.get() + done, std::min(ioSize, size - done));
            OMBREL_CHECK(count > 0, "there is room for the file");
            done += static_cast<std::size_t>(count);
        }
        OMBREL_CHECK(::fsync(descriptor) == 0, "the file reaches the disk");
        ::close(descriptor);
        fs::rename(temporary, path);
    }
    setBytes(state);
}

void parse(benchmark::State& state, TileFormat format, const CellAt& cellAt,
           const std::shared_ptr<TileStore>& store) {
    constexpr std::int64_t cells = 1'000'000;
    const std::vector<std::byte> file = NativeFormat::write(boardOf(cells, format, cellAt));
    for (auto _ : state) {
        auto board = NativeFormat::readBoard(file, *store);
        state.PauseTiming();
        OMBREL_CHECK(board, "what was written is read");
        board = std::unexpected(NativeFormat::Error{}); // not timed
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * cells);
    state.counters["fileMB"] = static_cast<double>(file.size()) / 1e6;
}

void parseColors(benchmark::State& state) {
    parse(
        state, TileFormat::rgba16Float,
        [](std::int64_t i) {
            const auto light = static_cast<float>(i % 997) / 996;
            return PremultipliedColor{light, 0.5f * light, 1 - light, 1};
        },
        makeStore());
}

/// Each of 1000 tiles in 1000 cells.
void parseSharedTiles(benchmark::State& state) {
    const std::shared_ptr<TileStore> store = makeStore();
    constexpr TileFormat format = TileFormat::rgba16Float;
    std::vector<Tile> tiles;
    for (const TileBlob& blob : blobsOf(format, 1, 1000))
        tiles.push_back(store->makeTile(blob, format));
    parse(
        state, format,
        [&](std::int64_t i) { return tiles[static_cast<std::size_t>(i) % tiles.size()]; }, store);
}

/// A tile of its own in each cell.
void parseOwnTiles(benchmark::State& state) {
    const std::shared_ptr<TileStore> store = makeStore();
    constexpr TileFormat format = TileFormat::r8;
    const TileBlob blob = blobsOf(format, 1, 1).front();
    parse(state, format, [&](std::int64_t) { return store->makeTile(blob, format); }, store);
}

void inMilliseconds(benchmark::internal::Benchmark* each) {
    each->UseRealTime()->Unit(benchmark::kMillisecond);
}

BENCHMARK_CAPTURE(open, warm, Cache::warm)->Name("Native/open")->Apply(inMilliseconds);
BENCHMARK_CAPTURE(read, warm, Cache::warm)->Name("Native/open/read")->Apply(inMilliseconds);
BENCHMARK_CAPTURE(open, cold, Cache::cold)->Name("Native/open/cold")->Apply(inMilliseconds);
BENCHMARK_CAPTURE(read, cold, Cache::cold)->Name("Native/open/cold/read")->Apply(inMilliseconds);
BENCHMARK(save)->Name("Native/save")->Apply(inMilliseconds);
BENCHMARK(write)->Name("Native/save/write")->Apply(inMilliseconds);
BENCHMARK(parseColors)->Name("Native/manifest/colors")->Apply(inMilliseconds);
BENCHMARK(parseSharedTiles)->Name("Native/manifest/shared")->Apply(inMilliseconds);
BENCHMARK(parseOwnTiles)->Name("Native/manifest/own")->Apply(inMilliseconds);

} // namespace
} // namespace ombrel
