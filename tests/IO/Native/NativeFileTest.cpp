#include "IO/Native/NativeFile.h"

#include "IO/Native/KilledSaves.h"
#include "TestSeed.h"
#include "support/FileSizeLimit.h"
#include "support/HelperProcess.h"
#include "support/NoiseDocument.h"
#include "support/SmallDisk.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ombrel {
namespace {

namespace fs = std::filesystem;
using test::HelperProcess;
using test::TemporaryFolder;

constexpr std::int64_t tiles = 8;

/// A document of noise and the ways in which the tests look at files.
class NativeFile : public testing::Test {
protected:
    std::expected<std::uint64_t, NativeSaveError> save(std::uint64_t version, const fs::path& path,
                                                       std::int64_t count = tiles) {
        return saveNative(test::makeNoiseBoard(version, count, *store_), path);
    }
    /// Versions 1 and 2 as "a" and "b" in the folder, and the first of them at `path`.
    void saveTwoVersions(const TemporaryFolder& folder, const fs::path& path) {
        ASSERT_TRUE(save(1, folder / "a"));
        ASSERT_TRUE(save(2, folder / "b"));
        fs::copy_file(folder / "a", path);
    }
    /// Nothing where the file is no whole document of noise.
    std::optional<std::uint64_t> versionIn(const fs::path& path, std::int64_t count = tiles) {
        const auto board = openNative(path, *store_);
        if (!board) return std::nullopt;
        return test::noiseVersion(*board, count);
    }
    static int codeOf(const std::expected<std::uint64_t, NativeSaveError>& saved) {
        return saved || !saved.error().file ? 0 : saved.error().file->code;
    }
    static std::uint64_t inodeOf(const fs::path& path) {
        struct stat status{};
        ::stat(path.c_str(), &status);
        return status.st_ino;
    }

    std::shared_ptr<TileStore> store_ = test::makeNoiseStore(64);
};

TEST_F(NativeFile, aProcessKilledWhileItSavesLeavesTheOldDocumentOrTheNewOne) {
    const test::KillTally tally = test::KilledSaves(tiles, testSeed()).check(20);
    EXPECT_EQ(tally.whileWriting + tally.afterReplacing + tally.afterEnd, 20);
}

TEST_F(NativeFile, aFullDiskKeepsTheOldDocumentUntilThereIsRoomAgain) {
    const test::SmallDisk disk(16);
    if (!disk.isMounted()) GTEST_SKIP() << "needs the right to mount";
    const fs::path path = disk.folder() / "document.ombrel";
    ASSERT_TRUE(save(1, path));
    {
        std::ofstream(disk.folder() / "filler") << std::string(6 << 20, 'x');
    }
    const std::uint64_t inode = inodeOf(path);
    for (const std::int64_t count : {tiles + 4, tiles + 16}) {
        const auto saved = save(2, path, count);
        ASSERT_FALSE(saved);
        EXPECT_EQ(saved.error().text(), path.string() + ": No space left on device");
    }
    const auto elsewhere = save(2, disk.folder() / "other.ombrel", tiles + 16);
    EXPECT_EQ(codeOf(elsewhere), ENOSPC);
    EXPECT_EQ(versionIn(path), 1u);
    EXPECT_EQ(inodeOf(path), inode);
    EXPECT_EQ(disk.folder().names(), (std::vector<std::string>{"document.ombrel", "filler"}));
    fs::remove(disk.folder() / "filler");
    ASSERT_TRUE(save(2, path, tiles + 4));
    EXPECT_EQ(versionIn(path, tiles + 4), 2u);
}

TEST_F(NativeFile, aFileThatMayNotGrowKeepsTheOldDocument) {
    const TemporaryFolder folder;
    const fs::path path = folder / "document.ombrel";
    ASSERT_TRUE(save(1, path));
    // In the midst of the tiles, in the gap left for the manifest, and before the first byte.
    for (const rlim_t limit : {rlim_t{3'000'000}, rlim_t{100}, rlim_t{0}}) {
        const test::FileSizeLimit full(limit);
        EXPECT_EQ(codeOf(save(2, path)), EFBIG);
    }
    EXPECT_EQ(versionIn(path), 1u);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"document.ombrel"});
    ASSERT_TRUE(save(2, path));
    EXPECT_EQ(versionIn(path), 2u);
}

/// File access as a user without rights, for the scope and this thread.
class PowerlessUser {
public:
    PowerlessUser() { ::setfsuid(65534); }
    ~PowerlessUser() { ::setfsuid(::geteuid()); }
    PowerlessUser(const PowerlessUser&) = delete;
    PowerlessUser& operator=(const PowerlessUser&) = delete;
};

TEST_F(NativeFile, aFolderThatMayNotBeWrittenToIsToldAtOnce) {
    const TemporaryFolder folder;
    const fs::path path = folder / "document.ombrel";
    ASSERT_TRUE(save(1, path));
    ::chmod(folder.path().c_str(), 0555);
    {
        const PowerlessUser user;
        const auto saved = save(2, path);
        ASSERT_FALSE(saved);
        EXPECT_EQ(saved.error().text(), path.string() + ": Permission denied");
    }
    ::chmod(folder.path().c_str(), 0755);
    EXPECT_EQ(versionIn(path), 1u);
    EXPECT_EQ(codeOf(save(2, folder / "missing/document.ombrel")), ENOENT);
    EXPECT_EQ(codeOf(save(2, folder.path())), EISDIR);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"document.ombrel"});
}

TEST_F(NativeFile, aLinkStaysOneAndPermissionsAreKept) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "real");
    const fs::path path = folder / "real/document.ombrel";
    fs::create_symlink("real/document.ombrel", folder / "link.ombrel");
    ASSERT_TRUE(save(1, folder / "link.ombrel")); // makes what the link names
    ::chmod(path.c_str(), 0640);
    ASSERT_TRUE(save(2, folder / "link.ombrel"));
    EXPECT_TRUE(fs::is_symlink(folder / "link.ombrel"));
    EXPECT_EQ(versionIn(path), 2u);
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
}

TEST_F(NativeFile, whatHappensToTheOldFileDuringASaveDoesNotHarmTheNewOne) {
    const TemporaryFolder folder;
    const fs::path path = folder / "document.ombrel";
    const Board board = test::makeNoiseBoard(2, tiles, *store_);
    const auto saveWhile = [&](auto&& happens) {
        bool hasHappened = false;
        Progress progress([&](double fraction, const std::string&) {
            if (fraction > 0 && !std::exchange(hasHappened, true)) happens();
        });
        const auto saved = saveNative(board, path, &progress);
        EXPECT_TRUE(hasHappened);
        return saved;
    };
    ASSERT_TRUE(save(1, path));
    EXPECT_TRUE(saveWhile([&] { fs::remove(path); }));
    EXPECT_EQ(versionIn(path), 2u);
    EXPECT_TRUE(saveWhile([&] { ASSERT_TRUE(save(3, path)); }));
    EXPECT_EQ(versionIn(path), 2u);
    EXPECT_EQ(codeOf(saveWhile([&] {
                  fs::remove(path);
                  fs::create_directories(path / "in it");
              })),
              EISDIR);
    fs::remove_all(path);
    EXPECT_EQ(codeOf(saveWhile([&] { fs::remove_all(folder.path()); })), ENOENT);
    EXPECT_FALSE(fs::exists(folder.path()));
}

TEST_F(NativeFile, aCancelledSaveLeavesTheOldDocumentAndNothingElse) {
    const TemporaryFolder folder;
    const fs::path path = folder / "document.ombrel";
    ASSERT_TRUE(save(1, path));
    const Board board = test::makeNoiseBoard(2, 4 * 64, *test::makeNoiseStore(4 * 64));
    Progress* running = nullptr;
    Progress progress([&](double, const std::string&) { running->cancel(); });
    running = &progress;
    const auto saved = saveNative(board, path, &progress);
    ASSERT_FALSE(saved);
    EXPECT_TRUE(saved.error().isCancelled());
    EXPECT_EQ(versionIn(path), 1u);
    EXPECT_EQ(folder.names(), std::vector<std::string>{"document.ombrel"});
}

TEST_F(NativeFile, aFileThatOthersReplaceWhileItIsReadIsTheOldDocumentOrTheNewOne) {
    const TemporaryFolder folder;
    const fs::path path = folder / "document.ombrel";
    ASSERT_NO_FATAL_FAILURE(saveTwoVersions(folder, path));
    HelperProcess other({"replace", path, folder / "a", folder / "b"});
    ASSERT_EQ(other.line(), "begin");
    for (int round = 0; round < 100; ++round) {
        const auto version = versionIn(path);
        EXPECT_TRUE(version == 1u || version == 2u) << "round " << round;
    }
}

TEST_F(NativeFile, aFileThatOthersWriteIntoWhileItIsReadIsOneDocumentOrAnError) {
    const TemporaryFolder folder;
    const fs::path path = folder / "document.ombrel";
    ASSERT_NO_FATAL_FAILURE(saveTwoVersions(folder, path));
    {
        HelperProcess other({"rewrite", path, folder / "a", folder / "b"});
        ASSERT_EQ(other.line(), "begin");
        for (int round = 0; round < 5; ++round) {
            const auto board = openNative(path, *store_);
            EXPECT_TRUE(!board || test::noiseVersion(*board, tiles)) << "parts of both";
        }
        const auto board = openNative(path, *store_);
        const FileError* error = board ? nullptr : std::get_if<FileError>(&board.error());
        EXPECT_TRUE(error == nullptr || error->code == EBUSY);
    }
    EXPECT_TRUE(openNative(folder / "a", *store_)) << "where nobody writes any more";
}

} // namespace
} // namespace ombrel
