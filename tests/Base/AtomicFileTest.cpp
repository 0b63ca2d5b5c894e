#include "Base/AtomicFile.h"

#include "Base/Uuid.h"
#include "TestSeed.h"
#include "support/FileSizeLimit.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ombrel {
namespace {

using test::TemporaryFolder;

constexpr std::uint64_t limit = 1 << 20;

std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}
std::string contents(const std::filesystem::path& path) {
    return readSmallFile(path, limit).value_or("(unreadable)");
}
mode_t modeOf(const std::filesystem::path& path) {
    struct stat status{};
    ::stat(path.c_str(), &status);
    return status.st_mode & 07777;
}

TEST(AtomicFile, appearsOnlyWhenItIsCommitted) {
    const TemporaryFolder folder;
    ASSERT_TRUE(writeFileAtomically(folder / "a", "old"));
    auto file = AtomicFile::create(folder / "a");
    ASSERT_TRUE(file);
    EXPECT_TRUE(file->append(bytesOf("new and longer")));
    EXPECT_EQ(contents(folder / "a"), "old");
    ASSERT_TRUE(file->commit());
    EXPECT_EQ(contents(folder / "a"), "new and longer");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a"});
}

TEST(AtomicFile, leavesNothingWithoutACommit) {
    const TemporaryFolder folder;
    {
        auto file = AtomicFile::create(folder / "a");
        ASSERT_TRUE(file);
        EXPECT_TRUE(file->append(bytesOf("lost")));
        AtomicFile moved = std::move(*file);
        EXPECT_TRUE(moved.append(bytesOf("too")));
        auto other = AtomicFile::create(folder / "b");
        moved = std::move(*other);
    }
    EXPECT_TRUE(folder.names().empty());
}

TEST(AtomicFile, randomWritesAndReadsAgreeWithAModel) {
    const auto seed = static_cast<unsigned>(testSeed());
    SCOPED_TRACE(seed);
    std::minstd_rand random(seed);
    const TemporaryFolder folder;
    auto file = AtomicFile::create(folder / "a");
    ASSERT_TRUE(file);
    std::string model;
    for (int i = 0; i < 300; ++i) {
        const std::size_t offset = random() % (model.size() + 100); // may leave a hole
        std::string text(random() % 5000, static_cast<char>('a' + random() % 26));
        if (!text.empty()) model.resize(std::max(model.size(), offset + text.size()), '\0');
        model.replace(offset, text.size(), text);
        ASSERT_TRUE(file->writeAt(offset, bytesOf(text)));
        ASSERT_EQ(file->size(), model.size());

        const std::size_t from = random() % (model.size() + 10);
        std::string out(random() % 6000, '?');
        const std::size_t count = file->readAt(from, std::as_writable_bytes(std::span(out)));
        const std::string expected = from < model.size() ? model.substr(from, out.size()) : "";
        ASSERT_EQ(out.substr(0, count), expected);
    }
    ASSERT_TRUE(file->commit());
    EXPECT_EQ(contents(folder / "a"), model);
}

TEST(AtomicFile, keepsThePermissionBitsOfTheOldFileAndObeysTheMaskForANewOne) {
    const TemporaryFolder folder;
    const mode_t before = ::umask(027);
    ASSERT_TRUE(writeFileAtomically(folder / "new", "x"));
    ::umask(before);
    EXPECT_EQ(modeOf(folder / "new"), 0640u);
    for (const mode_t mode : {0600u, 0664u, 0755u, 0400u}) {
        ::chmod((folder / "new").c_str(), mode);
        ASSERT_TRUE(writeFileAtomically(folder / "new", "y"));
        EXPECT_EQ(modeOf(folder / "new"), mode);
    }
}

TEST(AtomicFile, followsSymbolicLinks) {
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "real");
    std::filesystem::create_symlink("real", folder / "linked");
    std::filesystem::create_symlink("linked/target", folder / "first");
    std::filesystem::create_symlink(folder / "first", folder / "second");
    ASSERT_TRUE(writeFileAtomically(folder / "second", "made")); // the target is not there yet
    EXPECT_EQ(contents(folder / "real/target"), "made");
    ASSERT_TRUE(writeFileAtomically(folder / "second", "replaced"));
    EXPECT_EQ(contents(folder / "real/target"), "replaced");
    EXPECT_TRUE(std::filesystem::is_symlink(folder / "second"));

    std::filesystem::create_symlink("loop", folder / "loop");
    const auto loop = writeFileAtomically(folder / "loop", "x");
    ASSERT_FALSE(loop);
    EXPECT_EQ(loop.error().code, ELOOP);
}

TEST(AtomicFile, refusesWhatIsNoRegularFile) {
    const TemporaryFolder folder;
    const std::filesystem::path pipe = folder / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    const struct {
        std::filesystem::path path;
        int code;
    } cases[]{
        {folder.path(), EISDIR}, {folder.path() / "", EISDIR},   {pipe, EINVAL},
        {"/dev/null", EINVAL},   {folder / "missing/a", ENOENT}, {folder / "pipe/a", ENOTDIR},
    };
    for (const auto& [path, code] : cases) {
        const auto file = AtomicFile::create(path);
        ASSERT_FALSE(file) << path;
        EXPECT_EQ(file.error().code, code) << path;
    }
    EXPECT_EQ(readSmallFile(pipe, limit).error().code, EINVAL) << "nobody waits for a pipe";
    EXPECT_EQ(readSmallFile(folder.path(), limit).error().code, EISDIR);
    EXPECT_EQ(FileError({"/a", ENOSPC}).text(), "/a: No space left on device");
}

TEST(AtomicFile, aNameAsLongAsTheyGetIsNoProblem) {
    const TemporaryFolder folder;
    const std::string name(255, 'n');
    ASSERT_TRUE(writeFileAtomically(folder / name, "x"));
    ASSERT_TRUE(writeFileAtomically(folder / name, "y"));
    EXPECT_EQ(folder.names(), std::vector<std::string>{name});
}

TEST(AtomicFile, aWriteThatDoesNotFitFailsTheFileAndKeepsTheOldOne) {
    const TemporaryFolder folder;
    ASSERT_TRUE(writeFileAtomically(folder / "a", "old"));
    const std::string large(100000, 'x');
    {
        const test::FileSizeLimit full(65536);
        auto file = AtomicFile::create(folder / "a");
        ASSERT_TRUE(file);
        EXPECT_FALSE(file->append(bytesOf(large)));
        ASSERT_TRUE(file->error());
        EXPECT_EQ(file->error()->code, EFBIG);
        EXPECT_FALSE(file->writeAt(0, bytesOf("small"))) << "it stays failed";
        const auto committed = file->commit();
        ASSERT_FALSE(committed);
        EXPECT_EQ(committed.error().code, EFBIG);
        EXPECT_FALSE(writeFileAtomically(folder / "b", large));
    }
    EXPECT_EQ(contents(folder / "a"), "old");
    EXPECT_EQ(folder.names(), std::vector<std::string>{"a"});
}

TEST(AtomicFile, leftoversOfTheDeadGoAndFilesBeingWrittenStay) {
    const TemporaryFolder folder;
    const std::string id = Uuid::make().text();
    const std::vector<std::string> others{".ombrel-" + id, ".ombrel-x.tmp", ".ombrel-.tmp",
                                          ".ombrel-" + id + ".tmp.png", "ombrel-" + id + ".tmp"};
    for (const std::string& name : others)
        ASSERT_TRUE(writeFileAtomically(folder / name, "somebody's"));
    const std::filesystem::path hidden = folder / (".ombrel-" + id + ".tmp");
    ASSERT_TRUE(writeFileAtomically(hidden, "a part"));
    std::filesystem::create_directory(folder / (".ombrel-" + Uuid::make().text() + ".tmp"));
    const int writer = ::open(hidden.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(::flock(writer, LOCK_EX), 0);
    AtomicFile::removeLeftovers(folder.path());
    EXPECT_EQ(folder.names().size(), others.size() + 2);
    ::close(writer);
    AtomicFile::removeLeftovers(folder.path());
    EXPECT_EQ(folder.names().size(), others.size() + 1);
    EXPECT_FALSE(std::filesystem::exists(hidden));
    AtomicFile::removeLeftovers(folder / "missing");
}

TEST(AtomicFile, readingStopsAtTheLimit) {
    const TemporaryFolder folder;
    ASSERT_TRUE(writeFileAtomically(folder / "a", std::string(1000, 'x')));
    EXPECT_EQ(readSmallFile(folder / "a", 1000)->size(), 1000u);
    EXPECT_EQ(readSmallFile(folder / "a", 999).error().code, EFBIG);
    EXPECT_EQ(readSmallFile(folder / "b", 999).error().code, ENOENT);
    EXPECT_EQ(readSmallFile("/proc/self/status", 10).error().code, EFBIG) << "size says 0";
}

} // namespace
} // namespace ombrel
