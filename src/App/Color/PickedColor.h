// A colour while somebody chooses it: as red, green and blue and as hue, saturation and brightness
// at once. What was set stays exactly as it was set, and hue and saturation survive where the other
// numbers make them meaningless, so that no slider drifts. A value; numbers are the screen's, sRGB.
#pragma once

#include "Core/ColorMath.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace ombrel {

class PickedColor {
public:
    PickedColor() = default;
    explicit PickedColor(const ColorMath::DisplayRgb& rgb) { setRgb(rgb); }

    const ColorMath::DisplayRgb& rgb() const { return rgb_; }
    const ColorMath::Hsb& hsb() const { return hsb_; }
    /// A gray keeps the hue there was, black the saturation too.
    void setRgb(const ColorMath::DisplayRgb& rgb);
    /// Hue from 0 to 360, both included.
    void setHsb(const ColorMath::Hsb& hsb);

    std::string hex() const; ///< "C81E3A"

    bool operator==(const PickedColor&) const = default;

private:
    ColorMath::DisplayRgb rgb_;
    ColorMath::Hsb hsb_;
};

std::string hexOf(const ColorMath::DisplayRgb& rgb);
/// Of "C81E3A", "#c81e3a" or "#C8E", with blanks around it.
std::optional<ColorMath::DisplayRgb> rgbOfHex(std::string_view text);

enum class ColorComponent : std::uint8_t { red, green, blue, hue, saturation, brightness };

/// How people see a component: its letter, its name, and numbers from 0 to a maximum.
struct ColorComponentRow {
    ColorComponent component;
    const char* letter;
    const char* name;
    const char* unit;
    int maximum;
};
inline constexpr std::array<ColorComponentRow, 6> colorComponents{{
    {ColorComponent::red, "R", "Red", "", 255},
    {ColorComponent::green, "G", "Green", "", 255},
    {ColorComponent::blue, "B", "Blue", "", 255},
    {ColorComponent::hue, "H", "Hue", "°", 360},
    {ColorComponent::saturation, "S", "Saturation", " %", 100},
    {ColorComponent::brightness, "B", "Brightness", " %", 100},
}};
constexpr const ColorComponentRow& rowOf(ColorComponent component) {
    return colorComponents[static_cast<std::size_t>(component)];
}

/// In the numbers of the component's row.
double componentOf(const PickedColor& color, ColorComponent component);
PickedColor withComponent(PickedColor color, ColorComponent component, double value);

} // namespace ombrel
