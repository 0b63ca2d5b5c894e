#include "IO/RecoveryStore.h"

#include "Base/AtomicFile.h"
#include "Base/FileLock.h"
#include "Base/Json.h"
#include "TestSeed.h"
#include "support/FileSizeLimit.h"
#include "support/HelperProcess.h"
#include "support/NoiseDocument.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <random>
#include <set>
#include <sys/stat.h>
#include <thread>

namespace ombrel {
namespace {

namespace fs = std::filesystem;
using test::HelperProcess;
using Names = std::vector<std::string>;

constexpr std::int64_t tiles = 4;

class RecoveryStoreTest : public testing::Test {
protected:
    RecoveryStore::Entry entryOf(const std::string& name) const {
        return {Uuid::make(), name, std::nullopt, currentDate()};
    }
    Board board(std::uint64_t version = 1) const {
        return test::makeNoiseBoard(version, tiles, *tiles_);
    }
    /// What another process would be offered.
    std::vector<RecoveryStore::Entry> offered() const {
        return RecoveryStore(directory_).entries();
    }
    Names names() const {
        Names names;
        for (const auto& each : fs::directory_iterator(directory_))
            names.push_back(each.path().filename().string());
        std::ranges::sort(names);
        return names;
    }
    fs::path file(const Uuid& id, const std::string& extension) const {
        return directory_ / (id.text() + extension);
    }

    test::TemporaryFolder folder_;
    fs::path directory_ = folder_ / "data/ombrel/Recovery";
    RecoveryStore store_{directory_};
    std::shared_ptr<TileStore> tiles_ = test::makeNoiseStore(64);
};

TEST_F(RecoveryStoreTest, aCopyIsOfferedWithEverythingOnceItsHolderIsGone) {
    EXPECT_TRUE(store_.entries().empty()) << "a missing folder";
    auto entry = entryOf("Sunset é \"1\"");
    entry.originalURL = "/home/me/my pictures/100%\xFF.ombrel";
    entry.savedAt = *parseIsoDate("2024-02-29T23:59:59.999Z");
    const auto other = entryOf("Never saved");
    {
        RecoveryStore holder(directory_);
        const auto size = holder.save(board(7), entry);
        ASSERT_TRUE(size);
        EXPECT_EQ(*size, fs::file_size(file(entry.id, ".ombrel")));
        ASSERT_TRUE(holder.save(board(8), other));
        EXPECT_TRUE(holder.entries().empty()) << "its own are open";
        EXPECT_TRUE(store_.entries().empty()) << "so are another one's";
        const auto read = store_.read(entry, *tiles_);
        ASSERT_FALSE(read);
        EXPECT_EQ(std::get<FileError>(read.error()).code, EBUSY);
        store_.remove(entry.id);
        EXPECT_EQ(names().size(), 6u) << "nobody removes what another one holds";
    }
    EXPECT_EQ(store_.entries(), (std::vector{entry, other})) << "the oldest first";
    const auto json = parseJson(*readSmallFile(file(entry.id, ".json"), 10000));
    ASSERT_TRUE(json);
    EXPECT_EQ(*json, (Json{{"id", entry.id.text()},
                           {"name", entry.name},
                           {"originalURL", "file:///home/me/my%20pictures/100%25%FF.ombrel"},
                           {"savedAt", "2024-02-29T23:59:59.999Z"}}));
    const auto read = store_.read(entry, *tiles_);
    ASSERT_TRUE(read);
    EXPECT_EQ(test::noiseVersion(*read, tiles), 7u);
    EXPECT_EQ(offered(), std::vector{other}) << "what was read is open here";
    store_.release(entry.id);
    EXPECT_EQ(offered().size(), 2u);
    store_.remove(entry.id);
    store_.remove(other.id);
    EXPECT_TRUE(names().empty());
    EXPECT_EQ(fs::status(directory_).permissions(), fs::perms(0700));
}

TEST_F(RecoveryStoreTest, aSecondSaveReplacesTheCopyAndAFailedOneKeepsIt) {
    const auto entry = entryOf("A");
    ASSERT_TRUE(store_.save(board(1), entry));
    ASSERT_TRUE(store_.save(board(2), entry));
    {
        const test::FileSizeLimit full(1'000'000);
        const auto saved = store_.save(board(3), entry);
        ASSERT_FALSE(saved);
        EXPECT_EQ(saved.error().file->code, EFBIG);
    }
    EXPECT_EQ(names().size(), 3u);
    store_.release(entry.id);
    const auto read = store_.read(entry, *tiles_);
    ASSERT_TRUE(read);
    EXPECT_EQ(test::noiseVersion(*read, tiles), 2u);
}

TEST_F(RecoveryStoreTest, onlyWholePairsAreOfferedAndOnlyOrphansAreRemoved) {
    const auto whole = entryOf("Whole");
    const auto open = entryOf("Open");
    Names expected;
    {
        RecoveryStore holder(directory_);
        const auto strange = entryOf("Of a later version");
        const auto noEntry = entryOf("No entry");
        const auto noDocument = entryOf("No document");
        for (const auto& entry : {whole, strange, noEntry, noDocument})
            ASSERT_TRUE(holder.save(board(), entry));
        fs::remove(file(noEntry.id, ".json"));
        fs::remove(file(noDocument.id, ".ombrel"));
        ASSERT_TRUE(writeFileAtomically(file(strange.id, ".json"), R"({"id":7})"));
        ASSERT_TRUE(writeFileAtomically(directory_ / "notes.json", "{}"));
        for (const Uuid& id : {whole.id, strange.id})
            for (const char* extension : {".json", ".lock", ".ombrel"})
                expected.push_back(file(id, extension).filename());
        expected.push_back("notes.json");
    }
    ASSERT_TRUE(writeFileAtomically(file(Uuid::make(), ".lock"), ""));
    ASSERT_TRUE(
        writeFileAtomically(directory_ / (".ombrel-" + Uuid::make().text() + ".tmp"), "a part"));
    // Half a pair, but somebody is at it: it has just begun to save.
    ASSERT_TRUE(store_.save(board(), open));
    fs::remove(file(open.id, ".json"));
    expected.push_back(file(open.id, ".lock").filename());
    expected.push_back(file(open.id, ".ombrel").filename());

    EXPECT_EQ(offered(), std::vector{whole});
    RecoveryStore(directory_).removeOrphans();
    std::ranges::sort(expected);
    EXPECT_EQ(names(), expected);
    EXPECT_EQ(offered(), std::vector{whole});
}

TEST_F(RecoveryStoreTest, aCopyRemovedWhileItIsSavedLeavesNothing) {
    const auto entry = entryOf("A");
    Progress progress([&](double, const std::string&) { store_.remove(entry.id); });
    ASSERT_TRUE(store_.save(board(), entry, &progress));
    EXPECT_TRUE(names().empty());
    ASSERT_TRUE(store_.save(board(), entry)) << "edited again";
    EXPECT_EQ(names().size(), 3u);
    EXPECT_TRUE(offered().empty());
}

TEST_F(RecoveryStoreTest, aFolderThatWasRemovedIsMadeAgainAndTheCopyStaysItsHolders) {
    const auto entry = entryOf("A");
    ASSERT_TRUE(store_.save(board(1), entry));
    fs::remove_all(directory_);
    ASSERT_TRUE(store_.save(board(2), entry));
    EXPECT_EQ(names().size(), 3u);
    EXPECT_TRUE(offered().empty());
}

TEST_F(RecoveryStoreTest, nothingIsSavedAfterTheFinishWhichWaitsForSavesThatRun) {
    const auto entry = entryOf("A");
    std::jthread finisher;
    Progress progress([&](double, const std::string&) {
        if (finisher.joinable()) return;
        finisher = std::jthread([&] {
            store_.finish();
            EXPECT_TRUE(fs::exists(file(entry.id, ".json")));
        });
    });
    ASSERT_TRUE(store_.save(board(), entry, &progress));
    finisher.join();
    const auto saved = store_.save(board(), entryOf("B"));
    ASSERT_FALSE(saved);
    EXPECT_TRUE(saved.error().isCancelled());
    EXPECT_EQ(names().size(), 3u);
}

TEST_F(RecoveryStoreTest, processesKilledWhileTheySaveLeaveWholeCopiesAndTheLivingKeepTheirs) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    const Uuid living = Uuid::make();
    const auto start = [&](const Uuid& id, std::uint64_t version) {
        return std::make_unique<HelperProcess>(std::vector<std::string>{
            "recover", directory_, id.text(), std::to_string(version), std::to_string(tiles)});
    };
    const auto survivor = start(living, 1);
    ASSERT_EQ(survivor->line(), "1");
    const Uuid dying = Uuid::make();
    std::uint64_t last = 0; ///< the version that is known to be saved
    for (int round = 0; round < 30; ++round) {
        const auto victim = start(dying, last + 1);
        if (random() % 4 != 0) {
            ASSERT_EQ(victim->line(), std::to_string(last + 1));
            ++last;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
        victim->kill();
        for (std::string line = victim->line(); !line.empty(); line = victim->line())
            last = std::stoull(line);

        RecoveryStore heir(directory_);
        heir.removeOrphans();
        const auto entries = heir.entries();
        if (entries.empty() && last == 0) continue; // killed before the first copy was whole
        ASSERT_EQ(entries.size(), 1u);
        EXPECT_EQ(entries[0].id, dying);
        const auto read = heir.read(entries[0], *tiles_);
        ASSERT_TRUE(read);
        const auto version = test::noiseVersion(*read, tiles);
        ASSERT_TRUE(version) << "no whole document";
        EXPECT_GE(*version, std::max<std::uint64_t>(last, 1));
        last = *version;
        if (random() % 4 == 0) {
            heir.remove(dying);
            last = 0;
        }
    }
    EXPECT_TRUE(fs::exists(file(living, ".json")));
    EXPECT_TRUE(FileLock::isHeld(file(living, ".lock")));
}

TEST_F(RecoveryStoreTest, ofSeveralProcessesThatStartTogetherOneGetsEachCopy) {
    std::set<std::string> ids;
    for (int i = 0; i < 12; ++i) {
        const auto entry = entryOf(std::to_string(i));
        ids.insert(entry.id.text());
        ASSERT_TRUE(RecoveryStore(directory_).save(board(), entry));
    }
    std::vector<std::unique_ptr<HelperProcess>> processes;
    for (int i = 0; i < 3; ++i)
        processes.push_back(
            std::make_unique<HelperProcess>(std::vector<std::string>{"claim", directory_}));
    std::multiset<std::string> claimed;
    for (const auto& process : processes)
        for (std::string line = process->line(); line != "all"; line = process->line())
            claimed.insert(line);
    EXPECT_EQ(claimed, (std::multiset<std::string>(ids.begin(), ids.end())));
    EXPECT_TRUE(offered().empty());
    processes.clear();
    EXPECT_EQ(offered().size(), ids.size()) << "the dead hold nothing";
}

} // namespace
} // namespace ombrel
