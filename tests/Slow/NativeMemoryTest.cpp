// What a process needs to open and to save a large document: the file's size, and little more.
#include "IO/Native/NativeFile.h"
#include "TestSeed.h"
#include "support/HelperProcess.h"
#include "support/TemporaryFolder.h"
#include "support/TestStore.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <random>

namespace ombrel {
namespace {

namespace fs = std::filesystem;

/// As no decoder will ever take them: opening and saving must not decode.
TileBlob anyBlob(std::mt19937_64& random, std::size_t size) {
    TileBlob blob(size);
    for (std::byte& each : blob)
        each = static_cast<std::byte>(random());
    blob[0] = std::byte{1};
    return blob;
}

Board boardOfBlobs(std::int64_t count, std::size_t blobSize, TileStore& store) {
    std::mt19937_64 random(testSeed());
    const TileBlob blob = anyBlob(random, blobSize);
    PixelLayer layer = PixelLayer::named("Layer");
    for (std::int64_t i = 0; i < count; ++i)
        layer.pixels.set(TileCoord::checked(i % 400, i / 400),
                         store.makeTile(blob, TileFormat::rgba16Float));
    DocumentState state;
    state.activeLayerID = layer.id; // where there is none, reading chooses one
    state.root.write().children.emplace_back(std::move(layer));
    return Board(std::move(state), "Blobs");
}

TEST(NativeMemory, openingAndSavingTakeTheSizeOfTheFileAndLittleMore) {
    const test::TemporaryFolder folder;
    if (fs::space(folder.path()).available < 3'000'000'000u)
        GTEST_SKIP() << "needs 3 GB in " << folder.path().parent_path();
    constexpr std::int64_t allowance = 300'000; // kB
    const auto store =
        TileStore::create({std::int64_t{1} << 40, std::int64_t{1} << 40, 0}, TileStore::Services{});
    ASSERT_TRUE(saveNative(boardOfBlobs(100'000, 10'000, *store), folder / "a.ombrel"));
    const auto size = static_cast<std::int64_t>(fs::file_size(folder / "a.ombrel")) / 1024;
    test::HelperProcess process({"resave", folder / "a.ombrel", folder / "b.ombrel"});
    const std::string opened = process.line();
    const std::string saved = process.line();
    ASSERT_EQ(process.wait(), 0);
    std::printf("file: %lld kB, peak after opening: %s, after saving: %s\n",
                static_cast<long long>(size), opened.c_str(), saved.c_str());
    EXPECT_EQ(fs::file_size(folder / "b.ombrel"), fs::file_size(folder / "a.ombrel"));
    EXPECT_LT(std::stoll(opened), size + allowance);
    EXPECT_LT(std::stoll(saved), size + allowance);
}

} // namespace
} // namespace ombrel
