#include "IO/Native/KilledSaves.h"

#include <cstdio>

namespace ombrel {

TEST(KilledSaves, aLargeDocumentIsAlwaysTheOldOrTheNewOne) {
    const test::TemporaryFolder folder;
    if (std::filesystem::space(folder.path()).available < 3'000'000'000u)
        GTEST_SKIP() << "needs 3 GB in " << folder.path().parent_path();
    constexpr int kills = 200;
    constexpr std::int64_t tiles = 954; // 500 MB
    const test::KillTally tally = test::KilledSaves(tiles, testSeed()).check(kills);
    std::printf("killed while writing: %d, between replacing and reporting: %d, after the end: %d, "
                "hidden files left: %d\n",
                tally.whileWriting, tally.afterReplacing, tally.afterEnd, tally.leftovers);
    EXPECT_GT(tally.whileWriting, kills / 4);
}

} // namespace ombrel
