#include "Core/TransferFunction.h"

#include <cmath>

namespace ombrel::TransferFunction {

namespace {

PremultipliedColor onStraightChannels(const PremultipliedColor& color, float (*curve)(float)) {
    const float alpha = color.alpha;
    if (!(alpha > 0)) return {};
    return {curve(color.red / alpha) * alpha, curve(color.green / alpha) * alpha,
            curve(color.blue / alpha) * alpha, alpha};
}

} // namespace

float encode(float linear) {
    const float magnitude = std::fabs(linear);
    const double x = magnitude;
    const double encoded = magnitude <= linearThreshold
                               ? 12.92 * x
                               : 1.055 * std::pow(x, double{encodingExponent}) - 0.055;
    return std::copysign(static_cast<float>(encoded), linear);
}

float decode(float encoded) {
    const float magnitude = std::fabs(encoded);
    const double x = magnitude;
    const double linear =
        magnitude <= encodedThreshold ? x / 12.92 : std::pow((x + 0.055) / 1.055, 2.4);
    return std::copysign(static_cast<float>(linear), encoded);
}

PremultipliedColor encode(const PremultipliedColor& linear) {
    return onStraightChannels(linear, encode);
}

PremultipliedColor decode(const PremultipliedColor& encoded) {
    return onStraightChannels(encoded, decode);
}

} // namespace ombrel::TransferFunction
