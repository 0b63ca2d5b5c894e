#include "Core/TileCompression.h"
#include "Core/TileStoreFakes.h"

#include "Base/Half.h"

#include <gtest/gtest.h>
#include <lz4.h>
#include <string_view>

namespace ombrel {
namespace {

using namespace testing;
using Bytes = TileBlob;

Bytes pattern(std::uint64_t seed, TileFormat format) {
    const std::vector<std::byte> bytes = patternBytes(seed, format);
    return {bytes.begin(), bytes.end()};
}

constexpr TileFormat formats[] = {TileFormat::rgba16Float, TileFormat::r8};

Bytes noise(std::uint64_t seed, TileFormat format) {
    Bytes bytes(bytesPerTile(format));
    TestRandom random(seed);
    for (std::byte& byte : bytes) {
        byte = static_cast<std::byte>(random.next() >> 56);
    }
    return bytes;
}

/// Halves of a smooth picture with a little grain.
Bytes picture(TileFormat format) {
    Bytes bytes(bytesPerTile(format));
    TestRandom random(3);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const float value =
            static_cast<float>(i % 2048) / 2048 + static_cast<float>(random.below(16)) / 4096;
        const Half half = toHalf(value);
        bytes[i] = static_cast<std::byte>(half.bits & 0xFF);
        bytes[i + 1] = static_cast<std::byte>(half.bits >> 8);
    }
    return bytes;
}

/// All low bytes, then all high bytes; of r8 the bytes as they are.
Bytes planesOf(const Bytes& bytes, TileFormat format) {
    const std::size_t stride = format == TileFormat::rgba16Float ? 2 : 1;
    const std::size_t length = bytes.size() / stride;
    Bytes planes(bytes.size());
    for (std::size_t lane = 0; lane < stride; ++lane) {
        for (std::size_t i = 0; i < length; ++i) {
            planes[lane * length + i] = bytes[i * stride + lane];
        }
    }
    return planes;
}

void append(Bytes& bytes, std::string_view text) {
    for (const char c : text) {
        bytes.push_back(static_cast<std::byte>(c));
    }
}
void append(Bytes& bytes, std::uint32_t word) {
    for (int i = 0; i < 4; ++i) {
        bytes.push_back(static_cast<std::byte>(word >> (8 * i)));
    }
}
void append(Bytes& bytes, std::span<const std::byte> more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
}
template <typename... Parts>
Bytes joined(const Parts&... parts) {
    Bytes bytes;
    (append(bytes, parts), ...);
    return bytes;
}

/// LZ4 blocks of `pieces` equal parts of the planes, each referring back to the earlier ones.
Bytes blockStream(const Bytes& planes, std::size_t pieces) {
    Bytes stream;
    LZ4_stream_t* const state = LZ4_createStream();
    const std::size_t length = planes.size() / pieces;
    Bytes encoded(static_cast<std::size_t>(LZ4_compressBound(static_cast<int>(length))));
    for (std::size_t start = 0; start < planes.size(); start += length) {
        const int size = LZ4_compress_fast_continue(
            state, reinterpret_cast<const char*>(planes.data() + start),
            reinterpret_cast<char*>(encoded.data()), static_cast<int>(length),
            static_cast<int>(encoded.size()), 1);
        append(stream, std::string_view("bv41"));
        append(stream, static_cast<std::uint32_t>(length));
        append(stream, static_cast<std::uint32_t>(size));
        append(stream, std::span<const std::byte>(encoded).first(static_cast<std::size_t>(size)));
    }
    LZ4_freeStream(state);
    return stream;
}

/// What a blob decodes to, or nothing when it is damaged. The blob is copied to a block of exactly
/// its size, so that the address sanitizer sees every read beyond it.
std::optional<Bytes> decoded(const Bytes& blob, TileFormat format) {
    const std::unique_ptr<std::byte[]> exact(new std::byte[blob.size()]);
    std::copy(blob.begin(), blob.end(), exact.get());
    Bytes bytes(bytesPerTile(format), std::byte{0xA5});
    if (!TileCompression::decode({exact.get(), blob.size()}, bytes, format)) return std::nullopt;
    return bytes;
}

TEST(TileCompression, everyTileComesBackExactly) {
    for (const TileFormat format : formats) {
        const Bytes contents[] = {Bytes(bytesPerTile(format)),
                                  Bytes(bytesPerTile(format), std::byte{0xFF}), noise(1, format),
                                  picture(format), pattern(2, format)};
        for (const Bytes& bytes : contents) {
            const TileBlob blob = TileCompression::encode(bytes, format);
            EXPECT_LE(blob.size(), bytes.size() + 1);
            EXPECT_EQ(decoded(blob, format), bytes);
            Bytes unchecked(bytes.size());
            TileCompression::decodeUnchecked(blob, unchecked, format);
            EXPECT_EQ(unchecked, bytes);
        }
    }
}

TEST(TileCompression, noiseIsStoredAsPlainPlanes) {
    for (const TileFormat format : formats) {
        const Bytes bytes = noise(5, format);
        EXPECT_EQ(TileCompression::encode(bytes, format),
                  joined(std::string_view("\0", 1), planesOf(bytes, format)));
    }
}

TEST(TileCompression, aPictureBecomesOneBlockAndTheEndMark) {
    for (const TileFormat format : formats) {
        const Bytes bytes = pattern(1, format);
        const TileBlob blob = TileCompression::encode(bytes, format);
        ASSERT_GT(blob.size(), 17u);
        const auto encoded = static_cast<std::uint32_t>(blob.size() - 17);
        const auto size = static_cast<std::uint32_t>(bytes.size());
        EXPECT_EQ(Bytes(blob.begin(), blob.begin() + 13),
                  joined(std::string_view("\1bv41"), size, encoded));
        EXPECT_EQ(Bytes(blob.end() - 4, blob.end()), joined(std::string_view("bv4$")));
        Bytes planes(bytes.size());
        ASSERT_EQ(LZ4_decompress_safe(reinterpret_cast<const char*>(blob.data() + 13),
                                      reinterpret_cast<char*>(planes.data()),
                                      static_cast<int>(encoded), static_cast<int>(size)),
                  static_cast<int>(size));
        EXPECT_EQ(planes, planesOf(bytes, format));
    }
}

TEST(TileCompression, streamsOfManyBlocksAreRead) {
    for (const TileFormat format : formats) {
        const Bytes bytes = pattern(9, format);
        const Bytes planes = planesOf(bytes, format);
        const std::span<const std::byte> all(planes);
        const std::size_t half = planes.size() / 2;
        const auto halfSize = static_cast<std::uint32_t>(half);
        const Bytes secondHalf(planes.begin() + static_cast<long>(half), planes.end());
        const Bytes streams[] = {blockStream(planes, 1), blockStream(planes, 2),
                                 blockStream(planes, 64),
                                 joined(std::string_view("bv4-"), halfSize, all.first(half),
                                        std::string_view("bv4-"), halfSize, all.subspan(half)),
                                 joined(std::string_view("bv4-"), halfSize, all.first(half),
                                        blockStream(secondHalf, 4))};
        for (const Bytes& stream : streams) {
            const Bytes blob = joined(std::string_view("\1"), stream, std::string_view("bv4$"));
            EXPECT_EQ(decoded(blob, format), bytes);
            EXPECT_EQ(decoded(joined(blob, std::string_view("more")), format), bytes);
        }
    }
}

TEST(TileCompression, everyDamagedBlobIsToldFromATile) {
    const TileFormat format = TileFormat::r8;
    const auto size = static_cast<std::uint32_t>(bytesPerTile(format));
    const Bytes bytes = pattern(4, format);
    const Bytes stream = blockStream(bytes, 1);
    const std::string_view lz4("\1"), end("bv4$"), block("bv41"), plain("bv4-");
    const std::span<const std::byte> encoded = std::span(stream).subspan(12);
    const auto encodedSize = static_cast<std::uint32_t>(encoded.size());
    ASSERT_TRUE(decoded(joined(lz4, block, size, encodedSize, encoded, end), format));
    const std::span<const std::byte> all(bytes);
    // A match at distance 1 with nothing before it; 65536 literals and then such a match.
    const Bytes reachesBack = joined(std::string_view("\x0F\x01\x00\xFF", 4), Bytes(8));
    const struct {
        const char* what;
        Bytes blob;
    } cases[] = {
        {"nothing", {}},
        {"a header alone, plain", joined(std::string_view("\0", 1))},
        {"a header alone, LZ4", joined(lz4)},
        {"an unknown header", joined(std::string_view("\2"), all)},
        {"the highest header", joined(std::string_view("\xFF"), all)},
        {"a plain tile short of one byte", joined(std::string_view("\0", 1), all.first(65535))},
        {"no end mark", joined(lz4, stream)},
        {"half an end mark", joined(lz4, stream, std::string_view("bv"))},
        {"only the end mark", joined(lz4, end)},
        {"an unknown mark", joined(lz4, std::string_view("bv42"), stream, end)},
        {"an unknown mark at the end", joined(lz4, stream, std::string_view("bv4%"))},
        {"a mark without sizes", joined(lz4, block)},
        {"a mark with half its sizes", joined(lz4, block, size, std::string_view("\1\0", 2))},
        {"a plain mark without size", joined(lz4, plain)},
        {"a block longer than the blob", joined(lz4, block, size, encodedSize + 5, encoded, end)},
        {"a block of all the bytes there are", joined(lz4, block, size, 0xFFFFFFFFu, encoded)},
        {"a cut block",
         joined(lz4, block, size, encodedSize - 9, encoded.first(encodedSize - 9), end)},
        {"an empty block for a tile", joined(lz4, block, size, 0u, end)},
        {"more than a tile", joined(lz4, stream, plain, 1u, all.first(1), end)},
        {"far more than a tile", joined(lz4, block, 0xFFFFFFFFu, encodedSize, encoded, end)},
        {"a size that is negative as an int",
         joined(lz4, block, 0x80000000u, encodedSize, encoded)},
        {"one byte more than a tile", joined(lz4, block, size + 1, encodedSize, encoded, end)},
        {"one byte less than a tile", joined(lz4, block, size - 1, encodedSize, encoded, end)},
        {"a size that lies", joined(lz4, block, size, 2u, std::string_view("\x10\x41"), end)},
        {"a short stream", joined(lz4, plain, 65535u, all.first(65535), end)},
        {"a plain block longer than the blob", joined(lz4, plain, size, all.first(65535))},
        {"a plain block longer than a tile", joined(lz4, plain, size + 1, all, all)},
        {"a match before the start", joined(lz4, block, size, 12u, reachesBack, end)},
        {"a match before the start, later",
         joined(lz4, plain, 4u, all.first(4), block, size - 4, 12u, reachesBack, end)},
        {"a tile of the other format",
         TileCompression::encode(pattern(4, TileFormat::rgba16Float), TileFormat::rgba16Float)},
    };
    for (const auto& [what, blob] : cases) {
        EXPECT_EQ(decoded(blob, format), std::nullopt) << what;
    }
    EXPECT_EQ(decoded(TileCompression::encode(bytes, format), TileFormat::rgba16Float),
              std::nullopt);
}

TEST(TileCompression, blobsWithRandomDamageNeverReadBeyondThemselves) {
    TestRandom random(testSeed(11));
    for (const TileFormat format : formats) {
        const Bytes bytes = pattern(6, format);
        const Bytes planes = planesOf(bytes, format);
        const Bytes sound[] = {
            TileCompression::encode(bytes, format),
            joined(std::string_view("\1"), blockStream(planes, 16), std::string_view("bv4$"))};
        for (int round = 0; round < 400; ++round) {
            Bytes blob = sound[random.below(2)];
            if (random.below(4) == 0) blob.resize(random.below(blob.size() + 1));
            for (std::uint64_t i = random.below(4); i > 0 && !blob.empty(); --i) {
                // Headers and the first tokens are where damage leads furthest astray.
                const std::uint64_t reach = random.below(2) == 0 ? 40 : blob.size();
                blob[random.below(std::min<std::uint64_t>(reach, blob.size()))] ^=
                    static_cast<std::byte>(1 + random.below(255));
            }
            static_cast<void>(decoded(blob, format));
        }
    }
}

TEST(TileCompressionDeath, aBlobOfItsOwnThatDoesNotDecodeStopsTheProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Bytes bytes(bytesPerTile(TileFormat::r8));
    const Bytes damaged(17, std::byte{1});
    EXPECT_DEATH(TileCompression::decodeUnchecked(damaged, bytes, TileFormat::r8),
                 "a blob made here decodes");
}

} // namespace
} // namespace ombrel
