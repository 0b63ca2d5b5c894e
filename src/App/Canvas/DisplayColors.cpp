#include "App/Canvas/DisplayColors.h"

#include "Core/ColorProfileReading.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

DisplayColors::Curve bytesOf(const ToneCurve& curve) {
    DisplayColors::Curve bytes(DisplayColors::steps);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const double root = static_cast<double>(i) / (DisplayColors::steps - 1);
        const double encoded = curve.encoded(root * root);
        bytes[i] = static_cast<std::uint8_t>(std::lround(255 * std::clamp(encoded, 0.0, 1.0)));
    }
    return bytes;
}

} // namespace

DisplayColors::DisplayColors(const ColorProfile& display) : display_(display) {
    auto reading = readColorProfile(display.iccData());
    if (!reading || !reading->shaper) {
        display_ = ColorProfile::sRGB();
        reading = readColorProfile(display_.iccData());
    }
    const std::array<ToneCurve, 3>& curves = reading->shaper->curves;
    for (std::size_t i = 0; i < 3; ++i)
        curves_[i] = i > 0 && curves[i] == curves[i - 1] ? curves_[i - 1] : bytesOf(curves[i]);
}

const ProfileConversion& DisplayColors::conversionFrom(const ColorProfile& document) {
    using Known = std::pair<ColorProfile, ProfileConversion>;
    const auto known = std::ranges::find(conversions_, document, &Known::first);
    if (known != conversions_.end()) return known->second;
    if (conversions_.size() >= keptConversions) conversions_.clear();
    const auto conversion = ProfileConversion::between(document, display_);
    conversions_.emplace_back(document, conversion.value_or(ProfileConversion{}));
    return conversions_.back().second;
}

} // namespace ombrel
