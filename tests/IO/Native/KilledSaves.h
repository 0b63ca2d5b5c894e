// Processes that are killed while they save a document: the file is always the old document or the
// new one, whole, and the next save leaves nothing but the file.
#pragma once

#include "IO/Native/NativeFile.h"
#include "TestSeed.h"
#include "support/HelperProcess.h"
#include "support/NoiseDocument.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <random>
#include <thread>

namespace ombrel::test {

struct KillTally {
    int whileWriting = 0;   ///< the old document is there
    int afterReplacing = 0; ///< the new one is there, though the process had not said so
    int afterEnd = 0;
    int leftovers = 0; ///< hidden files found after kills
};

class KilledSaves {
public:
    KilledSaves(std::int64_t tiles, std::uint64_t seed) : tiles_(tiles), random_(seed) {}

    KillTally check(int kills) {
        saveToTheEnd(1);
        for (int kill = 1; kill <= kills && !testing::Test::HasFailure(); ++kill) {
            SCOPED_TRACE(kill);
            killOne(versionInFile().value_or(0) + 1);
        }
        saveToTheEnd(versionInFile().value_or(0) + 1);
        EXPECT_EQ(folder_.names(), std::vector<std::string>{"document.ombrel"});
        return tally_;
    }

private:
    using Clock = std::chrono::steady_clock;

    std::vector<std::string> arguments(std::uint64_t version) const {
        return {"save", path_.string(), std::to_string(version), std::to_string(tiles_)};
    }
    void saveToTheEnd(std::uint64_t version) {
        HelperProcess helper(arguments(version));
        EXPECT_EQ(helper.line(), "begin");
        const auto start = Clock::now();
        EXPECT_EQ(helper.line(), "end");
        saveTime_ = std::chrono::duration<double>(Clock::now() - start);
        EXPECT_EQ(helper.wait(), 0);
        EXPECT_EQ(versionInFile(), version);
    }
    /// Half of the moments lie anywhere, half near the end, where the file is put in its place.
    std::chrono::duration<double> moment() {
        std::uniform_real_distribution<> anywhere(0.0, 1.1);
        std::uniform_real_distribution<> atTheEnd(0.9, 1.05);
        return saveTime_ * (random_() % 2 == 0 ? anywhere(random_) : atTheEnd(random_));
    }
    void killOne(std::uint64_t version) {
        HelperProcess helper(arguments(version));
        ASSERT_EQ(helper.line(), "begin");
        const auto start = Clock::now();
        std::this_thread::sleep_for(moment());
        helper.kill();
        const bool hasEnded = helper.line() == "end";
        // The disk is slower at times and faster at others; follow it.
        const std::chrono::duration<double> time = Clock::now() - start;
        saveTime_ = hasEnded ? std::min(saveTime_, time) : saveTime_ * 1.01;
        tally_.leftovers += static_cast<int>(folder_.names().size()) - 1;
        const std::optional<std::uint64_t> found = versionInFile();
        ASSERT_TRUE(found) << "neither the old document nor the new one";
        EXPECT_TRUE(*found == version || (*found == version - 1 && !hasEnded)) << *found;
        ++(hasEnded            ? tally_.afterEnd
           : *found == version ? tally_.afterReplacing
                               : tally_.whileWriting);
    }
    /// Reads every byte of the file.
    std::optional<std::uint64_t> versionInFile() const {
        const auto store = makeNoiseStore(tiles_);
        const auto board = openNative(path_, *store);
        if (!board) return std::nullopt;
        return noiseVersion(*board, tiles_);
    }

    std::int64_t tiles_;
    std::mt19937_64 random_;
    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_ / "document.ombrel";
    std::chrono::duration<double> saveTime_{};
    KillTally tally_;
};

} // namespace ombrel::test
