// Between the samples of files and document pixels (premultiplied, linear light, halves): the
// colour half of import and export. Converters are made once a file and are safe to use from many
// threads at once.
#pragma once

#include "Base/Half.h"
#include "Core/ColorProfile.h"
#include "IO/SampleLayout.h"

#include <cstddef>
#include <memory>
#include <span>

namespace ombrel {

/// Samples of a file to document pixels. An RGB profile that is a matrix and curves becomes the
/// document's own profile and its curves linearise the samples, tables beside them or not. Other
/// sources become linear sRGB: gray by the curve of its profile, CMYK and RGB by tables through
/// them (relative colorimetric, no black point compensation), Lab by its definition. Without a
/// profile that fits, RGB and gray count as sRGB-encoded, and CMYK as (1 - ink)(1 - black) in
/// sRGB-encoded values, as most programs take it.
///
/// Integers and halves are converted exactly: curve in double, multiplied by alpha in float,
/// rounded as toHalf does. 32-bit floats are within 2^-19 of that before rounding. Values below 0
/// and above 1 are kept where the source has a curve or is Lab. NaN becomes 0, and what halves
/// cannot hold the largest they can; alpha is cut to 0 and 1. Samples that the file holds
/// premultiplied are divided by alpha before the curve.
class RowLineariser {
public:
    /// `iccData` may be empty. A profile that cannot be used is ignored.
    RowLineariser(SampleLayout layout, std::span<const std::byte> iccData);
    ~RowLineariser();
    RowLineariser(RowLineariser&&) noexcept;
    RowLineariser& operator=(RowLineariser&&) noexcept;

    /// What the produced pixels mean; what the document takes as its profile.
    const ColorProfile& profile() const;

    /// Converts out.size() / 4 pixels of `samples` to premultiplied linear RGBA.
    void convert(std::span<const std::byte> samples, std::span<Half> out) const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

/// Document pixels to samples encoded by the profile's own curves (sRGB's when it has none).
/// Layouts: RGB with straight alpha or none; without alpha a pixel is laid on the profile's white
/// first, in linear light. Integers are rounded to the nearest code exactly, without dithering;
/// a pixel whose alpha rounds to 0 has no colour. Halves and floats carry encoded values below 0
/// and above 1 as they are, so that a float file brings back what the document holds.
class RowEncoder {
public:
    RowEncoder(const ColorProfile& profile, SampleLayout layout);
    ~RowEncoder();
    RowEncoder(RowEncoder&&) noexcept;
    RowEncoder& operator=(RowEncoder&&) noexcept;

    /// Converts pixels.size() / 4 pixels into layout.bytesPerPixel() bytes each.
    void convert(std::span<const Half> pixels, std::span<std::byte> out) const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace ombrel
