#include "IO/Native/NativeFormat.h"

#include "Core/Stored/DocumentForms.h"
#include "Core/TileCompression.h"
#include "Engine/Sampling.h"
#include "TestSeed.h"
#include "support/RandomBoard.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fmt/core.h>
#include <map>

namespace ombrel {
namespace {

using NativeFormat::Error;

std::span<const std::byte> bytesOf(const std::string& text) {
    return std::as_bytes(std::span(text));
}

/// A file with any manifest and any tile area.
std::string fileOf(std::string_view manifest, std::string_view tiles = {}) {
    std::string file = "TARNIVAL";
    file.append("\1\0\0\0\0\0\0\0", 8);
    for (int i = 0; i < 8; ++i)
        file += static_cast<char>(manifest.size() >> (8 * i));
    file += manifest;
    file += tiles;
    return file;
}

/// What reading a file fails with; empty where it does not.
std::string faultOf(const std::string& file) {
    const auto store = makeTestStore();
    const auto board = NativeFormat::readBoard(bytesOf(file), *store);
    EXPECT_TRUE(board || store->statistics().tileCount == 0) << "tiles outlive the failure";
    return board ? "" : board.error().text();
}

/// Compares two trees of layers that may hold other tiles: all values, every tile's bytes, and
/// that equal tiles of the one are equal tiles of the other.
class SameTrees {
public:
    void expect(const Board& one, const Board& other) {
        ASSERT_EQ(one.nodes.size(), other.nodes.size());
        EXPECT_EQ(one.activeNodeID, other.activeNodeID);
        for (std::size_t i = 0; i < one.nodes.size(); ++i) {
            EXPECT_EQ(one.nodes[i].id, other.nodes[i].id);
            EXPECT_EQ(one.nodes[i].name, other.nodes[i].name);
            expect(one.nodes[i].state, other.nodes[i].state);
        }
    }

private:
    void expect(const DocumentState& one, const DocumentState& other) {
        EXPECT_EQ(one.canvas, other.canvas);
        EXPECT_EQ(one.workPath, other.workPath);
        EXPECT_EQ(one.activeLayerID, other.activeLayerID);
        expectLayers(*one.root, *other.root);
    }
    void expectLayers(const GroupLayer& one, const GroupLayer& other) {
        EXPECT_EQ(one.id, other.id);
        EXPECT_EQ(one.properties, other.properties);
        expectMasks(one.mask, other.mask);
        ASSERT_EQ(one.children.size(), other.children.size());
        for (std::size_t i = 0; i < one.children.size(); ++i) {
            ASSERT_EQ(one.children[i].group() == nullptr, other.children[i].group() == nullptr);
            if (one.children[i].group() != nullptr) {
                expectLayers(*one.children[i].group(), *other.children[i].group());
            } else {
                expectLayers(*one.children[i].pixelLayer(), *other.children[i].pixelLayer());
            }
        }
    }
    void expectLayers(const PixelLayer& one, PixelLayer other) {
        expectGrids(one.pixels, other.pixels);
        expectMasks(one.mask, other.mask);
        other.pixels = one.pixels; // all else by value
        other.mask = one.mask;
        EXPECT_EQ(one, other);
    }
    void expectMasks(const std::optional<LayerMask>& one, std::optional<LayerMask> other) {
        ASSERT_EQ(one.has_value(), other.has_value());
        if (!one) return;
        expectGrids(one->pixels, other->pixels);
        other->pixels = one->pixels;
        EXPECT_EQ(one, other);
    }
    void expectGrids(const TileGrid& one, const TileGrid& other) {
        EXPECT_EQ(one.tileCount(), other.tileCount());
        one.forEach([&](TileCoord coord, const TileCell& cell) {
            const TileCell counterpart = other.cell(coord);
            if (cell.isSolid()) {
                EXPECT_EQ(cell, counterpart);
                return true;
            }
            EXPECT_TRUE(counterpart.isPixels());
            if (counterpart.isPixels()) expectTiles(cell.tile(), counterpart.tile());
            return true;
        });
    }
    void expectTiles(const Tile& one, const Tile& other) {
        const auto [known, isNew] = partners_.try_emplace(one.id(), other.id());
        EXPECT_EQ(known->second, other.id()) << "a shared tile is shared no more";
        if (!isNew) return;
        const TilePin a(one);
        const TilePin b(other);
        EXPECT_EQ(std::memcmp(a.bytes(), b.bytes(), bytesPerTile(one.format())), 0);
    }

    std::map<TileID, TileID> partners_;
};

TEST(NativeFormat, keepsRandomBoardsWithAllTheirValuesAndSharedTiles) {
    const std::uint64_t seed = testSeed();
    for (std::uint64_t round = 0; round < 40; ++round) {
        SCOPED_TRACE(seed + round);
        const auto store = makeTestStore();
        const Board board = RandomBoard(seed + round, *store).make();
        const std::vector<std::byte> file = NativeFormat::write(board);
        EXPECT_EQ(NativeFormat::write(board), file);

        const auto otherStore = makeTestStore();
        const auto read = NativeFormat::readBoard(file, *otherStore);
        ASSERT_TRUE(read) << read.error().text();
        EXPECT_EQ(otherStore->statistics().residentTiles, 0) << "reading decodes nothing";
        SameTrees().expect(board, *read);
        EXPECT_TRUE(NativeFormat::write(*read) == file) << "equal boards give equal bytes";
    }
}

TEST(NativeFormat, keepsNumbersThatJsonHasNoneFor) {
    const std::uint64_t seed = testSeed();
    for (std::uint64_t round = 0; round < 40; ++round) {
        SCOPED_TRACE(seed + round);
        const auto store = makeTestStore();
        // NaN is not equal to itself, so the files are compared.
        const auto file = NativeFormat::write(
            RandomBoard(seed + round, *store, RandomValues::Numbers::any).make());
        const auto read = NativeFormat::readBoard(file, *store);
        ASSERT_TRUE(read) << read.error().text();
        EXPECT_TRUE(NativeFormat::write(*read) == file);
    }
}

TEST(NativeFormat, storesMovedLayersAndMasksWhereTheyShow) {
    const auto store = makeTestStore();
    for (const float background : {0.0f, 1.0f}) {
        for (const PixelOffset offset : {PixelOffset{37, -300}, PixelOffset{-512, 256}}) {
            TestDocument document({512, 512}, store);
            document.layer("A").painted({0, 0, 300, 300}, [](std::int64_t x, std::int64_t y) {
                return PremultipliedColor{0.5f, static_cast<float>(x % 7) / 7,
                                          static_cast<float>(y % 5) / 5, 1};
            });
            DocumentState state = document.state();
            state.update(state.root->children[0].id(), [&](LayerNode& node) {
                PixelLayer& layer = *node.writePixelLayer();
                layer.offset = offset;
                LayerMask mask;
                mask.background = background;
                mask.offset = {offset.dy, offset.dx};
                mask.pixels.set({0, 0}, makeTestTile(*store, TileFormat::r8, 77));
                mask.pixels.set({1, 0}, PremultipliedColor{0, 0, 0, 1}); // hides, whatever is below
                layer.mask = mask;
            });
            const auto read = NativeFormat::read(NativeFormat::write(state), *store);
            ASSERT_TRUE(read);
            const PixelLayer& before = *state.root->children[0].pixelLayer();
            const PixelLayer& after = *read->root->children[0].pixelLayer();
            EXPECT_EQ(after.offset, PixelOffset{});
            for (std::int64_t y = -700; y < 700; y += 23) {
                for (std::int64_t x = -700; x < 700; x += 19) {
                    EXPECT_EQ(before.pixels.color(x - offset.dx, y - offset.dy),
                              after.pixels.color(x, y));
                    EXPECT_NEAR(maskValueAt(*before.mask, x, y), maskValueAt(*after.mask, x, y),
                                1e-6f)
                        << x << ", " << y;
                }
            }
        }
    }
}

constexpr std::string_view canvasText =
    R"("canvas":{"bitDepth":"eight","blendUsingGamma1":false,"profile":PROFILE,"resolution":72,)"
    R"("size":{"width":300,"height":200}})";

/// A version 1 manifest, the given text put in for the tiles of its one layer, and its tile table.
std::string manifestOf(std::string_view cells, std::string_view refs,
                       std::string_view version = "1") {
    std::string canvas(canvasText);
    const std::string profile = compactText(Stored::encode(ColorProfile::builtIn()[0]));
    canvas.replace(canvas.find("PROFILE"), 7, profile);
    const std::string properties =
        R"({"name":"P","isVisible":true,"locks":0,"opacity":1,"blendMode":"normal",)"
        R"("clipsToBelow":false})";
    const std::string layer = fmt::format(
        R"({{"pixel":{{"_0":{{"id":{{"rawValue":"11111111-2222-3333-4444-555555555555"}},)"
        R"("properties":{},"pixels":{{"format":"rgba16Float","tiles":[{}]}},"effects":[],)"
        R"("mask":{{"pixels":{{"format":"r8","tiles":[]}},"background":1,"isEnabled":true}}}}}}}})",
        properties, cells);
    return fmt::format(
        R"({{"app":"Anything","formatVersion":{},{},"root":{{"id":{{"rawValue":)"
        R"("99999999-2222-3333-4444-555555555555"}},"properties":{},"children":[{}]}},)"
        R"("tiles":[{}]}})",
        version, canvas, properties, layer, refs);
}

std::string blobOf(TileFormat format, std::byte value) {
    const std::vector<std::byte> bytes(bytesPerTile(format), value);
    const TileBlob blob = TileCompression::encode(bytes, format);
    return {reinterpret_cast<const char*>(blob.data()), blob.size()};
}

TEST(NativeFormat, readsTheFormWithoutNodesOfOlderFiles) {
    const std::string blob = blobOf(TileFormat::rgba16Float, std::byte{0x38});
    const std::string file = fileOf(
        manifestOf(
            R"({"x":0,"y":0,"tile":0},{"x":1,"y":0,"tile":0},{"x":2,"y":0},)"
            R"({"x":3,"y":0,"color":{"red":1,"green":0,"blue":0,"alpha":1}},)"
            R"({"x":0,"y":1,"tile":0,"color":{"red":1,"green":0,"blue":0,"alpha":1}},)"
            R"({"x":3,"y":0,"color":{"red":0,"green":"inf","blue":0,"alpha":1}})",
            fmt::format(R"({{"format":"rgba16Float","offset":0,"length":{}}})", blob.size())),
        blob);
    const auto store = makeTestStore();
    const auto board = NativeFormat::readBoard(bytesOf(file), *store);
    ASSERT_TRUE(board) << board.error().text();
    ASSERT_EQ(board->nodes.size(), 1u);
    EXPECT_EQ(board->activeNode().name, "Node 1");
    const DocumentState& state = board->activeNode().state;
    EXPECT_EQ(state.canvas.size, (PixelSize{300, 200}));
    const PixelLayer& layer = *state.activePixelLayer(); // the topmost one where none is named
    EXPECT_TRUE(layer.mask->isLinked);
    EXPECT_EQ(layer.pixels.tileCount(), 4);
    EXPECT_EQ(layer.pixels.cell({0, 0}), layer.pixels.cell({1, 0}));
    EXPECT_TRUE(layer.pixels.cell({0, 1}).isPixels()) << "a tile goes before a colour";
    EXPECT_EQ(layer.pixels.cell({3, 0}).color().green, HUGE_VALF) << "a later cell replaces";
    EXPECT_EQ(store->statistics().tileCount, 1);
}

TEST(NativeFormat, damagedFilesFailWithTheirWords) {
    const std::string blob = blobOf(TileFormat::rgba16Float, std::byte{1});
    const auto ref = [&](std::string_view text) { return fileOf(manifestOf("", text), blob); };
    const std::string whole =
        fmt::format(R"({{"format":"rgba16Float","offset":0,"length":{}}})", blob.size());
    const std::string plainTile(bytesPerTile(TileFormat::r8), '\0');
    const std::string notNative = "The file isn\u2019t a Ombrel document.";
    const std::string badTiles = "The document is damaged (tile data).";
    const std::string badReference = "The document is damaged (tile reference).";
    const struct {
        std::string file;
        std::string message; ///< or how it begins
    } cases[]{
        {"", notNative},
        {fileOf("").substr(0, 23), notNative},
        {"x" + fileOf("{}"), notNative},
        {fileOf(""), "The document is damaged (description: "},
        {fileOf("{}").substr(0, 25), "The document is damaged (description)."},
        {std::string("TARNIVAL\1\0\0\0\0\0\0\0", 16) + std::string(8, '\xFF'),
         "The document is damaged (description)."},
        {std::string("TARNIVAL\1\0\0\0\0\0\0\0", 16) + std::string(7, '\xFF') + '\x7F',
         "The document is damaged (description)."},
        {fileOf(R"({"formatVersion":4})"),
         "The document was saved by a newer version of Ombrel (format 4)."},
        {fileOf(R"({"formatVersion":3})"), "The document is damaged (description: "},
        {fileOf(R"({"formatVersion":3,"app":"A","tiles":[]})"),
         "The document is damaged (no nodes)."},
        {fileOf(R"({"formatVersion":3,"app":"A","tiles":[],"nodes":[]})"),
         "The document is damaged (no nodes)."},
        {fileOf(R"({"formatVersion":3,"app":"A","tiles":[],"nodes":[{}]})"),
         "The document is damaged (description: nodes[0]."},
        {ref(whole), ""},
        {ref(whole + "," + whole), ""},
        {ref(R"({"format":"rgba16Float","offset":-1,"length":9})"), badTiles},
        {ref(R"({"format":"rgba16Float","offset":0,"length":0})"), badTiles},
        {ref(R"({"format":"rgba16Float","offset":9223372036854775807,"length":9})"), badTiles},
        {ref(fmt::format(R"({{"format":"rgba16Float","offset":1,"length":{}}})", blob.size())),
         badTiles},
        {ref(R"({"format":"rgba16Float","offset":0,"length":1})"), badTiles},
        {fileOf(manifestOf("", R"({"format":"r8","offset":0,"length":65536})"), plainTile),
         badTiles},
        {fileOf(manifestOf("", R"({"format":"r8","offset":0,"length":65537})"), plainTile + "x"),
         ""},
        {fileOf(manifestOf(R"({"x":0,"y":0,"tile":1})", whole), blob), badReference},
        {fileOf(manifestOf(R"({"x":0,"y":0,"tile":-1})", whole), blob), badReference},
        {fileOf(manifestOf(R"({"x":0,"y":0,"tile":0})",
                           R"({"format":"r8","offset":0,"length":65537})"),
                plainTile + "x"),
         badReference},
        {fileOf(manifestOf(R"({"x":2147483648,"y":0})", "")),
         "The document is damaged (description: root.children[0].pixel._0.pixels.tiles[0].x: a "
         "whole number of 32 bits was expected)."},
        {fileOf(manifestOf(R"({"x":0,"y":0,"color":{"red":-1e300,"green":0,"blue":0,"alpha":1}})",
                           "")),
         "The document is damaged (description: root.children[0].pixel._0.pixels.tiles[0].color."
         "red: the number is out of range)."},
        {fileOf(manifestOf("", "", "true")), "The document is damaged (description: "},
    };
    for (const auto& [file, message] : cases) {
        const std::string fault = faultOf(file);
        EXPECT_TRUE(message.empty() ? fault.empty() : fault.starts_with(message))
            << fault << "\nwhere this was expected: " << message;
    }
}

TEST(NativeFormat, aTileThatDoesNotDecodeReadsAsNothingAndIsCounted) {
    const std::string blob = "\1bv41 and so on";
    const auto store = makeTestStore();
    const auto state = NativeFormat::read(
        bytesOf(
            fileOf(manifestOf(R"({"x":0,"y":0,"tile":0})",
                              fmt::format(R"({{"format":"rgba16Float","offset":0,"length":{}}})",
                                          blob.size())),
                   blob)),
        *store);
    ASSERT_TRUE(state) << state.error().text();
    EXPECT_EQ(state->activePixelLayer()->pixels.color(5, 5), PremultipliedColor{});
    EXPECT_EQ(store->damagedTileCount(), 1);
}

TEST(NativeFormat, anyDamageToAFileIsAnErrorOrADocument) {
    const std::uint64_t seed = testSeed();
    std::mt19937_64 random(seed);
    const auto store = makeTestStore();
    const std::vector<std::byte> file = NativeFormat::write(RandomBoard(seed, *store).make(2));
    for (int round = 0; round < 1500; ++round) {
        std::vector<std::byte> damaged = file;
        for (std::uint64_t count = 1 + random() % 4; count > 0; --count)
            damaged[random() % std::min<std::size_t>(damaged.size(), 20000)] =
                static_cast<std::byte>(random());
        if (random() % 4 == 0) damaged.resize(random() % damaged.size());
        const auto read = NativeFormat::readBoard(damaged, *store);
        if (read) static_cast<void>(NativeFormat::write(*read));
    }
}

TEST(NativeFormat, writingStopsWhereItIsCancelled) {
    const auto store = makeTestStore();
    const Board board = RandomBoard(3, *store).make();
    Progress progress;
    progress.cancel();
    MemorySink sink;
    EXPECT_EQ(NativeFormat::write(board, sink, &progress).error(),
              NativeFormat::WriteFault::cancelled);
}

} // namespace
} // namespace ombrel
