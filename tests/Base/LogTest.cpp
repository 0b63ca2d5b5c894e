#include "Base/Log.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace ombrel {
namespace {

TEST(Log, showsTheThresholdAndAbove) {
    std::vector<std::string> seen;
    {
        const LogCapture capture(LogLevel::warning, [&](LogLevel, std::string_view message) {
            seen.emplace_back(message);
        });
        Log::info("not shown {}", 1);
        Log::warning("Couldn't save presets: {}", "disk full");
        Log::error("bad");
        const TimingInterval silent("Flatten");
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"Couldn't save presets: disk full", "bad"}));
}

TEST(Log, writesOneLineAMessageToStandardError) {
    testing::internal::CaptureStderr();
    Log::warning("two\nlines");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ombrel: warning: two lines\n");
}

TEST(Log, timesIntervalsAtTheDebugLevel) {
    std::vector<std::string> seen;
    const LogCapture capture(LogLevel::debug, [&](LogLevel level, std::string_view message) {
        EXPECT_EQ(level, LogLevel::debug);
        seen.emplace_back(message);
    });
    {
        const TimingInterval interval("Flatten");
    }
    ASSERT_EQ(seen.size(), 1u);
    EXPECT_TRUE(seen[0].starts_with("Flatten: ") && seen[0].ends_with(" ms")) << seen[0];
}

TEST(Log, takesMessagesFromManyThreads) {
    int count = 0; // guarded by the log's own lock
    const LogCapture capture(LogLevel::info, [&](LogLevel, std::string_view) { ++count; });
    {
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([] {
                for (int i = 0; i < 500; ++i)
                    Log::info("{}", i);
            });
        }
    }
    EXPECT_EQ(count, 2000);
}

} // namespace
} // namespace ombrel
