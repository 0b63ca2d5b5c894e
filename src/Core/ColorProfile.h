// What the numbers of a document's pixels mean: an RGB space by its ICC data and the name shown to
// people. Values; any thread. Reading the data is ColorProfileReading's.
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ombrel {

class ColorProfile {
public:
    ColorProfile(); ///< sRGB
    ColorProfile(std::string name, std::vector<std::byte> iccData);

    /// Made here, version 4, the same bytes in every process.
    static const ColorProfile& sRGB();              ///< "sRGB IEC61966-2.1"
    static const ColorProfile& displayP3();         ///< "Display P3"
    static const ColorProfile& adobeRGB();          ///< "Adobe RGB (1998)"
    static std::span<const ColorProfile> builtIn(); ///< the three, in this order

    /// Of a file: named by the profile's own description, "Embedded Profile" without one.
    static ColorProfile embedded(std::vector<std::byte> iccData);
    /// Of a colour space that somebody named: one of the well-known spaces (the built-in ones and
    /// "Generic RGB Linear", told by colorants and curves) bears its own name, another the one
    /// given. Nothing without data.
    static std::optional<ColorProfile> ofColorSpace(std::vector<std::byte> iccData,
                                                    std::string_view givenName);

    const std::string& name() const { return name_; }
    std::span<const std::byte> iccData() const { return *iccData_; }

    /// Equal names and equal data: the same for conversion.
    bool operator==(const ColorProfile& other) const;

private:
    std::string name_;
    std::shared_ptr<const std::vector<std::byte>> iccData_; ///< shared: profiles can be large
};

} // namespace ombrel
