#include "Core/ScratchFile.h"
#include "Core/TileStoreFakes.h"

#include "Base/Uuid.h"
#include "Core/ScratchFolder.h"

#include <cerrno>
#include <csignal>
#include <fmt/format.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace ombrel {
namespace {

using namespace testing;

/// A directory of the test's own, removed at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory()
        : path_(std::filesystem::temp_directory_path() / ("ombrel-test-" + Uuid::make().text())) {}
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

TileBlob blobOf(std::size_t size, int value) {
    return TileBlob(size, static_cast<std::byte>(value));
}

TEST(ScratchFile, hasNoNameAndMakesItsDirectories) {
    const TemporaryDirectory directory;
    const auto file = ScratchFile::open(directory.path() / "a" / "b");
    ASSERT_TRUE(file);
    EXPECT_TRUE(std::filesystem::is_empty(directory.path() / "a" / "b"));
    const std::string name = (*file)->path().filename().string();
    const std::string before = fmt::format("tiles-{}-", getpid());
    ASSERT_TRUE(name.starts_with(before) && name.ends_with(".scratch")) << name;
    const std::string uuid = name.substr(before.size(), name.size() - before.size() - 8);
    ASSERT_TRUE(Uuid::parse(uuid)) << name;
    EXPECT_EQ(Uuid::parse(uuid)->text(), uuid) << "upper case";
}

TEST(ScratchFile, handsOutFromTheEndAndFallsToNothingWithTheLastExtent) {
    const TemporaryDirectory directory;
    const auto opened = ScratchFile::open(directory.path());
    ASSERT_TRUE(opened);
    ScratchFile& file = **opened;
    const auto first = file.write(blobOf(100, 1));
    const auto second = file.write(blobOf(50, 2));
    ASSERT_TRUE(first && second);
    EXPECT_EQ(*first, (ScratchFile::Extent{0, 100}));
    EXPECT_EQ(*second, (ScratchFile::Extent{100, 50}));
    file.release(*first);
    const auto third = file.write(blobOf(10, 3));
    ASSERT_TRUE(third);
    EXPECT_EQ(third->offset, 150) << "the hole is not reused";
    EXPECT_EQ(file.read(*second), blobOf(50, 2));
    EXPECT_EQ(file.liveBytes(), 60);
    file.release(*third);
    file.release(*second);
    EXPECT_EQ(file.liveBytes(), 0);
    EXPECT_EQ(file.end(), 0);
    EXPECT_EQ(file.sizeOnDisk(), 0);
    EXPECT_FALSE(file.read(*second)) << "nothing is there any more";
    EXPECT_EQ(file.write(blobOf(7, 4)), (ScratchFile::Extent{0, 7}));
}

TEST(ScratchFile, tellsTheSystemsReasonWhereItCannotBeMade) {
    const TemporaryDirectory directory;
    std::filesystem::create_directories(directory.path());
    std::ofstream(directory.path() / "file") << "x";
    const auto opened = ScratchFile::open(directory.path() / "file" / "below");
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.error(), std::errc::not_a_directory);
}

TEST(ScratchFile, writersOnManyThreadsGetDisjointExtents) {
    const TemporaryDirectory directory;
    const auto opened = ScratchFile::open(directory.path());
    ASSERT_TRUE(opened);
    ScratchFile& file = **opened;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&file, thread] {
            std::vector<ScratchFile::Extent> extents;
            for (int i = 0; i < 200; ++i) {
                const auto extent = file.write(blobOf(1000 + static_cast<std::size_t>(i), thread));
                ASSERT_TRUE(extent);
                extents.push_back(*extent);
            }
            for (const ScratchFile::Extent& extent : extents) {
                ASSERT_EQ(file.read(extent),
                          blobOf(static_cast<std::size_t>(extent.length), thread));
                file.release(extent);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(file.liveBytes(), 0);
    EXPECT_EQ(file.sizeOnDisk(), 0);
}

/// In a process of its own: the files it writes end at `bytes`, as on a full disk.
void limitFileSize(rlim_t bytes) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{bytes, bytes};
    setrlimit(RLIMIT_FSIZE, &limit);
}

void expect(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "failed: %s\n", what);
    std::_Exit(1);
}

[[noreturn]] void succeed(const std::filesystem::path& directory) {
    std::filesystem::remove_all(directory);
    std::_Exit(0);
}

[[noreturn]] void writeBeyondTheLimit(const std::filesystem::path& directory) {
    const auto opened = ScratchFile::open(directory);
    expect(opened.has_value(), "opened");
    limitFileSize(1000);
    ScratchFile& file = **opened;
    const auto first = file.write(blobOf(600, 1));
    expect(first.has_value(), "the first fits");
    const auto second = file.write(blobOf(600, 2));
    expect(!second && second.error() == std::errc::file_too_large, "the second does not");
    expect(file.liveBytes() == 600, "only the first counts");
    expect(file.end() == 1200, "the end is not taken back");
    expect(file.read(*first) == blobOf(600, 1), "the first is whole");
    file.release(*first);
    expect(file.write(blobOf(900, 3)).has_value(), "an empty file takes more");
    succeed(directory);
}

TEST(ScratchFileDeath, aWriteThatIsCutShortFailsAndLeavesTheRestWhole) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const TemporaryDirectory directory;
    EXPECT_EXIT(writeBeyondTheLimit(directory.path()), ::testing::ExitedWithCode(0), "");
}

[[noreturn]] void spillBeyondTheLimit(const std::filesystem::path& directory) {
    const std::shared_ptr<TileStore> store = TileStore::create(noLimits, directory);
    limitFileSize(200000);
    std::vector<Tile> tiles;
    for (std::uint64_t seed = 0; seed < 40; ++seed) {
        tiles.push_back(patternTile(*store, seed));
    }
    store->evict(0, 0, true);
    const TileStore::Statistics full = store->statistics();
    expect(full.spilledTiles > 0 && full.compressedTiles > 0, "a part fits on the disk");
    expect(full.spilledTiles + full.compressedTiles == 40, "the rest stays compressed");
    for (std::uint64_t seed = 0; seed < 40; ++seed) {
        expect(holdsPattern(tiles[seed], seed), "every tile is right");
    }
    store->evict(0, 0, true);
    expect(store->statistics().spilledTiles > 0, "the next round spills again");
    succeed(directory);
}

TEST(ScratchFileDeath, aStoreOnAFullDiskKeepsItsTilesCompressed) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const TemporaryDirectory directory;
    EXPECT_EXIT(spillBeyondTheLimit(directory.path()), ::testing::ExitedWithCode(0), "");
}

/// The one who came first has made it, for himself alone.
TEST(ScratchFolder, anotherWillDoWhereNothingCanBeWritten) {
    const TemporaryDirectory directory;
    const auto usual = directory.path() / "OmbrelScratch";
    std::filesystem::create_directories(directory.path() / "disk");
    const char* const before = std::getenv("TMPDIR");
    const std::string kept = before != nullptr ? before : "";
    ::setenv("TMPDIR", directory.path().c_str(), 1);
    const auto folderOfNew = [] {
        const auto file = ScratchFolder::open();
        return file ? file->path().parent_path() : std::filesystem::path();
    };
    EXPECT_EQ(folderOfNew(), usual);
    ScratchFolder::choose(directory.path() / "disk");
    EXPECT_EQ(folderOfNew(), directory.path() / "disk");
    ScratchFolder::choose("/proc/none");
    EXPECT_EQ(folderOfNew(), usual);
    std::filesystem::remove(usual);
    std::ofstream(usual) << "in the way";
    EXPECT_EQ(folderOfNew(), directory.path());
    ScratchFolder::choose({});
    EXPECT_EQ(folderOfNew(), directory.path());
    if (before != nullptr)
        ::setenv("TMPDIR", kept.c_str(), 1);
    else
        ::unsetenv("TMPDIR");
}

} // namespace
} // namespace ombrel
