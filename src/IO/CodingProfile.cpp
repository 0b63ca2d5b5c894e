#include "IO/CodingProfile.h"

#include "Core/ColorProfile.h"
#include "Core/LittleCms.h"

#include <array>

namespace ombrel {

namespace {

struct PrimariesRow {
    int code;
    cmsCIExyY white;
    cmsCIExyYTRIPLE colorants;
};

constexpr cmsCIExyY d65{0.3127, 0.3290, 1};

// H.273, table 2. Those of BT.709 (1) are sRGB's own.
constexpr std::array<PrimariesRow, 7> primariesTable{{
    {4, {0.310, 0.316, 1}, {{0.67, 0.33, 1}, {0.21, 0.71, 1}, {0.14, 0.08, 1}}},
    {5, d65, {{0.64, 0.33, 1}, {0.29, 0.60, 1}, {0.15, 0.06, 1}}},
    {6, d65, {{0.630, 0.340, 1}, {0.310, 0.595, 1}, {0.155, 0.070, 1}}},
    {7, d65, {{0.630, 0.340, 1}, {0.310, 0.595, 1}, {0.155, 0.070, 1}}},
    {9, d65, {{0.708, 0.292, 1}, {0.170, 0.797, 1}, {0.131, 0.046, 1}}},
    {11, {0.314, 0.351, 1}, {{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}}},
    {12, d65, {{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}}},
}};

constexpr PrimariesRow bt709{1, d65, {{0.640, 0.330, 1}, {0.300, 0.600, 1}, {0.150, 0.060, 1}}};

enum Transfer { gamma22 = 4, gamma28 = 5, linear = 8 };

LittleCms::Curve curveOf(const LittleCms::Context& context, int transfer) {
    cmsContext handle = LittleCms::handleOf(context);
    switch (transfer) {
    case gamma22:
        return LittleCms::Curve(cmsBuildGamma(handle, 2.2));
    case gamma28:
        return LittleCms::Curve(cmsBuildGamma(handle, 2.8));
    case linear:
        return LittleCms::Curve(cmsBuildGamma(handle, 1.0));
    default: {
        const cmsFloat64Number srgb[5] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
        return LittleCms::Curve(cmsBuildParametricToneCurve(handle, 4, srgb));
    }
    }
}

std::vector<std::byte> makeProfile(const PrimariesRow& row, int transfer) {
    const LittleCms::Context context = LittleCms::makeContext();
    if (context == nullptr) return {};
    const LittleCms::Curve curve = curveOf(context, transfer);
    if (curve == nullptr) return {};
    cmsToneCurve* curves[3] = {curve.get(), curve.get(), curve.get()};
    const LittleCms::Profile profile(
        cmsCreateRGBProfileTHR(LittleCms::handleOf(context), &row.white, &row.colorants, curves));
    if (profile == nullptr) return {};
    cmsUInt32Number size = 0;
    if (!cmsSaveProfileToMem(profile.get(), nullptr, &size)) return {};
    std::vector<std::byte> data(size);
    if (!cmsSaveProfileToMem(profile.get(), data.data(), &size)) return {};
    return data;
}

} // namespace

std::vector<std::byte> iccDataOf(CodingIndependentColor color) {
    const bool isPlain =
        color.transfer != linear && color.transfer != gamma22 && color.transfer != gamma28;
    if (color.primaries == 12 && isPlain) {
        const auto data = ColorProfile::displayP3().iccData();
        return {data.begin(), data.end()};
    }
    for (const PrimariesRow& row : primariesTable) {
        if (row.code == color.primaries) return makeProfile(row, color.transfer);
    }
    return isPlain ? std::vector<std::byte>{} : makeProfile(bt709, color.transfer);
}

} // namespace ombrel
