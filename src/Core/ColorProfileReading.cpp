#include "Core/ColorProfileReading.h"

#include "Base/Check.h"
#include "Core/ColorProfile.h"
#include "Core/ColorProfileText.h"
#include "Core/LittleCms.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ombrel {

namespace {

using LittleCms::HeaderField;

// s15Fixed16 rounds the parameters of the sRGB curve; taken literally they would be 1e-4 off.
bool isRoundedSRGB(const ToneCurve::Parameters& p) {
    constexpr double step = 2.0 / 65536;
    const auto isNear = [](double value, double exact) { return std::fabs(value - exact) < step; };
    return isNear(p.g, 2.4) && isNear(p.a, 1 / 1.055) && isNear(p.b, 0.055 / 1.055) &&
           isNear(p.c, 1 / 12.92) && isNear(p.d, 0.04045) && p.e == 0 && p.f == 0;
}

// ICC numbers its parametric functions 0 to 4, Little CMS 1 to 5.
std::optional<ToneCurve::Parameters> parametersOf(const cmsToneCurve* curve) {
    const double* p = cmsGetToneCurveParams(curve);
    if (p == nullptr) return std::nullopt;
    switch (cmsGetToneCurveParametricType(curve)) {
    case 1:
        return ToneCurve::Parameters{.g = p[0]};
    case 2: // CIE 122-1966
        if (p[1] == 0) return std::nullopt;
        return ToneCurve::Parameters{
            .g = p[0], .a = p[1], .b = p[2], .c = 0, .d = -p[2] / p[1], .e = 0, .f = 0};
    case 3: // IEC 61966-3
        if (p[1] == 0) return std::nullopt;
        return ToneCurve::Parameters{
            .g = p[0], .a = p[1], .b = p[2], .c = 0, .d = -p[2] / p[1], .e = p[3], .f = p[3]};
    case 4: // IEC 61966-2-1
        return ToneCurve::Parameters{
            .g = p[0], .a = p[1], .b = p[2], .c = p[3], .d = p[4], .e = 0, .f = 0};
    case 5:
        return ToneCurve::Parameters{
            .g = p[0], .a = p[1], .b = p[2], .c = p[3], .d = p[4], .e = p[5], .f = p[6]};
    default:
        return std::nullopt;
    }
}

std::optional<ToneCurve> readCurve(cmsHPROFILE profile, cmsTagSignature tag) {
    const auto* curve = static_cast<const cmsToneCurve*>(cmsReadTag(profile, tag));
    if (curve == nullptr) return std::nullopt;
    if (cmsGetToneCurveParametricType(curve) != 0) {
        const std::optional<ToneCurve::Parameters> parameters = parametersOf(curve);
        if (!parameters) return std::nullopt;
        return isRoundedSRGB(*parameters) ? ToneCurve::sRGB() : ToneCurve::parametric(*parameters);
    }
    const cmsUInt16Number* samples = cmsGetToneCurveEstimatedTable(curve);
    if (samples == nullptr) return std::nullopt;
    return ToneCurve::sampled({samples, cmsGetToneCurveEstimatedTableEntries(curve)});
}

std::optional<MatrixShaper> readShaper(cmsHPROFILE profile) {
    constexpr std::array colorants{cmsSigRedColorantTag, cmsSigGreenColorantTag,
                                   cmsSigBlueColorantTag};
    constexpr std::array curves{cmsSigRedTRCTag, cmsSigGreenTRCTag, cmsSigBlueTRCTag};
    MatrixShaper shaper;
    for (std::size_t i = 0; i < 3; ++i) {
        const auto* xyz = static_cast<const cmsCIEXYZ*>(cmsReadTag(profile, colorants[i]));
        const std::optional<ToneCurve> curve = readCurve(profile, curves[i]);
        if (xyz == nullptr || !curve) return std::nullopt;
        shaper.toXYZ[0][i] = xyz->X;
        shaper.toXYZ[1][i] = xyz->Y;
        shaper.toXYZ[2][i] = xyz->Z;
        shaper.curves[i] = *curve;
    }
    if (!inverseOf(shaper.toXYZ)) return std::nullopt;
    return shaper;
}

// The library's own lookup returns memory it never wrote after characters beyond 16 bits, so the
// tag is read as it lies in the file.
std::string readDescription(cmsHPROFILE profile) {
    const cmsUInt32Number size = cmsReadRawTag(profile, cmsSigProfileDescriptionTag, nullptr, 0);
    std::vector<std::byte> tag(std::min<std::size_t>(size, 65536));
    cmsReadRawTag(profile, cmsSigProfileDescriptionTag, tag.data(),
                  static_cast<cmsUInt32Number>(tag.size()));
    return textOfProfileTag(tag);
}

ColorModel modelOf(std::uint32_t space) {
    switch (space) {
    case cmsSigGrayData:
        return ColorModel::gray;
    case cmsSigRgbData:
        return ColorModel::rgb;
    case cmsSigCmykData:
        return ColorModel::cmyk;
    case cmsSigLabData:
        return ColorModel::lab;
    default:
        return ColorModel::other;
    }
}

} // namespace

Matrix3 productOf(const Matrix3& left, const Matrix3& right) {
    Matrix3 product{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            for (std::size_t i = 0; i < 3; ++i)
                product[row][column] += left[row][i] * right[i][column];
        }
    }
    return product;
}

std::optional<Matrix3> inverseOf(const Matrix3& m) {
    Matrix3 adjugate{};
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            const auto& a = m[(column + 1) % 3];
            const auto& b = m[(column + 2) % 3];
            adjugate[row][column] =
                a[(row + 1) % 3] * b[(row + 2) % 3] - a[(row + 2) % 3] * b[(row + 1) % 3];
        }
    }
    const double determinant =
        m[0][0] * adjugate[0][0] + m[0][1] * adjugate[1][0] + m[0][2] * adjugate[2][0];
    if (!(std::fabs(determinant) > 1e-9)) return std::nullopt; // NaN fails too
    for (auto& row : adjugate) {
        for (double& element : row)
            element /= determinant;
    }
    return adjugate;
}

std::optional<ColorProfileReading> readColorProfile(std::span<const std::byte> iccData) {
    const LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Profile profile = LittleCms::openProfile(context, iccData);
    if (profile == nullptr) return std::nullopt;
    ColorProfileReading reading;
    reading.description = readDescription(profile.get());
    reading.model = modelOf(LittleCms::signatureOf(iccData, HeaderField::colorSpace));
    reading.hasTables =
        cmsIsCLUT(profile.get(), INTENT_RELATIVE_COLORIMETRIC, LCMS_USED_AS_INPUT) != 0;
    const bool connectsByXYZ =
        LittleCms::signatureOf(iccData, HeaderField::connectionSpace) == cmsSigXYZData;
    if (reading.model == ColorModel::rgb && connectsByXYZ) {
        reading.shaper = readShaper(profile.get());
    }
    if (reading.model == ColorModel::gray) {
        reading.grayCurve = readCurve(profile.get(), cmsSigGrayTRCTag);
    }
    return reading;
}

const Matrix3& linearSRGBFromXYZ() {
    static const Matrix3 matrix = [] {
        const auto reading = readColorProfile(ColorProfile::sRGB().iccData());
        OMBREL_CHECK(reading && reading->shaper, "the sRGB profile made here can be read");
        return inverseOf(reading->shaper->toXYZ).value();
    }();
    return matrix;
}

} // namespace ombrel
