#include "App/Color/PickedColor.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace ombrel {

using ColorMath::DisplayRgb;
using ColorMath::Hsb;

namespace {

/// Halves go up, and so does what is a half but for the rounding of document colours.
int byteOf(double value) {
    constexpr double tolerance = 1e-3;
    return static_cast<int>(255 * std::clamp(value, 0.0, 1.0) + 0.5 + tolerance);
}

} // namespace

void PickedColor::setRgb(const DisplayRgb& rgb) {
    if (rgb == rgb_) return;
    const Hsb before = hsb_;
    rgb_ = rgb;
    hsb_ = ColorMath::hsbOf(rgb);
    if (hsb_.brightness == 0) hsb_.saturation = before.saturation;
    if (hsb_.brightness == 0 || hsb_.saturation == 0) hsb_.hue = before.hue;
}

void PickedColor::setHsb(const Hsb& hsb) {
    hsb_ = {std::clamp(hsb.hue, 0.0, 360.0), std::clamp(hsb.saturation, 0.0, 1.0),
            std::clamp(hsb.brightness, 0.0, 1.0)};
    rgb_ = ColorMath::rgbOf(hsb_);
}

std::string PickedColor::hex() const {
    return hexOf(rgb_);
}

std::string hexOf(const DisplayRgb& rgb) {
    return fmt::format("{:02X}{:02X}{:02X}", byteOf(rgb.red), byteOf(rgb.green), byteOf(rgb.blue));
}

std::optional<DisplayRgb> rgbOfHex(std::string_view text) {
    const auto isBlank = [](char c) { return c == ' ' || c == '\t'; };
    while (!text.empty() && isBlank(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back()))
        text.remove_suffix(1);
    if (text.starts_with('#')) text.remove_prefix(1);
    if (text.size() != 3 && text.size() != 6) return std::nullopt;
    std::uint32_t code = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), code, 16);
    if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    const bool isShort = text.size() == 3;
    const auto channel = [&](int place) {
        return isShort ? (code >> (4 * place) & 0xF) / 15.0 : (code >> (8 * place) & 0xFF) / 255.0;
    };
    return DisplayRgb{channel(2), channel(1), channel(0)};
}

double componentOf(const PickedColor& color, ColorComponent component) {
    const double maximum = rowOf(component).maximum;
    switch (component) {
    case ColorComponent::red:
        return color.rgb().red * maximum;
    case ColorComponent::green:
        return color.rgb().green * maximum;
    case ColorComponent::blue:
        return color.rgb().blue * maximum;
    case ColorComponent::hue:
        return color.hsb().hue;
    case ColorComponent::saturation:
        return color.hsb().saturation * maximum;
    case ColorComponent::brightness:
        return color.hsb().brightness * maximum;
    }
    return 0;
}

PickedColor withComponent(PickedColor color, ColorComponent component, double value) {
    const double share = std::clamp(value / rowOf(component).maximum, 0.0, 1.0);
    DisplayRgb rgb = color.rgb();
    Hsb hsb = color.hsb();
    switch (component) {
    case ColorComponent::red:
        rgb.red = share;
        break;
    case ColorComponent::green:
        rgb.green = share;
        break;
    case ColorComponent::blue:
        rgb.blue = share;
        break;
    case ColorComponent::hue:
        hsb.hue = 360 * share;
        break;
    case ColorComponent::saturation:
        hsb.saturation = share;
        break;
    case ColorComponent::brightness:
        hsb.brightness = share;
        break;
    }
    if (component < ColorComponent::hue) {
        color.setRgb(rgb);
    } else {
        color.setHsb(hsb);
    }
    return color;
}

} // namespace ombrel
