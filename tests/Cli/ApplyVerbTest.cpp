#include "Base/AtomicFile.h"
#include "Cli/Pictures.h"
#include "Cli/ProgramRun.h"
#include "support/TemporaryFolder.h"
#include "support/TestPlaces.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sched.h>
#include <string>

namespace ombrel {
namespace {

using test::difference;
using test::TemporaryFolder;

std::string contents(const std::filesystem::path& path) {
    return readSmallFile(path, 1 << 28).value_or("(unreadable)");
}

PremultipliedColor smoothColor(std::int64_t x, std::int64_t y) {
    return {static_cast<float>(x) / 900, static_cast<float>(y) / 700, 0.25f, 1};
}
PremultipliedColor red(std::int64_t, std::int64_t) {
    return {1, 0, 0, 1};
}

void writeScript(const std::filesystem::path& path, std::string_view steps) {
    const auto written = writeFileAtomically(path, R"({"steps": [)" + std::string(steps) + "]}");
    ASSERT_TRUE(written) << written.error().text();
}

void onOneCore() {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(sched_getcpu(), &cores);
    sched_setaffinity(0, sizeof(cores), &cores);
}

class ApplyVerb : public testing::Test {
protected:
    ApplyVerb() {
        test::writePicture(folder / "photo.png", {800, 600}, smoothColor, BitDepth::sixteen);
        test::writePicture(folder / "red.png", {100, 100}, red);
    }

    ProgramResult apply(std::string_view steps, const std::string& output,
                        const ProgramSetup& setup = {}) {
        writeScript(folder / "script.json", steps);
        return runProgram(
            {"apply", folder / "photo.png", folder / "script.json", "-o", folder / output}, setup);
    }

    /// Not by EXPECT_EQ, which would print both.
    bool isSame(const std::string& one, const std::string& other) const {
        return contents(folder / one) == contents(folder / other);
    }

    TemporaryFolder folder;
};

constexpr std::string_view placeRed =
    R"({"command": "PlaceImageCommand", "pixels": {"file": "red.png"}})";
constexpr std::string_view halfRed =
    R"({"command": "SetLayerPropertiesCommand", "layerID": {"name": "red"}, "name": "Opacity",
        "properties": {"opacity": 0.5}})";

TEST_F(ApplyVerb, editsAsTheCommandsSayAndPlacesPicturesBesideTheScript) {
    const ProgramResult result =
        apply(std::string(placeRed) + "," + std::string(halfRed), "out.tiff");
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    const test::ReadPicture out = test::readPicture(folder / "out.tiff");
    EXPECT_LT(difference(out.at(10, 20), smoothColor(10, 20)), 0.001f);
    // In the middle, half of what an encoded red and the picture below make.
    const PremultipliedColor middle = out.at(400, 300);
    EXPECT_GT(middle.red, smoothColor(400, 300).red + 0.05f);
    EXPECT_LT(middle.red, 0.9f);
    EXPECT_LT(difference(out.at(349, 300), smoothColor(349, 300)), 0.001f);
}

TEST_F(ApplyVerb, undoesAndRedoesStepsAndGivesTheSameBytesEachTime) {
    const std::string edits = std::string(placeRed) + "," + std::string(halfRed);
    ASSERT_EQ(apply(edits, "plain.png").exitStatus, 0);
    ASSERT_EQ(apply(edits + R"(,{"undo": 2}, {"redo": 1}, {"redo": 1})", "redone.png").exitStatus,
              0);
    ASSERT_EQ(apply(edits + R"(,{"undo": 2})", "undone.png").exitStatus, 0);
    ASSERT_EQ(apply("", "untouched.png").exitStatus, 0);
    ASSERT_EQ(apply(edits, "oneCore.png", onOneCore).exitStatus, 0);
    EXPECT_TRUE(isSame("redone.png", "plain.png"));
    EXPECT_TRUE(isSame("oneCore.png", "plain.png"));
    EXPECT_TRUE(isSame("undone.png", "untouched.png"));
    EXPECT_FALSE(isSame("plain.png", "untouched.png"));
}

TEST_F(ApplyVerb, aFailingStepNamesItselfAndWritesNothing) {
    const struct {
        std::string steps;
        std::string message;
    } cases[]{
        {std::string(placeRed) + R"(, {"command": "DeleteLayersCommand",
                                       "layerIDs": [{"name": "red"}, {"name": "photo"}]})",
         "step 2: A document must have at least one layer."},
        {R"({"command": "UngroupCommand", "layerID": {"name": "photo"}})",
         "step 1: The layer isn't a group."},
        {std::string(placeRed) + R"(, {"undo": 2})", "step 2: There is nothing to undo."},
        {R"({"redo": 1})", "step 1: There is nothing to redo."},
        {R"({"command": "NoSuchCommand"})", "step 1: "},
        {R"({"command": "UngroupCommand", "layerID": {"name": "nobody"}})", "step 1: "},
        {R"({"command": "PlaceImageCommand", "pixels": {"file": "missing.png"}})", "step 1: "},
        {R"({"paint": 3})", "step 1: "},
        {R"({"undo": )", "line "},
    };
    for (const auto& [steps, message] : cases) {
        SCOPED_TRACE(steps);
        ASSERT_TRUE(writeFileAtomically(folder / "out.png", "before"));
        const ProgramResult result = apply(steps, "out.png");
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_NE(result.errors.find(message), std::string::npos) << result.errors;
        EXPECT_EQ(result.errors.find('\n'), result.errors.size() - 1);
        EXPECT_EQ(contents(folder / "out.png"), "before");
    }
    EXPECT_EQ(runProgram({"apply", folder / "photo.png", folder / "script.json"}).exitStatus, 2);
}

TEST_F(ApplyVerb, aLongScriptGivesTheSameBytesOnEveryRunAndNumberOfCoresAndMemory) {
    const std::filesystem::path photo = TestPlaces::corpus() / "raster/exif/Landscape_6.jpg";
    const std::string input =
        std::filesystem::exists(photo) ? photo.string() : (folder / "photo.png").string();
    ASSERT_EQ(runProgram({"convert", input, folder / "photo.ombrel"}).exitStatus, 0);
    std::filesystem::copy_file(TestPlaces::data() / "scripts/thirty.json", folder / "thirty.json");
    for (const std::string output : {"png", "ombrel"}) {
        const auto run = [&](const std::string& name, std::vector<std::string> options,
                             const ProgramSetup& setup) {
            std::vector<std::string> arguments{"apply", folder / "photo.ombrel",
                                               folder / "thirty.json", "-o",
                                               folder / (name + "." + output)};
            arguments.insert(arguments.end(), options.begin(), options.end());
            const ProgramResult result = runProgram(arguments, setup);
            EXPECT_EQ(result.exitStatus, 0) << result.errors;
        };
        run("first", {}, {});
        run("second", {}, {});
        run("oneCore", {}, onOneCore);
        run("littleMemory", {"--memory", "16"}, {});
        for (const char* other : {"second.", "oneCore.", "littleMemory."})
            EXPECT_TRUE(isSame("first." + output, other + output)) << other << output;
    }
}

TEST_F(ApplyVerb, runsEveryExampleOfTheReference) {
    for (const auto& entry : std::filesystem::directory_iterator(TestPlaces::docs() / "examples")) {
        SCOPED_TRACE(entry.path().filename());
        const ProgramResult result =
            runProgram({"apply", folder / "photo.png", entry.path(), "-o", folder / "example.png"});
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        EXPECT_EQ(test::readPicture(folder / "example.png").image.size, (PixelSize{800, 600}));
    }
}

} // namespace
} // namespace ombrel
