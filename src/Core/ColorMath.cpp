#include "Core/ColorMath.h"

#include "Core/ToneCurve.h"
#include "Core/TransferFunction.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ombrel::ColorMath {

namespace {

double cutToUnit(double x) {
    return x > 0 ? std::min(x, 1.0) : 0.0;
}

} // namespace

Hsb hsbOf(const DisplayRgb& rgb) {
    const double r = cutToUnit(rgb.red);
    const double g = cutToUnit(rgb.green);
    const double b = cutToUnit(rgb.blue);
    const double largest = std::max({r, g, b});
    const double range = largest - std::min({r, g, b});
    Hsb hsb{0, largest > 0 ? range / largest : 0, largest};
    if (range == 0) return hsb;
    double sector = 0;
    if (largest == r) {
        sector = (g - b) / range;
    } else if (largest == g) {
        sector = (b - r) / range + 2;
    } else {
        sector = (r - g) / range + 4;
    }
    hsb.hue = sector * 60;
    if (hsb.hue < 0) hsb.hue += 360;
    if (hsb.hue >= 360) hsb.hue -= 360;
    return hsb;
}

DisplayRgb rgbOf(const Hsb& hsb) {
    const double s = cutToUnit(hsb.saturation);
    const double v = cutToUnit(hsb.brightness);
    double hue = std::isfinite(hsb.hue) ? std::fmod(hsb.hue, 360.0) : 0.0;
    if (hue < 0) hue += 360;
    const double floor = std::floor(hue / 60);
    const double f = hue / 60 - floor;
    const double p = v * (1 - s);
    const double q = v * (1 - s * f);
    const double t = v * (1 - s * (1 - f));
    const std::array<DisplayRgb, 6> sectors{
        {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}}};
    return sectors[static_cast<std::size_t>(floor) % 6];
}

PremultipliedColor documentColorOf(const DisplayRgb& rgb, double alpha) {
    const ToneCurve& curve = ToneCurve::sRGB();
    const auto channel = [&](double encoded) {
        return static_cast<float>(curve.linearised(encoded) * alpha);
    };
    return {channel(rgb.red), channel(rgb.green), channel(rgb.blue), static_cast<float>(alpha)};
}

PremultipliedColor colorOfCode(std::uint32_t code) {
    const auto component = [&](int shift) {
        return static_cast<float>(code >> shift & 0xFF) / 255;
    };
    return TransferFunction::decode({component(16), component(8), component(0), 1});
}

} // namespace ombrel::ColorMath
