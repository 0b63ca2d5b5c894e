#include "Base/AtomicFile.h"
#include "Cli/Pictures.h"
#include "Cli/ProgramRun.h"
#include "Core/ProfileConversion.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace ombrel {
namespace {

using test::difference;
using test::TemporaryFolder;

std::string contents(const std::filesystem::path& path) {
    return readSmallFile(path, 1 << 28).value_or("(unreadable)");
}

/// Smooth, so that lossy formats keep it; half of it lets through what is below.
PremultipliedColor smoothColor(std::int64_t x, std::int64_t y) {
    const float alpha = y % 200 < 100 ? 1.0f : 0.5f;
    return {static_cast<float>(x) / 700 * alpha, static_cast<float>(y) / 400 * alpha, 0.25f * alpha,
            alpha};
}
PremultipliedColor overWhite(const PremultipliedColor& color) {
    const float rest = 1 - color.alpha;
    return {color.red + rest, color.green + rest, color.blue + rest, 1};
}

TEST(ExportVerb, keepsThePictureFromEachFormatToEach) {
    const TemporaryFolder folder;
    const PixelSize size{601, 333};
    test::writePicture(folder / "in.png", size, smoothColor, BitDepth::sixteen);
    const struct {
        const char* file;
        std::vector<std::string> options;
        bool keepsAlpha;
        float tolerance; ///< of linear values
    } cases[]{
        {"a.png", {}, true, 0.001f},
        {"a.tiff", {"--depth", "32"}, true, 0.002f},
        {"b.png", {"--depth", "8"}, true, 0.01f},
        {"a.webp", {}, true, 0.02f},
        {"a.jpg", {"--quality", "1"}, false, 0.03f},
        {"odd name", {"--format", "TIFF"}, true, 0.001f},
    };
    for (const char* input : {"in.png", "a.tiff", "odd name"}) {
        for (const auto& [file, options, keepsAlpha, tolerance] : cases) {
            SCOPED_TRACE(std::string(input) + " to " + file);
            if (input == std::string_view(file)) continue;
            std::vector<std::string> arguments{"export", folder / input, folder / file};
            arguments.insert(arguments.end(), options.begin(), options.end());
            const ProgramResult result = runProgram(arguments);
            ASSERT_EQ(result.exitStatus, 0) << result.errors;
            EXPECT_EQ(result.output + result.errors, "");
            const auto picture = test::readPicture(folder / file);
            ASSERT_EQ(picture.image.size, size);
            if (file != std::string_view("a.webp")) { // the one that knows no resolution
                EXPECT_NEAR(picture.image.resolution, 144, 0.01);
            }
            for (std::int64_t y = 3; y < size.height; y += 33) {
                for (std::int64_t x = 0; x < size.width; x += 50) {
                    const PremultipliedColor original = smoothColor(x, y);
                    ASSERT_LT(
                        difference(picture.at(x, y), keepsAlpha ? original : overWhite(original)),
                        tolerance)
                        << x << ", " << y << ": " << picture.at(x, y).text();
                }
            }
        }
    }
}

TEST(ExportVerb, honoursQualityAndDepth) {
    const TemporaryFolder folder;
    test::writePicture(folder / "in.png", {300, 300}, [](auto x, auto y) {
        const float value = static_cast<float>((x * 7919 + y * 104729) % 251) / 251;
        return PremultipliedColor{value, value, value, 1};
    });
    const auto exported = [&](const std::string& file, const std::vector<std::string>& options) {
        std::vector<std::string> arguments{"export", folder / "in.png", folder / file};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ProgramResult result = runProgram(arguments);
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        return std::filesystem::file_size(folder / file);
    };
    EXPECT_LT(exported("a.jpg", {"--quality", "0.1"}), exported("b.jpg", {"--quality", "0.95"}));
    for (const auto& [depth, expected] : {std::pair("8", BitDepth::eight),
                                          {"16", BitDepth::sixteen},
                                          {"32", BitDepth::thirtyTwo}}) {
        exported("a.tiff", {"--depth", depth});
        EXPECT_EQ(test::readPicture(folder / "a.tiff").image.bitDepth, expected) << depth;
    }
}

TEST(ExportVerb, scalesDownToTheAskedSizeAndNeverUp) {
    const TemporaryFolder folder;
    const PixelSize size{1400, 600};
    const auto smooth = [](double x, double y) {
        return PremultipliedColor{static_cast<float>(x) * 0.5f, static_cast<float>(y) * 0.5f, 0.1f,
                                  0.5f};
    };
    test::writePicture(
        folder / "in.png", size,
        [&](auto x, auto y) {
            return smooth((static_cast<double>(x) + 0.5) / 1400,
                          (static_cast<double>(y) + 0.5) / 600);
        },
        BitDepth::sixteen);
    const auto exported = [&](const char* longestSide) {
        const ProgramResult result =
            runProgram({"export", folder / "in.png", folder / "out.png", "--size", longestSide});
        EXPECT_EQ(result.exitStatus, 0) << result.errors;
        return test::readPicture(folder / "out.png");
    };
    EXPECT_EQ(exported("5000").image.size, size);
    EXPECT_EQ(exported("3").image.size, (PixelSize{3, 1}));
    const auto small = exported("256");
    ASSERT_EQ(small.image.size, (PixelSize{256, 110}));
    for (std::int64_t y = 2; y < 108; y += 7) {
        for (std::int64_t x = 2; x < 254; x += 9) {
            const PremultipliedColor expected =
                smooth((static_cast<double>(x) + 0.5) / 256, (static_cast<double>(y) + 0.5) / 110);
            ASSERT_LT(difference(small.at(x, y), expected), 0.003f) << x << ", " << y;
        }
    }
    for (const char* wrong : {"0", "-4", "big", "300001"}) {
        EXPECT_EQ(runProgram({"export", folder / "in.png", folder / "no.png", "--size", wrong})
                      .exitStatus,
                  2)
            << wrong;
    }
}

TEST(ExportVerb, convertsToSRGBWhenAsked) {
    const TemporaryFolder folder;
    Canvas canvas{.size = {20, 10}, .profile = ColorProfile::displayP3()};
    const PremultipliedColor color{0.4f, 0.3f, 0.2f, 1};
    test::PictureBands bands(canvas.size, [&](auto, auto) { return color; });
    ASSERT_TRUE(ImageExporter::write(bands, ImageFormat::png, {.bitDepth = BitDepth::sixteen},
                                     canvas, folder / "in.png"));
    const auto conversion =
        ProfileConversion::between(ColorProfile::displayP3(), ColorProfile::sRGB());
    const PremultipliedColor converted = conversion->apply(color.red, color.green, color.blue, 1);
    for (const bool isConverted : {false, true}) {
        std::vector<std::string> arguments{"export", folder / "in.png", folder / "out.png"};
        if (isConverted) arguments.emplace_back("--srgb");
        ASSERT_EQ(runProgram(arguments).exitStatus, 0);
        const auto picture = test::readPicture(folder / "out.png");
        EXPECT_EQ(picture.image.profile.name(), isConverted ? "sRGB IEC61966-2.1" : "Display P3");
        EXPECT_LT(difference(picture.at(3, 3), isConverted ? converted : color), 0.001f);
    }
}

TEST(ExportVerb, mayWriteOverItsInput) {
    const TemporaryFolder folder;
    test::writePicture(folder / "a.png", {601, 333}, smoothColor, BitDepth::sixteen);
    const std::string before = contents(folder / "a.png");
    std::filesystem::create_symlink("a.png", folder / "link.png");
    const ProgramResult result =
        runProgram({"export", folder / "a.png", folder / "link.png", "--depth", "8"});
    ASSERT_EQ(result.exitStatus, 0) << result.errors;
    EXPECT_NE(contents(folder / "a.png"), before);
    const auto picture = test::readPicture(folder / "a.png");
    EXPECT_EQ(picture.image.bitDepth, BitDepth::eight);
    EXPECT_LT(difference(picture.at(300, 150), smoothColor(300, 150)), 0.01f);
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"a.png", "link.png"}));
}

TEST(ExportVerb, whatFailsLeavesTheOldFileAndNothingElse) {
    const TemporaryFolder folder;
    test::writePicture(folder / "in.png", {601, 333},
                       [](auto x, auto y) { return smoothColor(x * 7 % 601, y * 31 % 333); });
    const std::string whole = contents(folder / "in.png");
    ASSERT_TRUE(writeFileAtomically(folder / "cut.png",
                                    std::string_view(whole).substr(0, whole.size() * 2 / 3)));
    ASSERT_TRUE(writeFileAtomically(folder / "out.png", "old"));
    const std::vector<std::string> names = folder.names();

    const ProgramResult damaged = runProgram({"export", folder / "cut.png", folder / "out.png"});
    EXPECT_EQ(damaged.exitStatus, 1);
    EXPECT_EQ(damaged.errors, "ombrel: The file could not be read as an image.\n");

    for (const char* format : {"png", "jpeg", "tiff", "webp"}) {
        const ProgramResult full =
            runProgram({"export", folder / "in.png", folder / "out.png", "--format", format}, [] {
                const rlimit limit{512, 512}; // as a full disk
                ::setrlimit(RLIMIT_FSIZE, &limit);
            });
        EXPECT_EQ(full.exitStatus, 1) << format;
        EXPECT_EQ(full.errors, "ombrel: The image could not be encoded.\n") << format;
    }
    EXPECT_EQ(contents(folder / "out.png"), "old");
    EXPECT_EQ(folder.names(), names);
}

TEST(ExportVerb, littleMemoryGivesTheSamePicture) {
    const TemporaryFolder folder;
    test::writePicture(folder / "in.png", {3000, 2600}, smoothColor, BitDepth::sixteen);
    for (const char* file : {"little.tiff", "much.tiff"}) {
        std::vector<std::string> arguments{"export", folder / "in.png", folder / file};
        if (file == std::string_view("little.tiff")) { // a quarter of the picture's tiles
            arguments.insert(arguments.end(), {"--memory", "16"});
        }
        const ProgramResult result = runProgram(arguments);
        ASSERT_EQ(result.exitStatus, 0) << result.errors;
    }
    EXPECT_EQ(contents(folder / "little.tiff"), contents(folder / "much.tiff"));
}

/// Enough work to be interrupted in the middle of it.
void writeLargePicture(const std::filesystem::path& path) {
    test::writePicture(path, {4500, 4000}, [](auto x, auto y) {
        const float value = static_cast<float>((x * 7919 + y * 104729) % 8191) / 8191;
        return PremultipliedColor{value, 1 - value, value * value, 1};
    });
}

TEST(ExportVerb, anInterruptLeavesNothingBehind) {
    const TemporaryFolder folder;
    writeLargePicture(folder / "in.tiff");
    int cancelled = 0;
    for (const int signal : {SIGINT, SIGTERM, SIGINT, SIGHUP}) {
        // The delay grows until the program is through before the signal comes.
        for (int delay = 10; delay < 100000; delay = delay * 3 / 2) {
            ProgramRun run({"export", folder / "in.tiff", folder / "out.png"});
            std::this_thread::sleep_for(std::chrono::milliseconds(delay));
            const bool wasThrough = run.hasEnded();
            run.sendSignal(signal);
            const ProgramResult result = run.wait();
            if (result.exitStatus == 0) {
                EXPECT_EQ(folder.names(), (std::vector<std::string>{"in.tiff", "out.png"}));
                std::filesystem::remove(folder / "out.png");
            } else {
                EXPECT_EQ(folder.names(), std::vector<std::string>{"in.tiff"});
                if (result.signal != signal) { // too early to be caught
                    EXPECT_EQ(result.exitStatus, 1);
                    EXPECT_EQ(result.errors, "ombrel: Cancelled.\n");
                    ++cancelled;
                }
            }
            if (wasThrough || cancelled >= 3) break;
        }
    }
    EXPECT_GE(cancelled, 1);
}

TEST(ExportVerb, aKilledProgramLeavesNothingBehind) {
    const TemporaryFolder folder;
    writeLargePicture(folder / "in.tiff");
    for (const int delay : {200, 500, 1000}) {
        ProgramRun run({"export", folder / "in.tiff", folder / "out.png"});
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        run.sendSignal(SIGKILL);
        const ProgramResult result = run.wait();
        if (result.exitStatus == 0) break;
        // Not even a temporary file: it has no name yet.
        EXPECT_EQ(folder.names(), std::vector<std::string>{"in.tiff"});
    }
}

} // namespace
} // namespace ombrel
