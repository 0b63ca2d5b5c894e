#include "Core/ColorProfile.h"

#include "Base/Check.h"
#include "Core/ColorProfileReading.h"
#include "Core/LittleCms.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ombrel {

namespace {

struct StandardSpace {
    const char* name;
    cmsCIExyYTRIPLE primaries;
    bool hasSRGBCurve;
    double gamma; ///< used without the sRGB curve
    bool isBuiltIn;
};

constexpr cmsCIExyYTRIPLE sRGBPrimaries{{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
constexpr cmsCIExyY whiteD65{0.3127, 0.3290, 1};

// All under D65. IEC 61966-2-1; SMPTE EG 432-1 with the sRGB curve; Adobe RGB (1998) 4.3.4.
constexpr std::array<StandardSpace, 4> standardSpaces{{
    {"sRGB IEC61966-2.1", sRGBPrimaries, true, 0, true},
    {"Display P3", {{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}}, true, 0, true},
    {"Adobe RGB (1998)",
     {{0.64, 0.33, 1}, {0.21, 0.71, 1}, {0.15, 0.06, 1}},
     false,
     563.0 / 256,
     true},
    {"Generic RGB Linear", sRGBPrimaries, false, 1, false},
}};
constexpr std::size_t builtInCount = 3;

void writeText(cmsHPROFILE profile, cmsContext context, cmsTagSignature tag, const char* text) {
    cmsMLU* words = cmsMLUalloc(context, 1);
    OMBREL_CHECK(words != nullptr, "there is memory for a profile's words");
    cmsMLUsetASCII(words, "en", "US", text);
    cmsWriteTag(profile, tag, words);
    cmsMLUfree(words);
}

LittleCms::Curve makeCurve(cmsContext context, const StandardSpace& space) {
    if (!space.hasSRGBCurve) return LittleCms::Curve(cmsBuildGamma(context, space.gamma));
    constexpr std::array parameters{2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    return LittleCms::Curve(cmsBuildParametricToneCurve(context, 4, parameters.data()));
}

// The library writes the time and the platform into the header; neither belongs to the space.
void clearCircumstances(std::vector<std::byte>& iccData) {
    constexpr std::array<std::uint8_t, 12> date{0x07, 0xE8, 0, 1, 0, 1}; // 2024-01-01 00:00:00
    std::ranges::transform(date, iccData.begin() + 24, [](std::uint8_t b) { return std::byte{b}; });
    std::fill_n(iccData.begin() + 40, 4, std::byte{0});
}

std::vector<std::byte> makeIccData(const StandardSpace& space) {
    const LittleCms::Context context = LittleCms::makeContext();
    OMBREL_CHECK(context != nullptr, "there is memory for a colour context");
    const LittleCms::Curve curve = makeCurve(LittleCms::handleOf(context), space);
    std::array<cmsToneCurve*, 3> curves{curve.get(), curve.get(), curve.get()};
    const LittleCms::Profile profile(cmsCreateRGBProfileTHR(LittleCms::handleOf(context), &whiteD65,
                                                            &space.primaries, curves.data()));
    OMBREL_CHECK(profile != nullptr, "a standard colour space can be made");
    cmsSetProfileVersion(profile.get(), 4.3);
    writeText(profile.get(), LittleCms::handleOf(context), cmsSigProfileDescriptionTag, space.name);
    writeText(profile.get(), LittleCms::handleOf(context), cmsSigCopyrightTag, "No copyright");
    cmsUInt32Number size = 0;
    OMBREL_CHECK(cmsSaveProfileToMem(profile.get(), nullptr, &size), "a profile has a size");
    std::vector<std::byte> iccData(size);
    OMBREL_CHECK(cmsSaveProfileToMem(profile.get(), iccData.data(), &size),
                 "a profile can be written to memory");
    iccData.resize(size);
    clearCircumstances(iccData);
    return iccData;
}

const std::array<ColorProfile, builtInCount>& builtInProfiles() {
    static const std::array<ColorProfile, builtInCount> profiles{
        ColorProfile(standardSpaces[0].name, makeIccData(standardSpaces[0])),
        ColorProfile(standardSpaces[1].name, makeIccData(standardSpaces[1])),
        ColorProfile(standardSpaces[2].name, makeIccData(standardSpaces[2])),
    };
    return profiles;
}

// Whether two spaces give colours that nobody can tell apart: files round colorants and sample
// curves in their own ways.
bool isSameSpace(const MatrixShaper& a, const MatrixShaper& b) {
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            if (std::fabs(a.toXYZ[row][column] - b.toXYZ[row][column]) > 1e-3) return false;
        }
    }
    for (std::size_t channel = 0; channel < 3; ++channel) {
        for (int i = 0; i <= 64; ++i) {
            const double x = i / 64.0;
            const double difference =
                a.curves[channel].linearised(x) - b.curves[channel].linearised(x);
            if (std::fabs(difference) > 5e-4) return false;
        }
    }
    return true;
}

const std::array<MatrixShaper, standardSpaces.size()>& standardShapers() {
    static const auto shapers = [] {
        std::array<MatrixShaper, standardSpaces.size()> made;
        for (std::size_t i = 0; i < made.size(); ++i)
            made[i] = readColorProfile(makeIccData(standardSpaces[i])).value().shaper.value();
        return made;
    }();
    return shapers;
}

std::optional<std::string_view> standardNameOf(std::span<const std::byte> iccData) {
    const std::optional<ColorProfileReading> reading = readColorProfile(iccData);
    if (!reading || !reading->shaper) return std::nullopt;
    for (std::size_t i = 0; i < standardSpaces.size(); ++i) {
        if (isSameSpace(*reading->shaper, standardShapers()[i])) return standardSpaces[i].name;
    }
    return std::nullopt;
}

} // namespace

ColorProfile::ColorProfile() : ColorProfile(sRGB()) {}

ColorProfile::ColorProfile(std::string name, std::vector<std::byte> iccData)
    : name_(std::move(name)),
      iccData_(std::make_shared<const std::vector<std::byte>>(std::move(iccData))) {}

const ColorProfile& ColorProfile::sRGB() {
    return builtInProfiles()[0];
}

const ColorProfile& ColorProfile::displayP3() {
    return builtInProfiles()[1];
}

const ColorProfile& ColorProfile::adobeRGB() {
    return builtInProfiles()[2];
}

std::span<const ColorProfile> ColorProfile::builtIn() {
    return builtInProfiles();
}

ColorProfile ColorProfile::embedded(std::vector<std::byte> iccData) {
    const std::optional<ColorProfileReading> reading = readColorProfile(iccData);
    const bool isNamed = reading && !reading->description.empty();
    return {isNamed ? reading->description : "Embedded Profile", std::move(iccData)};
}

std::optional<ColorProfile> ColorProfile::ofColorSpace(std::vector<std::byte> iccData,
                                                       std::string_view givenName) {
    if (iccData.empty()) return std::nullopt;
    const std::string name(standardNameOf(iccData).value_or(givenName));
    return ColorProfile(name, std::move(iccData));
}

bool ColorProfile::operator==(const ColorProfile& other) const {
    return name_ == other.name_ && (iccData_ == other.iccData_ || *iccData_ == *other.iccData_);
}

} // namespace ombrel
