#include "App/Panels/ScreenColor.h"

#include "Core/ProfileConversion.h"
#include "Core/ToneCurve.h"

#include <algorithm>

namespace ombrel {

namespace {

PremultipliedColor converted(const PremultipliedColor& color, const ColorProfile& from,
                             const ColorProfile& to) {
    const auto conversion = ProfileConversion::between(from, to).value_or(ProfileConversion{});
    return conversion.apply(color.red, color.green, color.blue, color.alpha);
}

} // namespace

QColor screenColor(const PremultipliedColor& color, const ColorProfile& document) {
    const PremultipliedColor light = converted(color, document, ColorProfile::sRGB());
    if (!(light.alpha > 0)) return QColor(0, 0, 0, 0);
    const auto encoded = [&](float channel) {
        const double value = ToneCurve::sRGB().encoded(channel / light.alpha);
        return static_cast<float>(std::clamp(value, 0.0, 1.0));
    };
    return QColor::fromRgbF(encoded(light.red), encoded(light.green), encoded(light.blue),
                            std::min(light.alpha, 1.0f));
}

PremultipliedColor documentColor(const QColor& color, const ColorProfile& document) {
    const float alpha = color.alphaF();
    const auto light = [&](float channel) {
        return static_cast<float>(ToneCurve::sRGB().linearised(channel)) * alpha;
    };
    const PremultipliedColor linear{light(color.redF()), light(color.greenF()),
                                    light(color.blueF()), alpha};
    return converted(linear, ColorProfile::sRGB(), document);
}

} // namespace ombrel
