#include "Core/ColorProfile.h"

#include "Core/ColorProfileReading.h"
#include "Core/LittleCms.h"
#include "TestSeed.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>

namespace ombrel {

namespace {

using Bytes = std::vector<std::byte>;

Bytes bytesOf(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    Bytes bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    return bytes;
}

// An sRGB-like profile with one thing changed.
Bytes changedProfile(const std::function<void(cmsHPROFILE, cmsContext)>& change) {
    const LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Profile profile =
        LittleCms::openProfile(context, ColorProfile::sRGB().iccData());
    change(profile.get(), LittleCms::handleOf(context));
    return bytesOf(profile.get());
}

Bytes renamed(const wchar_t* name) {
    return changedProfile([name](cmsHPROFILE profile, cmsContext context) {
        cmsMLU* words = cmsMLUalloc(context, 1);
        cmsMLUsetWide(words, "en", "US", name);
        cmsWriteTag(profile, cmsSigProfileDescriptionTag, words);
        cmsMLUfree(words);
    });
}

Bytes withoutDescription() {
    return changedProfile([](cmsHPROFILE profile, cmsContext) {
        cmsWriteTag(profile, cmsSigProfileDescriptionTag, nullptr);
    });
}

Bytes withGamma(double gamma) {
    return changedProfile([gamma](cmsHPROFILE profile, cmsContext context) {
        const LittleCms::Curve curve(cmsBuildGamma(context, gamma));
        for (const auto tag : {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag})
            cmsWriteTag(profile, tag, curve.get());
    });
}

Bytes grayProfile(double gamma) {
    const LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Curve curve(cmsBuildGamma(LittleCms::handleOf(context), gamma));
    const LittleCms::Profile profile(
        cmsCreateGrayProfileTHR(LittleCms::handleOf(context), cmsD50_xyY(), curve.get()));
    return bytesOf(profile.get());
}

} // namespace

TEST(ColorProfile, theBuiltInOnesStandInTheirOrderUnderTheirNames) {
    const auto profiles = ColorProfile::builtIn();
    ASSERT_EQ(profiles.size(), 3u);
    EXPECT_EQ(profiles[0].name(), "sRGB IEC61966-2.1");
    EXPECT_EQ(profiles[1].name(), "Display P3");
    EXPECT_EQ(profiles[2].name(), "Adobe RGB (1998)");
    EXPECT_EQ(ColorProfile(), ColorProfile::sRGB());
    for (const ColorProfile& profile : profiles) {
        const auto reading = readColorProfile(profile.iccData());
        ASSERT_TRUE(reading) << profile.name();
        EXPECT_EQ(reading->description, profile.name());
        EXPECT_EQ(reading->model, ColorModel::rgb);
        EXPECT_FALSE(reading->hasTables);
        EXPECT_EQ(profile.iccData()[8], std::byte{4}); // version
        ASSERT_TRUE(reading->shaper) << profile.name();
    }
}

TEST(ColorProfile, builtInBytesAreTheSameInEveryProcess) {
    // FNV-1a over the data; a change here makes documents of older versions compare as unequal.
    const auto hashOf = [](std::span<const std::byte> bytes) {
        std::uint64_t hash = 0xCBF29CE484222325u;
        for (const std::byte byte : bytes)
            hash = (hash ^ std::to_integer<std::uint64_t>(byte)) * 0x100000001B3u;
        return hash;
    };
    EXPECT_EQ(hashOf(ColorProfile::sRGB().iccData()), 17488264639304479827u);
    EXPECT_EQ(hashOf(ColorProfile::displayP3().iccData()), 13333969801265431790u);
    EXPECT_EQ(hashOf(ColorProfile::adobeRGB().iccData()), 12515527868122989821u);
}

TEST(ColorProfile, curvesOfTheBuiltInOnesAreThoseOfTheirStandards) {
    const auto curveOf = [](const ColorProfile& profile) {
        return readColorProfile(profile.iccData())->shaper->curves[1];
    };
    EXPECT_EQ(curveOf(ColorProfile::sRGB()), ToneCurve::sRGB());
    EXPECT_EQ(curveOf(ColorProfile::displayP3()), ToneCurve::sRGB());
    EXPECT_EQ(curveOf(ColorProfile::adobeRGB()), ToneCurve::parametric({.g = 563.0 / 256}));
}

TEST(ColorProfile, colorantsOfSRGBAreThoseThatIccPublishes) {
    const Matrix3 expected{
        {{0.4360, 0.3851, 0.1431}, {0.2225, 0.7169, 0.0606}, {0.0139, 0.0971, 0.7141}}};
    const Matrix3 found = readColorProfile(ColorProfile::sRGB().iccData())->shaper->toXYZ;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            EXPECT_NEAR(found[row][column], expected[row][column], 3e-4);
    }
}

TEST(ColorProfile, anEmbeddedOneBearsItsOwnDescription) {
    EXPECT_EQ(ColorProfile::embedded(renamed(L"Scanner 7")).name(), "Scanner 7");
    EXPECT_EQ(ColorProfile::embedded(renamed(L"  Größe 好 \x01 ")).name(), "Größe 好");
    EXPECT_EQ(ColorProfile::embedded(renamed(L"\xD83C\xDF08 \xD83C")).name(), "🌈");
    EXPECT_EQ(ColorProfile::embedded(renamed(L"")).name(), "Embedded Profile");
    EXPECT_EQ(ColorProfile::embedded(withoutDescription()).name(), "Embedded Profile");
    EXPECT_EQ(ColorProfile::embedded(Bytes(300)).name(), "Embedded Profile");
    const Bytes data = renamed(L"Scanner 7");
    EXPECT_TRUE(std::ranges::equal(ColorProfile::embedded(data).iccData(), data));
}

TEST(ColorProfile, aWellKnownSpaceIsToldByItsColours) {
    const auto nameOf = [](Bytes data) {
        return ColorProfile::ofColorSpace(std::move(data), "given").value().name();
    };
    EXPECT_EQ(nameOf(renamed(L"camera")), "sRGB IEC61966-2.1");
    EXPECT_EQ(nameOf(withGamma(1.0)), "Generic RGB Linear");
    EXPECT_EQ(nameOf(withGamma(2.6)), "given");
    for (const ColorProfile& profile : ColorProfile::builtIn()) {
        const auto data = profile.iccData();
        EXPECT_EQ(nameOf({data.begin(), data.end()}), profile.name());
    }
    EXPECT_EQ(nameOf(Bytes(10)), "given");
    EXPECT_FALSE(ColorProfile::ofColorSpace({}, "given"));
}

TEST(ColorProfile, equalityIsByNameAndData) {
    const auto data = ColorProfile::sRGB().iccData();
    EXPECT_EQ(ColorProfile("sRGB IEC61966-2.1", {data.begin(), data.end()}), ColorProfile::sRGB());
    EXPECT_NE(ColorProfile("mine", {data.begin(), data.end()}), ColorProfile::sRGB());
    EXPECT_NE(ColorProfile("sRGB IEC61966-2.1", {}), ColorProfile::sRGB());
}

TEST(ColorProfileReading, tellsTheModelAndTheGrayCurve) {
    const auto gray = readColorProfile(grayProfile(1.8));
    ASSERT_TRUE(gray);
    EXPECT_EQ(gray->model, ColorModel::gray);
    ASSERT_TRUE(gray->grayCurve);
    EXPECT_NEAR(gray->grayCurve->linearised(0.5), std::pow(0.5, 1.8), 1e-4);
    EXPECT_FALSE(gray->shaper);

    const LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Profile lab(
        cmsCreateLab4ProfileTHR(LittleCms::handleOf(context), cmsD50_xyY()));
    const auto reading = readColorProfile(bytesOf(lab.get()));
    ASSERT_TRUE(reading);
    EXPECT_EQ(reading->model, ColorModel::lab);
}

TEST(ColorProfileReading, profilesWithoutAnInverseHaveNoShaper) {
    const Bytes flat = changedProfile([](cmsHPROFILE profile, cmsContext) {
        const cmsCIEXYZ same{0.3, 0.3, 0.3};
        for (const auto tag : {cmsSigRedColorantTag, cmsSigGreenColorantTag, cmsSigBlueColorantTag})
            cmsWriteTag(profile, tag, &same);
    });
    ASSERT_TRUE(readColorProfile(flat));
    EXPECT_FALSE(readColorProfile(flat)->shaper);
}

TEST(ColorProfileReading, survivesAnyDamage) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937_64 random(seed);
    const std::vector<Bytes> whole{renamed(L"x"), withGamma(2.2), grayProfile(2.2)};
    for (int round = 0; round < 3000; ++round) {
        Bytes data = whole[random() % whole.size()];
        if (random() % 4 == 0) data.resize(random() % data.size());
        const std::size_t flips = 1 + random() % 12;
        for (std::size_t i = 0; i < flips && !data.empty(); ++i)
            data[random() % data.size()] = static_cast<std::byte>(random());
        const auto reading = readColorProfile(data);
        if (!reading || !reading->shaper) continue;
        // What is offered can be used: white has a way there and back.
        for (const ToneCurve& curve : reading->shaper->curves) {
            const double white = curve.linearised(1);
            ASSERT_TRUE(std::isfinite(white));
            ASSERT_NEAR(curve.linearised(curve.encoded(white)), white, 1e-6 * white);
        }
        ASSERT_TRUE(inverseOf(reading->shaper->toXYZ));
    }
}

TEST(ColorProfileReading, refusesWhatIsNoProfile) {
    EXPECT_FALSE(readColorProfile({}));
    EXPECT_FALSE(readColorProfile(Bytes(127)));
    EXPECT_FALSE(readColorProfile(Bytes(4096)));
    const auto data = ColorProfile::sRGB().iccData();
    EXPECT_FALSE(readColorProfile(data.first(140)));
}

TEST(Matrix3, theInverseUndoesTheMatrix) {
    const Matrix3 matrix{{{0.5, 0.25, -1}, {2, 0.125, 0}, {0.3, 7, 1}}};
    const Matrix3 product = productOf(inverseOf(matrix).value(), matrix);
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            EXPECT_NEAR(product[row][column], row == column ? 1 : 0, 1e-12);
    }
    EXPECT_FALSE(inverseOf(Matrix3{}));
}

} // namespace ombrel
