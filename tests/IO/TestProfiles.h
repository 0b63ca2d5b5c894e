// ICC profiles that tests of colour conversion need and no file brings along.
#pragma once

#include "Core/ColorProfile.h"
#include "Core/LittleCms.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace ombrel::testProfiles {

using Bytes = std::vector<std::byte>;

inline Bytes bytesOf(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    Bytes bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    return bytes;
}

/// Display P3's colorants with other curves.
inline Bytes withCurve(cmsContext owner, const cmsToneCurve* curve) {
    const LittleCms::Profile profile(cmsOpenProfileFromMemTHR(
        owner, ColorProfile::displayP3().iccData().data(),
        static_cast<cmsUInt32Number>(ColorProfile::displayP3().iccData().size())));
    for (const auto tag : {cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag})
        cmsWriteTag(profile.get(), tag, curve);
    return bytesOf(profile.get());
}

inline Bytes withGamma(double gamma) {
    const LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Curve curve(cmsBuildGamma(LittleCms::handleOf(context), gamma));
    return withCurve(LittleCms::handleOf(context), curve.get());
}

/// The sRGB curve in 1024 samples, as many cameras embed it.
inline Bytes withSamples() {
    std::vector<cmsUInt16Number> samples(1024);
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double x = static_cast<double>(i) / 1023;
        const double y = x <= 0.04045 ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4);
        samples[i] = static_cast<cmsUInt16Number>(std::lround(y * 65535));
    }
    const LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Curve curve(
        cmsBuildTabulatedToneCurve16(LittleCms::handleOf(context), 1024, samples.data()));
    return withCurve(LittleCms::handleOf(context), curve.get());
}

inline Bytes grayWithGamma(double gamma) {
    const LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Curve curve(cmsBuildGamma(LittleCms::handleOf(context), gamma));
    const LittleCms::Profile profile(
        cmsCreateGrayProfileTHR(LittleCms::handleOf(context), cmsD50_xyY(), curve.get()));
    return bytesOf(profile.get());
}

/// Device values to Lab through a table: a made-up press or scanner of `channels` channels.
inline Bytes withTable(cmsColorSpaceSignature space, cmsUInt32Number channels,
                       cmsUInt32Number gridPoints) {
    const LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Profile profile(cmsCreateProfilePlaceholder(LittleCms::handleOf(context)));
    cmsSetProfileVersion(profile.get(), 4.3);
    cmsSetDeviceClass(profile.get(), channels == 4 ? cmsSigOutputClass : cmsSigInputClass);
    cmsSetColorSpace(profile.get(), space);
    cmsSetPCS(profile.get(), cmsSigLabData);
    cmsPipeline* pipeline = cmsPipelineAlloc(LittleCms::handleOf(context), channels, 3);
    cmsStage* table =
        cmsStageAllocCLut16bit(LittleCms::handleOf(context), gridPoints, channels, 3, nullptr);
    cmsStageSampleCLut16bit(
        table,
        [](const cmsUInt16Number in[], cmsUInt16Number out[], void* cargo) -> cmsInt32Number {
            const bool isPress = *static_cast<cmsUInt32Number*>(cargo) == 4;
            std::array<double, 3> rgb{};
            for (std::size_t i = 0; i < 3; ++i) {
                const double value = in[i] / 65535.0;
                rgb[i] = isPress ? (1 - 0.9 * value) * (1 - 0.95 * in[3] / 65535.0)
                                 : std::pow(value, 1.3);
            }
            const cmsCIEXYZ xyz{(0.43 * rgb[0] + 0.38 * rgb[1] + 0.14 * rgb[2]) * 0.97,
                                0.22 * rgb[0] + 0.70 * rgb[1] + 0.06 * rgb[2],
                                0.02 * rgb[0] + 0.10 * rgb[1] + 0.69 * rgb[2]};
            cmsCIELab lab;
            cmsXYZ2Lab(cmsD50_XYZ(), &lab, &xyz);
            cmsFloat2LabEncoded(out, &lab);
            return 1;
        },
        &channels, 0);
    // The file format wants curves on both sides of a table; none are the identity.
    const auto addLines = [&](cmsUInt32Number count) {
        cmsPipelineInsertStage(
            pipeline, cmsAT_END,
            cmsStageAllocToneCurves(LittleCms::handleOf(context), count, nullptr));
    };
    addLines(channels);
    cmsPipelineInsertStage(pipeline, cmsAT_END, table);
    addLines(3);
    cmsWriteTag(profile.get(), cmsSigAToB0Tag, pipeline);
    cmsPipelineFree(pipeline);
    return bytesOf(profile.get());
}

inline Bytes press(cmsUInt32Number gridPoints = 9) {
    return withTable(cmsSigCmykData, 4, gridPoints);
}

inline Bytes scanner(cmsUInt32Number gridPoints = 9) {
    return withTable(cmsSigRgbData, 3, gridPoints);
}

/// The profile that a file holds somewhere, known by the class and spaces in its header; empty when
/// there is none.
inline Bytes foundIn(const std::string& path, std::string_view classAndSpaces) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const std::size_t at = text.find(classAndSpaces);
    if (at == std::string::npos || at < 12) return {};
    std::size_t size = 0;
    for (std::size_t i = 0; i < 4; ++i)
        size = size << 8 | static_cast<unsigned char>(text[at - 12 + i]);
    const std::string profile = text.substr(at - 12, size);
    Bytes bytes(profile.size());
    std::ranges::transform(profile, bytes.begin(),
                           [](char c) { return static_cast<std::byte>(c); });
    return bytes;
}

} // namespace ombrel::testProfiles
