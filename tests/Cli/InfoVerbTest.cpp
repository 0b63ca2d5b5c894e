#include "Base/Json.h"
#include "Cli/Pictures.h"
#include "Cli/ProgramRun.h"
#include "support/TemporaryFolder.h"
#include "support/TestPlaces.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace ombrel {
namespace {

using test::TemporaryFolder;

const std::filesystem::path corpus = TestPlaces::corpus();

Json infoOf(const std::filesystem::path& file) {
    const ProgramResult result = runProgram({"info", file, "--json"});
    EXPECT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    auto json = parseJson(result.output);
    EXPECT_TRUE(json.has_value()) << result.output;
    return json.value_or(Json());
}

Json indexOf(const char* folder) {
    std::ifstream file(corpus / folder / "index.json");
    std::stringstream text;
    text << file.rdbuf();
    return parseJson(text.str()).value_or(Json());
}

TEST(InfoVerb, tellsCanvasAndLayersOfARasterFile) {
    const TemporaryFolder folder;
    test::writePicture(
        folder / "A photo.v2.tiff", {700, 300},
        [](auto x, auto y) {
            const bool isInside = x >= 300 && x < 650 && y >= 20 && y < 299;
            return isInside ? PremultipliedColor{0.1f, 0.2f, 0.3f, 0.5f} : PremultipliedColor();
        },
        BitDepth::sixteen);
    Json info = infoOf(folder / "A photo.v2.tiff");
    const Json node = info["activeNode"];
    EXPECT_EQ(node.get<std::string>().size(), 36u);
    const std::string layer = info["nodes"][0]["layers"][0]["id"];
    EXPECT_EQ(layer.size(), 36u);
    const Json canvas = parseJson(R"({"size": {"width": 700, "height": 300}, "resolution": 144.0,
        "profile": "sRGB IEC61966-2.1", "bitDepth": 16, "blendUsingGamma1": false})")
                            .value();
    EXPECT_EQ(info, (Json{{"format", "tiff"},
                          {"canvas", canvas},
                          {"activeNode", node},
                          {"report", Json::array()},
                          {"nodes",
                           {{{"id", node},
                             {"name", "Node 1"},
                             {"origin", {0, 0}},
                             {"canvas", canvas},
                             {"layers",
                              {{{"id", layer},
                                {"kind", "pixel"},
                                {"name", "A photo.v2"},
                                {"visible", true},
                                {"opacity", 1.0},
                                {"blendMode", "normal"},
                                {"clipsToBelow", false},
                                {"locks", 0},
                                {"bounds", {300, 20, 350, 279}},
                                {"mask", nullptr},
                                {"effects", Json::array()}}}}}}}}))
        << indentedText(info);
}

TEST(InfoVerb, aTransparentPictureHasNoBounds) {
    const TemporaryFolder folder;
    test::writePicture(folder / "a.png", {3, 2}, [](auto, auto) { return PremultipliedColor(); });
    EXPECT_TRUE(infoOf(folder / "a.png")["nodes"][0]["layers"][0]["bounds"].is_null());
}

TEST(InfoVerb, writesTextForPeople) {
    const TemporaryFolder folder;
    test::writePicture(folder / "a.png", {640, 480},
                       [](auto, auto) { return PremultipliedColor::white(); });
    const ProgramResult result = runProgram({"info", folder / "a.png"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.output, "Node 1: png, 640×480 pixels, 144 pixels/inch, 8 bits/channel, "
                             "sRGB IEC61966-2.1\n"
                             "  pixel \"a\": 640×480 at (0, 0)\n");
}

TEST(InfoVerb, opensEveryRasterFileOfTheCorpus) {
    const Json index = indexOf("raster");
    if (!index.is_array()) GTEST_SKIP() << "no corpus at " << corpus;
    std::size_t opened = 0;
    for (const Json& entry : index) {
        const std::string file = entry["file"];
        SCOPED_TRACE(file);
        const Json info = infoOf(corpus / "raster" / file);
        if (!info.is_object()) continue;
        ++opened;
        // The index turns one TIFF twice; its reference picture, scaled down, shows the shape.
        const Json& shape = entry["reference_size"];
        Json size = entry.contains("upright_size") ? entry["upright_size"] : shape;
        if ((size[0] > size[1]) != (shape[0] > shape[1])) std::swap(size[0], size[1]);
        EXPECT_EQ(info["canvas"]["size"]["width"], size[0]);
        EXPECT_EQ(info["canvas"]["size"]["height"], size[1]);
        EXPECT_EQ(info["nodes"][0]["layers"][0]["name"],
                  std::filesystem::path(file).stem().string());
    }
    EXPECT_EQ(opened, index.size());
}

TEST(InfoVerb, refusesDamagedFilesInOneLine) {
    const Json index = indexOf("malformed");
    if (!index.is_array()) GTEST_SKIP() << "no corpus at " << corpus;
    std::size_t refused = 0;
    for (const Json& entry : index) {
        const std::string file = entry["file"];
        const std::string expected = entry["expect"];
        SCOPED_TRACE(file + ": " + expected);
        const ProgramResult result = runProgram({"info", corpus / "malformed" / file, "--json"});
        EXPECT_EQ(result.signal, 0);
        const bool mayOpen = expected.find("opens") != std::string::npos ||
                             expected.find("partial picture") != std::string::npos;
        if (result.exitStatus == 0) {
            EXPECT_TRUE(mayOpen);
            continue;
        }
        ++refused;
        EXPECT_EQ(result.exitStatus, 1);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
        if (expected == "error unreadable") {
            EXPECT_EQ(result.errors, "ombrel: The file could not be read as an image.\n");
        }
    }
    EXPECT_GE(refused, 10u);
}

} // namespace
} // namespace ombrel
