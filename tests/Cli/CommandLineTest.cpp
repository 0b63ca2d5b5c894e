#include "Base/AtomicFile.h"
#include "Cli/Pictures.h"
#include "Cli/ProgramRun.h"
#include "support/TemporaryFolder.h"
#include "support/TestPlaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace ombrel {
namespace {

using test::TemporaryFolder;

/// One line of the program's own form.
void expectOneLine(const std::string& errors) {
    EXPECT_TRUE(errors.starts_with("ombrel: ")) << errors;
    EXPECT_TRUE(errors.ends_with("\n")) << errors;
    EXPECT_EQ(std::ranges::count(errors, '\n'), 1) << errors;
}

TEST(CommandLine, wrongUsageIsTwoAndFailureIsOne) {
    const TemporaryFolder folder;
    const std::string in = folder / "in.png";
    const std::string out = folder / "out.png";
    test::writePicture(in, {3, 2}, [](auto, auto) { return PremultipliedColor::white(); });
    const struct {
        std::vector<std::string> arguments;
        int exitStatus;
        std::string message; ///< a part of it
    } cases[]{
        {{"export"}, 2, "IN"},
        {{"export", in}, 2, "OUT"},
        {{"export", in, out, "more"}, 2, "more"},
        {{"export", in, out, "--quality", "1.01"}, 2, "--quality"},
        {{"export", in, out, "--quality", "-0.5"}, 2, "--quality"},
        {{"export", in, out, "--quality", "nan"}, 2, "--quality"},
        {{"export", in, out, "--quality", "high"}, 2, "--quality"},
        {{"export", in, out, "--depth", "12"}, 2, "--depth"},
        {{"export", in, out, "--depth"}, 2, "--depth"},
        {{"export", in, out, "--memory", "0"}, 2, "--memory"},
        {{"export", in, out, "--memory", "-5"}, 2, "--memory"},
        {{"export", in, out, "--layers"}, 2, "--layers"},
        {{"export", in, folder / "out"}, 2, "extension"},
        {{"info"}, 2, "IN"},
        {{"info", in, "--yaml"}, 2, "--yaml"},
        {{"--frobnicate"}, 2, "--frobnicate"},
        {{}, 1, "There is no display"},
        {{in}, 1, "There is no display"},
        {{"export", in, out, "--format", "gif"}, 1, "Saving as gif is not supported."},
        {{"export", in, out, "--format", ""}, 1, "Saving as  is not supported."},
        {{"export", in, folder / "out.bmp"}, 1, "Saving as bmp is not supported."},
        {{"export", folder / "no\nfile", out}, 1, "no file: No such file or directory"},
        {{"export", folder.path(), out}, 1, "Is a directory"},
        {{"export", in, folder / "no/out.png"}, 1, "No such file or directory"},
        {{"export", in, in + "/out.png"}, 1, "Not a directory"},
        {{"export", in, folder.path(), "--format", "png"}, 1, "Is a directory"},
        {{"export", in, "/dev/null", "--format", "png"}, 1, "/dev/null"},
        {{"export", "/dev/null", out}, 1, "The file could not be read as an image."},
        {{"info", TestPlaces::program(), "--json"}, 1, "The file could not be read as an image."},
    };
    const TemporaryFolder runtime; // whose Ombrel nobody runs
    for (const auto& [arguments, exitStatus, message] : cases) {
        std::string line;
        for (const std::string& argument : arguments)
            line += argument + " ";
        SCOPED_TRACE(line);
        const ProgramResult result = runProgram(arguments, [&] {
            ::unsetenv("DISPLAY");
            ::unsetenv("WAYLAND_DISPLAY");
            ::unsetenv("QT_QPA_PLATFORM");
            ::setenv("XDG_RUNTIME_DIR", runtime.path().c_str(), 1);
        });
        EXPECT_EQ(result.exitStatus, exitStatus);
        EXPECT_EQ(result.output, "");
        expectOneLine(result.errors);
        EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{"in.png"});
}

TEST(CommandLine, helpAndVersionGoToStandardOutput) {
    const struct {
        std::vector<std::string> arguments;
        std::vector<std::string> parts;
    } cases[]{
        {{"--version"}, {"ombrel 0."}},
        {{"--help"}, {"export", "info", "FILE"}},
        {{"export", "--help"}, {"IN", "OUT", "--format", "--quality", "--depth", "--memory"}},
        {{"info", "--help"}, {"IN", "--json", "--memory"}},
    };
    for (const auto& [arguments, parts] : cases) {
        const ProgramResult result = runProgram(arguments);
        EXPECT_EQ(result.exitStatus, 0);
        EXPECT_EQ(result.errors, "");
        for (const std::string& part : parts)
            EXPECT_NE(result.output.find(part), std::string::npos) << part << result.output;
    }
}

TEST(CommandLine, scratchFilesLieWhereTheSettingsOfTheEditorSay) {
    const TemporaryFolder folder;
    const std::filesystem::path scratch = folder / "own";
    std::filesystem::create_directories(folder / "ombrel");
    ASSERT_TRUE(writeFileAtomically(folder / "ombrel/settings.json",
                                    R"({"scratchFolder": ")" + scratch.string() + "\"}"));
    test::writePicture(folder / "in.png", {30, 20},
                       [](auto, auto) { return PremultipliedColor(); });
    const ProgramResult result = runProgram({"export", folder / "in.png", folder / "out.png"}, [&] {
        ::setenv("XDG_CONFIG_HOME", folder.path().c_str(), 1);
    });
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_TRUE(std::filesystem::is_directory(scratch)) << "the file in it has no name";
}

TEST(CommandLine, anOutputThatTakesNothingIsAFailure) {
    const TemporaryFolder folder;
    test::writePicture(folder / "in.png", {3, 2}, [](auto, auto) { return PremultipliedColor(); });
    const auto toFullDevice = [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); };
    for (const std::vector<std::string>& arguments : {
             std::vector<std::string>{"info", folder / "in.png", "--json"},
             std::vector<std::string>{"--help"},
             std::vector<std::string>{"--version"},
         }) {
        const ProgramResult result = runProgram(arguments, toFullDevice);
        EXPECT_EQ(result.exitStatus, 1);
        expectOneLine(result.errors);
    }
}

} // namespace
} // namespace ombrel
