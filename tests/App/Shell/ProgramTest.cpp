// The real program with windows, one process beside another.
#include "Cli/ProgramRun.h"
#include "support/TemporaryFolder.h"
#include "support/TestPlaces.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>

namespace ombrel {

namespace {

struct ProgramFolders {
    test::TemporaryFolder folder;
    std::string sample = TestPlaces::sample();

    ProgramSetup setup() const {
        return [path = folder.path()] {
            for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME",
                                     "XDG_STATE_HOME", "XDG_RUNTIME_DIR"})
                ::setenv(name, path.c_str(), 1);
        };
    }
    /// Whether others are heard, which is when the event loop is about to run.
    bool waitUntilRunning(ProgramRun& program) const {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
        while (!std::filesystem::exists(folder / "ombrel/ombrel.socket")) {
            if (program.hasEnded() || std::chrono::steady_clock::now() > deadline) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return true;
    }
};

} // namespace

TEST(Program, aSecondProcessHandsItsFilesOverAndTheFirstEndsWhenItIsAskedTo) {
    const ProgramFolders at;
    ProgramRun first({}, at.setup());
    ASSERT_TRUE(at.waitUntilRunning(first));
    const ProgramResult second = runProgram({at.sample}, at.setup());
    EXPECT_EQ(second.exitStatus, 0) << second.errors;
    EXPECT_EQ(second.errors, "");
    first.sendSignal(SIGTERM);
    const ProgramResult ended = first.wait();
    EXPECT_EQ(ended.exitStatus, 0) << ended.signal << ended.errors;
    EXPECT_FALSE(std::filesystem::exists(at.folder / "ombrel/ombrel.socket"));
}

TEST(Program, afterAKilledOneTheNextIsTheFirst) {
    const ProgramFolders at;
    {
        ProgramRun killed({at.sample}, at.setup());
        ASSERT_TRUE(at.waitUntilRunning(killed));
        killed.sendSignal(SIGKILL);
        EXPECT_EQ(killed.wait().signal, SIGKILL);
    }
    std::filesystem::remove(at.folder / "ombrel/ombrel.socket"); // to see the next one's
    ProgramRun next({at.sample}, at.setup());
    ASSERT_TRUE(at.waitUntilRunning(next));
    next.sendSignal(SIGHUP);
    EXPECT_EQ(next.wait().exitStatus, 0);
}

TEST(Program, runsWithoutAHomeAndSaysOnceWhatItCannotKeep) {
    const ProgramFolders at;
    const ProgramSetup homeless = [path = at.folder.path()] {
        for (const char* name :
             {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "TMPDIR"})
            ::unsetenv(name);
        ::setenv("HOME", "/dev/null/home", 1);
        ::setenv("XDG_RUNTIME_DIR", path.c_str(), 1);
    };
    ProgramRun program({at.sample}, homeless);
    ASSERT_TRUE(at.waitUntilRunning(program));
    std::this_thread::sleep_for(std::chrono::seconds(2)); // to save more than once
    program.sendSignal(SIGTERM);
    const ProgramResult ended = program.wait();
    EXPECT_EQ(ended.exitStatus, 0) << ended.signal;
    const std::string warning = "warning: Couldn't save settings: /dev/null/home: Not a directory";
    EXPECT_EQ(ended.errors.find("unreadable"), std::string::npos) << ended.errors;
    const std::size_t told = ended.errors.find(warning);
    ASSERT_NE(told, std::string::npos) << ended.errors;
    EXPECT_EQ(ended.errors.find(warning, told + 1), std::string::npos) << ended.errors;
}

} // namespace ombrel
