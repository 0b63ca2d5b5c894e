#include "Commands/ColorModeCommands.h"

#include "Commands/CommandRun.h"
#include "Core/ColorProfileReading.h"
#include "Core/ProfileConversion.h"

namespace ombrel {
namespace {

using test::CommandRun;
using test::mottled;

class ColorModeCommands : public testing::Test {
protected:
    ColorModeCommands() {
        document_.layer("Mottled").painted({0, 0, 300, 200}, mottled(1, 0)).offset(3, 4);
        document_.layer("Opaque").painted({0, 0, 300, 200}, mottled(2)).hidden();
        document_.layer("Solid").filled({0.25f, 0.5f, 0.125f, 0.5f}).mask(1);
    }

    /// Checks every pixel of every layer against what `change` makes of it.
    template <typename Change>
    void expectChanged(const DocumentState& state, Change&& change, float tolerance) {
        const auto before = document_.state().allPixelLayers();
        const auto after = state.allPixelLayers();
        for (std::size_t i = 0; i < before.size(); ++i) {
            EXPECT_EQ(after[i]->pixels.tileCount(), before[i]->pixels.tileCount());
            EXPECT_EQ(after[i]->pixels.pixelTileCount(), before[i]->pixels.pixelTileCount());
            for (std::int64_t y = 0; y < 200; y += 7) {
                for (std::int64_t x = 0; x < 300; x += 3) {
                    const PremultipliedColor expected = change(before[i]->pixels.color(x, y));
                    const PremultipliedColor found = after[i]->pixels.color(x, y);
                    ASSERT_NEAR(found.red, expected.red, tolerance);
                    ASSERT_NEAR(found.green, expected.green, tolerance);
                    ASSERT_NEAR(found.blue, expected.blue, tolerance);
                    ASSERT_EQ(found.alpha, expected.alpha);
                }
            }
        }
    }

    TestDocument document_{{700, 200}};
    CommandRun run_{document_.store()};
};

} // namespace

TEST_F(ColorModeCommands, convertingChangesEveryColourByTheProfilesMatrix) {
    const ConvertProfileCommand command{ColorProfile::adobeRGB()};
    const DocumentState state = run_.after(document_.state(), command);
    EXPECT_EQ(state.canvas.profile, ColorProfile::adobeRGB());
    const ProfileConversion conversion =
        ProfileConversion::between(ColorProfile::sRGB(), ColorProfile::adobeRGB()).value();
    const auto converted = [&](const PremultipliedColor& color) {
        return conversion.apply(color.red, color.green, color.blue, color.alpha);
    };
    expectChanged(state, converted, 0.0005f);
    // Into a larger space and back.
    const DocumentState back = run_.after(state, ConvertProfileCommand{ColorProfile::sRGB()});
    expectChanged(back, [](const PremultipliedColor& color) { return color; }, 0.002f);
    const DocumentState same =
        run_.after(document_.state(), ConvertProfileCommand{ColorProfile::sRGB()});
    EXPECT_EQ(same, document_.state());
}

TEST_F(ColorModeCommands, assigningKeepsTheNumbersThatAFileWouldHold) {
    // The same curves: not a pixel changes.
    const DocumentState wide =
        run_.after(document_.state(), AssignProfileCommand{ColorProfile::displayP3()});
    EXPECT_EQ(wide.canvas.profile, ColorProfile::displayP3());
    EXPECT_EQ(wide.root, document_.state().root);

    const DocumentState adobe =
        run_.after(document_.state(), AssignProfileCommand{ColorProfile::adobeRGB()});
    const auto reading = readColorProfile(ColorProfile::adobeRGB().iccData()).value();
    const auto reread = [&](const PremultipliedColor& color) {
        const auto channel = [&](std::size_t index, float value) {
            if (!(color.alpha > 0)) return value;
            const double encoded = ToneCurve::sRGB().encoded(value / color.alpha);
            const double linear = reading.shaper.value().curves[index].linearised(encoded);
            return static_cast<float>(linear * color.alpha);
        };
        return PremultipliedColor{channel(0, color.red), channel(1, color.green),
                                  channel(2, color.blue), color.alpha};
    };
    expectChanged(adobe, reread, 0.0005f);
}

TEST_F(ColorModeCommands, refuseAProfileThatCannotBeRead) {
    const ColorProfile damaged("Damaged", std::vector<std::byte>(200, std::byte{9}));
    for (const Command& command :
         {Command(AssignProfileCommand{damaged}), Command(ConvertProfileCommand{damaged})})
        EXPECT_EQ(run_.refusal(document_.state(), command), "The color profile can't be read.");
}

TEST_F(ColorModeCommands, depthAndBlendingSpaceLeavePixelsAlone) {
    const DocumentState deep =
        run_.after(document_.state(), SetBitDepthCommand{BitDepth::thirtyTwo});
    EXPECT_EQ(deep.canvas.bitDepth, BitDepth::thirtyTwo);
    const DocumentState linear = run_.after(deep, SetBlendingSpaceCommand{true});
    EXPECT_TRUE(linear.canvas.blendUsingGamma1);
    EXPECT_EQ(linear.root, document_.state().root);
}

} // namespace ombrel
