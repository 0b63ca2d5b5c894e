// From the linear light of one RGB profile to that of another: a matrix, relative colorimetric.
// The kernels take the matrix as it is; `apply` is their reference. A value; any thread.
#pragma once

#include "Core/ColorProfile.h"
#include "Core/PremultipliedColor.h"

#include <array>
#include <optional>

namespace ombrel {

struct ProfileConversion {
    /// Columns of the matrix, each what one unit of source red, green or blue becomes.
    std::array<std::array<float, 3>, 3> columns{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};

    /// The identity for equal profiles, whatever their data. Nothing when either has no matrix and
    /// curves that can be used.
    static std::optional<ProfileConversion> between(const ColorProfile& from,
                                                    const ColorProfile& to);

    /// Every element within 0.00001 of the identity's.
    bool isIdentity() const;

    /// Premultiplied in and out: each result is cut to 0 and max(alpha, 0), which keeps the colour
    /// valid; alpha stays. Sums run from red to blue.
    PremultipliedColor apply(float red, float green, float blue, float alpha) const;

    bool operator==(const ProfileConversion&) const = default;
};

} // namespace ombrel
