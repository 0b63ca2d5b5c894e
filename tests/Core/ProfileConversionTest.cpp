#include "Core/ProfileConversion.h"

#include "Core/LittleCms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace ombrel {

namespace {

using Rgb = std::array<float, 3>;

// The same conversion by the colour engine itself: float pixels through both curves, which are
// taken off and put on again by the profiles' exact formulas.
class EngineConversion {
public:
    EngineConversion(const ColorProfile& from, const ColorProfile& to)
        : source_(linearised(from)), target_(linearised(to)),
          transform_(cmsCreateTransformTHR(LittleCms::handleOf(context_), source_.get(),
                                           TYPE_RGB_FLT, target_.get(), TYPE_RGB_FLT,
                                           INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOOPTIMIZE)) {}

    Rgb apply(const Rgb& rgb) const {
        Rgb out{};
        cmsDoTransform(transform_.get(), rgb.data(), out.data(), 1);
        return out;
    }

private:
    LittleCms::Profile linearised(const ColorProfile& profile) const {
        LittleCms::Profile handle = LittleCms::openProfile(context_, profile.iccData());
        const LittleCms::Curve line(cmsBuildGamma(LittleCms::handleOf(context_), 1.0));
        for (const auto tag : {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag})
            cmsWriteTag(handle.get(), tag, line.get());
        return handle;
    }

    LittleCms::Context context_ = LittleCms::makeContext();
    LittleCms::Profile source_;
    LittleCms::Profile target_;
    LittleCms::Transform transform_;
};

} // namespace

TEST(ProfileConversion, agreesWithTheColourEngineBetweenAllBuiltInProfiles) {
    for (const ColorProfile& from : ColorProfile::builtIn()) {
        for (const ColorProfile& to : ColorProfile::builtIn()) {
            const auto conversion = ProfileConversion::between(from, to);
            ASSERT_TRUE(conversion);
            EXPECT_EQ(conversion->isIdentity(), from == to) << from.name() << " to " << to.name();
            const EngineConversion engine(from, to);
            for (std::size_t i = 0; i < 3; ++i) {
                Rgb basis{};
                basis[i] = 1;
                const Rgb expected = engine.apply(basis);
                for (std::size_t row = 0; row < 3; ++row) {
                    EXPECT_NEAR(conversion->columns[i][row], expected[row], 1e-4)
                        << from.name() << " to " << to.name();
                }
            }
        }
    }
}

TEST(ProfileConversion, keepsWhite) {
    for (const ColorProfile& to : ColorProfile::builtIn()) {
        const auto conversion = ProfileConversion::between(ColorProfile::sRGB(), to).value();
        for (std::size_t row = 0; row < 3; ++row) {
            const float sum = conversion.columns[0][row] + conversion.columns[1][row] +
                              conversion.columns[2][row];
            EXPECT_NEAR(sum, 1, 2e-4) << to.name();
        }
    }
}

TEST(ProfileConversion, equalProfilesAreTheIdentityWhateverTheyHold) {
    const ColorProfile broken("broken", std::vector<std::byte>(12));
    ASSERT_TRUE(ProfileConversion::between(broken, broken));
    EXPECT_TRUE(ProfileConversion::between(broken, broken)->isIdentity());
    EXPECT_FALSE(ProfileConversion::between(broken, ColorProfile::sRGB()));
    EXPECT_FALSE(ProfileConversion::between(ColorProfile::sRGB(), broken));
    // Another name alone makes another profile, but not another matrix.
    const auto data = ColorProfile::sRGB().iccData();
    const ColorProfile renamed("mine", {data.begin(), data.end()});
    EXPECT_TRUE(ProfileConversion::between(renamed, ColorProfile::sRGB())->isIdentity());
}

TEST(ProfileConversion, isTheIdentityUpToAHundredThousandth) {
    ProfileConversion conversion;
    conversion.columns[1][2] = 0.9e-5f;
    EXPECT_TRUE(conversion.isIdentity());
    conversion.columns[1][2] = -1.1e-5f;
    EXPECT_FALSE(conversion.isIdentity());
    conversion.columns[1][2] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(conversion.isIdentity());
}

TEST(ProfileConversion, cutsToWhatAlphaAllows) {
    ProfileConversion conversion;
    conversion.columns = {{{2, 0, -1}, {0, 1, 0}, {0, 0, 1}}};
    EXPECT_EQ(conversion.apply(0.5f, 0.25f, 0.25f, 0.75f),
              (PremultipliedColor{0.75f, 0.25f, 0, 0.75f}));
    EXPECT_EQ(conversion.apply(0.5f, 0.25f, 0.25f, 0), (PremultipliedColor{0, 0, 0, 0}));
    EXPECT_EQ(conversion.apply(0.5f, 0.25f, 0.25f, -1), (PremultipliedColor{0, 0, 0, -1}));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(conversion.apply(nan, nan, nan, 1), PremultipliedColor::black());
}

} // namespace ombrel
