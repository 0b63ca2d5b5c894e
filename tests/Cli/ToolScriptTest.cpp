// Tools in scripts, by the program as people run it.
#include "Base/AtomicFile.h"
#include "Cli/Pictures.h"
#include "Cli/ProgramRun.h"
#include "support/Golden.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <sched.h>
#include <string>

namespace ombrel {
namespace {

using test::difference;

constexpr PremultipliedColor white{1, 1, 1, 1};
constexpr PremultipliedColor black{0, 0, 0, 1};

PremultipliedColor allWhite(std::int64_t, std::int64_t) {
    return white;
}

void onOneCore() {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(sched_getcpu(), &cores);
    sched_setaffinity(0, sizeof(cores), &cores);
}

/// A stroke from left to right at a height, hard and twenty pixels wide.
std::string stroke(int y, std::string_view more = "", std::string_view tool = "brush") {
    return fmt::format(R"({{"tool": "{}", {} "events": [
        {{"type": "down", "x": 60, "y": {}}}, {{"type": "drag", "x": 200, "y": {}}},
        {{"type": "drag", "x": 300, "y": {}}}, {{"type": "up", "x": 340, "y": {}}}]}})",
                       tool, more, y, y, y, y);
}
constexpr std::string_view hard =
    R"("options": {"size": 20, "hardness": 1, "smoothing": 0, "pressureControlsSize": false},)";
constexpr std::string_view addLayer =
    R"({"command": "AddLayerCommand", "layer": {"name": "Ink"}},)";

class ToolScript : public testing::Test {
protected:
    ToolScript() { test::writePicture(folder / "white.png", {400, 300}, allWhite); }

    ProgramResult apply(std::string_view steps, const std::string& output,
                        const ProgramSetup& setup = {}) {
        const auto written = writeFileAtomically(folder / "script.json",
                                                 R"({"steps": [)" + std::string(steps) + "]}");
        EXPECT_TRUE(written);
        return runProgram(
            {"apply", folder / "white.png", folder / "script.json", "-o", folder / output}, setup);
    }
    test::ReadPicture painted(std::string_view steps) {
        const ProgramResult result = apply(steps, "out.png");
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        return test::readPicture(folder / "out.png");
    }
    /// What the program says about steps that must fail.
    std::string refusal(std::string_view steps) {
        const ProgramResult result = apply(steps, "refused.png");
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_FALSE(std::filesystem::exists(folder / "refused.png"));
        return result.errors;
    }
    std::string bytes(const std::string& name) const {
        return readSmallFile(folder / name, 1 << 28).value_or("(unreadable)");
    }

    test::TemporaryFolder folder;
};

} // namespace

TEST_F(ToolScript, brushPencilAndEraserPaintWhereAndWhatTheySay) {
    const std::string brush = stroke(100, std::string(hard) + R"("foreground": "#000000",)");
    const std::string pencil =
        stroke(150, R"("options": {"size": 5}, "foreground": "#FF0000",)", "pencil");
    const auto picture = painted(std::string(addLayer) + brush + "," + pencil);
    EXPECT_LT(difference(picture.at(200, 100), black), 0.001f);
    EXPECT_LT(difference(picture.at(200, 108), black), 0.001f);
    EXPECT_LT(difference(picture.at(200, 112), white), 0.001f);
    EXPECT_LT(difference(picture.at(200, 150), {1, 0, 0, 1}), 0.001f);
    EXPECT_LT(difference(picture.at(200, 155), white), 0.001f);
    EXPECT_LT(difference(picture.at(308, 100), black), 0.001f) << "the end of the stroke";

    const auto erased = painted(std::string(addLayer) + brush + "," + stroke(104, hard, "eraser"));
    EXPECT_LT(difference(erased.at(200, 104), white), 0.001f);
    EXPECT_LT(difference(erased.at(200, 92), black), 0.001f);
    // Behind and clear are blends, too.
    const auto behind = painted(
        std::string(addLayer) + brush + "," +
        stroke(105, R"("options": {"size": 40, "blend": "behind"}, "foreground": "#00FF00",)"));
    EXPECT_LT(difference(behind.at(200, 100), black), 0.001f);
    EXPECT_LT(difference(behind.at(200, 116), {0, 1, 0, 1}), 0.02f);
    const auto cleared =
        painted(std::string(addLayer) + brush + "," +
                stroke(105, R"("options": {"size": 10, "hardness": 1, "blend": "clear"},)"));
    EXPECT_LT(difference(cleared.at(200, 105), white), 0.001f);
    EXPECT_LT(difference(cleared.at(200, 93), black), 0.001f);
}

TEST_F(ToolScript, strokesAreUndoStepsThatEndBeforeTheNextStep) {
    const std::string first = stroke(100, hard);
    const std::string second = stroke(200, hard);
    EXPECT_EQ(apply(first, "first.png").exitStatus, 0);
    EXPECT_EQ(apply(first + "," + second + R"(, {"undo": 1})", "undone.png").exitStatus, 0);
    EXPECT_EQ(apply(first + "," + second, "both.png").exitStatus, 0);
    EXPECT_EQ(
        apply(first + "," + second + R"(, {"undo": 2}, {"redo": 2})", "redone.png").exitStatus, 0);
    EXPECT_EQ(bytes("first.png"), bytes("undone.png"));
    EXPECT_EQ(bytes("both.png"), bytes("redone.png"));
    EXPECT_NE(bytes("both.png"), bytes("first.png"));
    EXPECT_EQ(refusal(first + R"(, {"undo": 2})"), "ombrel: step 2: There is nothing to undo.\n");
}

TEST_F(ToolScript, theSameBytesComeOfEveryRunAndNumberOfCores) {
    // A brush with all there is of chance.
    const std::string spatter =
        std::string(addLayer) +
        stroke(150, R"("options": {"preset": "Spatter", "size": 90}, "foreground": "#305090",
                       "seed": 12,)");
    EXPECT_EQ(apply(spatter, "one.png").exitStatus, 0);
    EXPECT_EQ(apply(spatter, "two.png").exitStatus, 0);
    EXPECT_EQ(apply(spatter, "core.png", onOneCore).exitStatus, 0);
    EXPECT_EQ(bytes("one.png"), bytes("two.png"));
    EXPECT_EQ(bytes("one.png"), bytes("core.png"));
    std::string other = spatter;
    other.replace(other.find("12,"), 2, "13");
    EXPECT_EQ(apply(other, "other.png").exitStatus, 0);
    EXPECT_NE(bytes("one.png"), bytes("other.png"));
}

TEST_F(ToolScript, penEventsBringTheirPressure) {
    const auto picture =
        painted(R"({"tool": "brush", "options": {"size": 60, "hardness": 1}, "events": [
        {"type": "down", "x": 100, "y": 100, "pressure": 1},
        {"type": "up", "x": 100, "y": 100}]},
        {"tool": "brush", "events": [
        {"type": "down", "x": 300, "y": 100, "pressure": 0.25, "tilt": [0.1, 0.2], "time": 1.5},
        {"type": "up", "x": 300, "y": 100}]})");
    EXPECT_LT(difference(picture.at(125, 100), black), 0.001f);
    EXPECT_LT(difference(picture.at(305, 100), black), 0.001f);
    EXPECT_LT(difference(picture.at(312, 100), white), 0.001f) << "a quarter of the size";
}

TEST_F(ToolScript, onAMaskBlackHidesAndTheEraserBringsBack) {
    const std::string masked =
        std::string(R"({"command": "AddLayerCommand", "layer": {"name": "Red",
                        "pixels": {"fill": "#FF0000"}}},
                       {"command": "TranslateLayersCommand", "layerIDs": [{"name": "Red"}],
                        "dx": 20, "dy": -30},
                       {"command": "AddLayerMaskCommand", "layerID": {"name": "Red"}},)") +
        stroke(150, std::string(hard) + R"("target": "mask", "layer": {"name": "Red"},
                                           "foreground": "#000000", "background": "#FFFFFF",)");
    const PremultipliedColor red{1, 0, 0, 1};
    const auto hidden = painted(masked);
    EXPECT_LT(difference(hidden.at(200, 150), white), 0.001f);
    EXPECT_LT(difference(hidden.at(200, 165), red), 0.001f);
    const auto back =
        painted(masked + "," + stroke(155, std::string(hard) + R"("target": "mask",)", "eraser"));
    EXPECT_LT(difference(back.at(200, 155), red), 0.001f);
    EXPECT_LT(difference(back.at(200, 142), white), 0.001f);
    EXPECT_NE(refusal(stroke(150, R"("target": "mask",)")).find("step 1: The layer has no mask."),
              std::string::npos);
}

TEST_F(ToolScript, layersThatAreMovedArePaintedWhereTheHandIs) {
    const auto picture = painted(std::string(addLayer) +
                                 R"({"command": "TranslateLayersCommand",
                                     "layerIDs": [{"name": "Ink"}], "dx": -777, "dy": 123},)" +
                                 stroke(100, hard));
    EXPECT_LT(difference(picture.at(200, 100), black), 0.001f);
    EXPECT_LT(difference(picture.at(200, 120), white), 0.001f);
}

TEST_F(ToolScript, coloursAreThoseOfTheScreenInEveryProfile) {
    const auto picture =
        painted(R"({"command": "ConvertProfileCommand", "profile": "Display P3"},)" +
                stroke(100, std::string(hard) + R"("foreground": "#4080C0",)") +
                R"(,{"command": "ConvertProfileCommand", "profile": "sRGB IEC61966-2.1"})");
    const PremultipliedColor expected{0.0512695f, 0.2158605f, 0.5271151f, 1};
    EXPECT_LT(difference(picture.at(200, 100), expected), 0.01f);
}

TEST_F(ToolScript, faultsNameStepAndEventInTheWordsOfTheEditor) {
    const std::string lock =
        R"({"command": "SetLayerPropertiesCommand", "layerID": {"active": true},
                                 "properties": {"locks": ["pixels"]}},)";
    const std::string hide =
        R"({"command": "SetLayerPropertiesCommand", "layerID": {"active": true},
                                 "properties": {"isVisible": false}},)";
    const std::pair<std::string, std::string> cases[] = {
        {lock + stroke(100), "step 2: event 1: The layer “white” is locked."},
        {hide + stroke(100), "step 2: event 1: The layer “white” is hidden."},
        {stroke(100, "", "spatula"), "step 1: field \"tool\" must be one of "},
        {stroke(100, "", "redEye"), "step 1: event 1: The Red Eye tool isn't available yet."},
        {stroke(100, R"("options": {"size": 0},)"),
         "step 1: field \"options.size\" must be from 1 to 2000"},
        {stroke(100, R"("options": {"blend": "passThrough"},)"),
         "step 1: field \"options.blend\" must be a blend mode"},
        {stroke(100, R"("options": {"preset": "Nobody"},)"),
         "step 1: field \"options.preset\" must be one of \"Soft Round\""},
        {stroke(100, R"("options": {"width": 3},)"), "step 1: "},
        {stroke(100, R"("options": {},)", "hand"), "step 1: the tool \"hand\" takes no options"},
        {stroke(100, R"("foreground": "red",)"),
         "step 1: field \"foreground\" must be a color, \"#RRGGBB\""},
        {stroke(100, R"("layer": {"name": "Nobody"},)"), "step 1: field \"layer\" names no layer"},
        {R"({"tool": "brush", "events": [{"type": "drag", "x": 1, "y": 1}]})",
         "step 1: event 1: no button is held"},
        {R"({"tool": "brush", "events": [{"type": "down", "x": 1, "y": 1}]})",
         "step 1: the button is still held after the last event"},
        {R"({"tool": "brush", "events": [{"type": "down", "x": 1, "y": 1, "pressure": 2}]})",
         "step 1: event 1: field \"pressure\" must be from 0 to 1"},
        {R"({"tool": "brush", "events": [{"type": "down", "x": 1e9, "y": 1}]})",
         "step 1: field \"events[0].x\" must be from "},
        {R"({"key": {"name": "escape"}})", "step 1: the key does nothing here"},
        {R"({"key": {"digit": 12}})", "step 1: field \"key\" must be one of a digit"},
    };
    for (const auto& [steps, message] : cases) {
        const std::string errors = refusal(steps);
        EXPECT_TRUE(errors.starts_with("ombrel: " + message)) << steps << "\n" << errors;
        EXPECT_EQ(errors.find('\n'), errors.size() - 1);
    }
}

/// A wave at a height, pressed hardest in its middle.
std::string wave(std::string_view options, double y) {
    std::string events;
    constexpr int samples = 40;
    for (int i = 0; i <= samples; ++i) {
        const double t = i / double{samples};
        events += fmt::format(R"({}{{"type": "{}", "x": {}, "y": {}, "pressure": {}}})",
                              i == 0 ? "" : ",",
                              i == 0         ? "down"
                              : i == samples ? "up"
                                             : "drag",
                              20 + 360 * t, y + 10 * std::sin(6 * t), std::sin(3.1 * t));
    }
    return fmt::format(R"({{"tool": "brush", "seed": 7, "options": {{{}}}, "events": [{}]}})",
                       options, events);
}

GoldenImage goldenOf(const test::ReadPicture& picture) {
    GoldenImage golden{.width = 400, .height = 300, .samples = {}};
    const auto sample = [](float value) {
        return static_cast<std::uint16_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 65535));
    };
    for (int y = 0; y < golden.height; ++y) {
        for (int x = 0; x < golden.width; ++x) {
            const PremultipliedColor color = picture.at(x, y);
            for (const float value : {color.red, color.green, color.blue, color.alpha})
                golden.samples.push_back(sample(value));
        }
    }
    return golden;
}

TEST_F(ToolScript, strokesLookAsTheyDid) {
    std::string presets;
    double y = 20;
    for (const char* name : {"Soft Round", "Hard Round", "Chalk", "Charcoal", "Spatter", "Bristle",
                             "Dry Brush", "Scattered Leaves Soft"}) {
        presets += fmt::format("{}{}", presets.empty() ? "" : ",",
                               wave(fmt::format(R"("preset": "{}", "size": 24)", name), y));
        y += 36;
    }
    std::string settings;
    y = 15;
    for (const char* options :
         {R"("size": 1, "hardness": 1)", R"("size": 3, "hardness": 1)",
          R"("size": 40, "hardness": 0, "pressureControlsSize": false)",
          R"("size": 40, "hardness": 0.5, "flow": 0.2, "pressureControlsSize": false)",
          R"("size": 40, "hardness": 1, "opacity": 0.5, "pressureControlsSize": false)",
          R"("size": 40, "angle": 30, "roundness": 0.2)"}) {
        settings += fmt::format("{}{}", settings.empty() ? "" : ",", wave(options, y));
        y += 50;
    }
    // Two of 255 steps: the file has 8 bits, and targets may differ in a last place.
    EXPECT_EQ(goldenDifference("stroke-presets", goldenOf(painted(presets)), 600), "");
    EXPECT_EQ(goldenDifference("stroke-settings", goldenOf(painted(settings)), 600), "");
}

TEST_F(ToolScript, optionsThatAreNamedAreAllThatDiffersFromTheFirstOnes) {
    const std::string faint = R"("options": {"size": 20, "opacity": 0.3, "smoothing": 0},)";
    const auto alone = painted(stroke(100, hard));
    const auto after = painted(stroke(250, faint) + "," + stroke(100, hard));
    EXPECT_LT(difference(after.at(200, 100), alone.at(200, 100)), 0.001f);
    const auto kept = painted(stroke(250, faint) + "," + stroke(100));
    EXPECT_LT(difference(kept.at(200, 100), kept.at(200, 250)), 0.001f);
    EXPECT_GT(kept.at(200, 100).red, 0.2f);
}

TEST_F(ToolScript, aMousePressesAsHardAsIsWritten) {
    const auto size = [&](std::string_view pressure) {
        return fmt::format(R"({{"tool": "brush", "options": {{"size": 60, "hardness": 1}},
            "events": [{{"type": "down", "x": 100, "y": 100, "device": "mouse" {}}},
                       {{"type": "up", "x": 100, "y": 100, "device": "mouse" {}}}]}})",
                           pressure, pressure);
    };
    EXPECT_LT(painted(size("")).at(120, 100).red, 0.01f);
    EXPECT_GT(painted(size(R"(, "pressure": 0.5)")).at(120, 100).red, 0.99f);
}

TEST_F(ToolScript, keysSetTheToolAtHand) {
    // Five is half the opacity.
    const auto picture = painted(stroke(250, hard) + R"(, {"key": {"digit": 5}},)" + stroke(100));
    const float half = picture.at(200, 100).red;
    EXPECT_GT(half, 0.15f);
    EXPECT_LT(half, 0.6f);
    const auto erased = painted(std::string(addLayer) + stroke(100, hard) +
                                R"(, {"key": {"character": "e"}}, {"undo": 1})");
    EXPECT_LT(difference(erased.at(200, 100), white), 0.001f);
}

} // namespace ombrel
