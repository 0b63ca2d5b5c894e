#include "App/Panels/ScreenColor.h"

#include "Core/ProfileConversion.h"
#include "Core/ToneCurve.h"

#include <algorithm>
#include <array>

namespace ombrel {

namespace {

using ColorMath::DisplayRgb;

ProfileConversion conversionBetween(const ColorProfile& from, const ColorProfile& to) {
    return ProfileConversion::between(from, to).value_or(ProfileConversion{});
}

/// Straight light of the screen, not cut to what it shows.
std::array<double, 3> screenLight(const PremultipliedColor& color, const ColorProfile& document) {
    if (!(color.alpha > 0)) return {};
    const auto columns = conversionBetween(document, ColorProfile::sRGB()).columns;
    std::array<double, 3> light{};
    for (std::size_t i = 0; i < light.size(); ++i)
        light[i] = (static_cast<double>(columns[0][i]) * color.red +
                    static_cast<double>(columns[1][i]) * color.green +
                    static_cast<double>(columns[2][i]) * color.blue) /
                   color.alpha;
    return light;
}

} // namespace

DisplayRgb displayColor(const PremultipliedColor& color, const ColorProfile& document) {
    const auto light = screenLight(color, document);
    const auto encoded = [](double channel) {
        return std::clamp(ToneCurve::sRGB().encoded(channel), 0.0, 1.0);
    };
    return {encoded(light[0]), encoded(light[1]), encoded(light[2])};
}

PremultipliedColor documentColor(const DisplayRgb& color, const ColorProfile& document) {
    const PremultipliedColor linear = ColorMath::documentColorOf(color);
    return conversionBetween(ColorProfile::sRGB(), document)
        .apply(linear.red, linear.green, linear.blue, linear.alpha);
}

bool isBeyondScreen(const PremultipliedColor& color, const ColorProfile& document) {
    constexpr double tolerance = 1e-3; // a fraction of a byte, and what the matrices round
    const auto light = screenLight(color, document);
    return std::ranges::any_of(
        light, [](double channel) { return channel < -tolerance || channel > 1 + tolerance; });
}

QColor colorOf(const DisplayRgb& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue));
}

QColor screenColor(const PremultipliedColor& color, const ColorProfile& document) {
    if (!(color.alpha > 0)) return {0, 0, 0, 0};
    QColor screen = colorOf(displayColor(color, document));
    screen.setAlphaF(std::min(color.alpha, 1.0f));
    return screen;
}

} // namespace ombrel
