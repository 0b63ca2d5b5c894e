// The codec of tiles beside bare liblz4 on the same planes, at the same acceleration, and beside a
// plain copy. Rates are bytes of uncompressed tiles a second, on one thread.
#include "Core/TileCompression.h"
#include "Core/TilePlanes.h"
#include "PhotoTiles.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <lz4.h>

namespace {

using namespace ombrel;
using Bytes = std::vector<std::byte>;

constexpr TileFormat format = TileFormat::rgba16Float;
constexpr std::size_t tileBytes = bytesPerTile(format);
constexpr std::size_t encodedRoom = tileBytes + tileBytes / 255 + 64;

void countTile(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(tileBytes));
}

std::vector<Bytes> planesOfTiles() {
    std::vector<Bytes> all;
    for (const Bytes& tile : bench::photoTiles()) {
        TilePlanes::split(tile, all.emplace_back(tileBytes));
    }
    return all;
}

std::size_t encodePlanes(const Bytes& planes, Bytes& encoded) {
    return static_cast<std::size_t>(
        LZ4_compress_fast(reinterpret_cast<const char*>(planes.data()),
                          reinterpret_cast<char*>(encoded.data()), static_cast<int>(tileBytes),
                          static_cast<int>(encoded.size()), TileCompression::lz4Acceleration));
}

void encode(benchmark::State& state) {
    const std::vector<Bytes>& tiles = bench::photoTiles();
    std::size_t i = 0;
    std::size_t encodedBytes = 0;
    for (auto _ : state) {
        const TileBlob blob = TileCompression::encode(tiles[i++ % tiles.size()], format);
        encodedBytes += blob.size();
        benchmark::DoNotOptimize(blob.data());
    }
    countTile(state);
    state.counters["ratio"] = static_cast<double>(tileBytes) *
                              static_cast<double>(state.iterations()) /
                              static_cast<double>(encodedBytes);
}
BENCHMARK(encode)->Name("Tile/encode");

void encodeWithLZ4(benchmark::State& state) {
    const std::vector<Bytes> planes = planesOfTiles();
    Bytes encoded(encodedRoom);
    std::size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(encodePlanes(planes[i++ % planes.size()], encoded));
    }
    countTile(state);
}
BENCHMARK(encodeWithLZ4)->Name("Tile/encode/liblz4");

void decode(benchmark::State& state) {
    std::vector<TileBlob> blobs;
    for (const Bytes& tile : bench::photoTiles()) {
        blobs.push_back(TileCompression::encode(tile, format));
    }
    Bytes bytes(tileBytes);
    std::size_t i = 0;
    for (auto _ : state) {
        if (!TileCompression::decode(blobs[i++ % blobs.size()], bytes, format)) {
            state.SkipWithError("a blob made here does not decode");
        }
        benchmark::DoNotOptimize(bytes.data());
    }
    countTile(state);
}
BENCHMARK(decode)->Name("Tile/decode");

void decodeWithLZ4(benchmark::State& state) {
    std::vector<Bytes> blobs;
    for (const Bytes& planes : planesOfTiles()) {
        Bytes& encoded = blobs.emplace_back(encodedRoom);
        encoded.resize(encodePlanes(planes, encoded));
    }
    Bytes planes(tileBytes);
    std::size_t i = 0;
    for (auto _ : state) {
        const Bytes& encoded = blobs[i++ % blobs.size()];
        benchmark::DoNotOptimize(LZ4_decompress_safe(
            reinterpret_cast<const char*>(encoded.data()), reinterpret_cast<char*>(planes.data()),
            static_cast<int>(encoded.size()), static_cast<int>(tileBytes)));
    }
    countTile(state);
}
BENCHMARK(decodeWithLZ4)->Name("Tile/decode/liblz4");

void copy(benchmark::State& state) {
    const std::vector<Bytes>& tiles = bench::photoTiles();
    Bytes bytes(tileBytes);
    std::size_t i = 0;
    for (auto _ : state) {
        std::memcpy(bytes.data(), tiles[i++ % tiles.size()].data(), tileBytes);
        benchmark::DoNotOptimize(bytes.data());
    }
    countTile(state);
}
BENCHMARK(copy)->Name("Tile/copy/memcpy");

template <void (*shuffle)(std::span<const std::byte>, std::span<std::byte>)>
void shufflePlanes(benchmark::State& state) {
    const std::vector<Bytes>& tiles = bench::photoTiles();
    Bytes bytes(tileBytes);
    std::size_t i = 0;
    for (auto _ : state) {
        shuffle(tiles[i++ % tiles.size()], bytes);
        benchmark::DoNotOptimize(bytes.data());
    }
    countTile(state);
}
BENCHMARK(shufflePlanes<TilePlanes::split>)->Name("Tile/splitPlanes");
BENCHMARK(shufflePlanes<TilePlanes::join>)->Name("Tile/joinPlanes");

} // namespace
