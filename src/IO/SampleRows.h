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
/// document's own profile and its curves linearise the samples; other sources (gray, CMYK, Lab,
/// RGB by tables) are converted to linear sRGB with relative colorimetric intent. Without a
/// profile RGB and gray count as sRGB-encoded, CMYK as a generic press.
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

/// Document pixels to samples encoded by the profile's own curves. Layouts: gray is not offered;
/// straight alpha or none (then composed onto white first). Integers are rounded to nearest.
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
