// Colour spaces that files name by code points (ITU-T H.273: the nclx box of HEIF, cICP of PNG)
// instead of by an ICC profile.
#pragma once

#include <cstddef>
#include <vector>

namespace ombrel {

struct CodingIndependentColor {
    int primaries = 2; ///< 2: unspecified
    int transfer = 2;

    bool operator==(const CodingIndependentColor&) const = default;
};

/// The ICC data to go by; empty where that is sRGB. Of the transfer functions only linear light
/// and pure gammas are told from the sRGB curve: still pictures marked with a camera's curve
/// (BT.709 and its like) are meant for displays of the sRGB kind.
std::vector<std::byte> iccDataOf(CodingIndependentColor color);

} // namespace ombrel
