// What the numbers of a document's pixels mean: an RGB space by its ICC data and the name shown to
// people. Values; any thread.
#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace ombrel {

class ColorProfile {
public:
    ColorProfile(); ///< sRGB
    ColorProfile(std::string name, std::vector<std::byte> iccData);

    static const ColorProfile& sRGB();              ///< "sRGB IEC61966-2.1"
    static const ColorProfile& displayP3();         ///< "Display P3"
    static const ColorProfile& adobeRGB();          ///< "Adobe RGB (1998)"
    static std::span<const ColorProfile> builtIn(); ///< the three, in this order

    const std::string& name() const { return name_; }
    std::span<const std::byte> iccData() const { return *iccData_; }

    /// Equal names and equal data: the same for conversion.
    bool operator==(const ColorProfile& other) const;

private:
    std::string name_;
    std::shared_ptr<const std::vector<std::byte>> iccData_; ///< shared: profiles can be large
};

} // namespace ombrel
