// The ways from samples to pixels that a RowLineariser chooses from: by table where a sample has
// few values, through floats otherwise. Internal to row conversion. A path is immutable; any
// thread.
#pragma once

#include "Base/Half.h"
#include "IO/RowChannels.h"
#include "IO/SampleLayout.h"

#include <array>
#include <cstddef>
#include <memory>
#include <span>

namespace ombrel {

class RowLineariserPath {
public:
    virtual ~RowLineariserPath() = default;
    virtual void convert(const std::byte* samples, std::size_t pixelCount, Half* out) const = 0;
};

/// RGB and gray by their curves. Null for layouts that are not worth tables.
std::unique_ptr<RowLineariserPath> makeTablePath(SampleLayout layout, const ChannelCurves& curves);
/// Eight-bit CMYK without a profile or alpha.
std::unique_ptr<RowLineariserPath> makeGenericPressTablePath();

/// What an amount of ink without a profile looks like: each ink and black let through what they
/// leave, in sRGB-encoded values, (1 - ink)(1 - black). The same in nearly all programs.
inline float encodedThroughInk(float ink, float black) {
    return (1 - ink) * (1 - black);
}

/// A block of pixels between fetching and premultiplying.
struct SampleBlock {
    static constexpr std::size_t capacity = 256;

    std::size_t count = 0;
    /// Straight samples by channel in the units of SampleLayout, 0 to 1 for integers.
    std::array<std::array<float, capacity>, 4> planes;
    std::array<float, capacity> alpha;
    std::array<std::array<float, 3>, capacity> linear; ///< what a step makes of the planes
};

/// Colour of one block: planes to linear light.
class ColorStep {
public:
    virtual ~ColorStep() = default;
    virtual void run(SampleBlock& block) const = 0;
};

std::unique_ptr<ColorStep> makeCurveStep(const ChannelCurves& curves);
std::unique_ptr<ColorStep> makeGrayStep(const ToneCurve& curve);
std::unique_ptr<ColorStep> makeGenericPressStep();
std::unique_ptr<ColorStep> makeLabStep();
/// The same for one colour: CIE L*, a* and b* under D50 to linear sRGB, without any limit.
std::array<float, 3> linearSRGBOfLab(double lightness, double a, double b);
/// CMYK through the table of a usual press profile: what `makeProfileStep` gives, but faster. Null
/// for a profile of another build.
std::unique_ptr<ColorStep> makePressStep(std::span<const std::byte> iccData);
/// Through the colour engine to linear sRGB: relative colorimetric, without black point
/// compensation. Null when the data give no such transform.
std::unique_ptr<ColorStep> makeProfileStep(SampleModel model, std::span<const std::byte> iccData);

/// Any layout, in blocks of floats.
std::unique_ptr<RowLineariserPath> makeBlockPath(SampleLayout layout,
                                                 std::unique_ptr<ColorStep> step);

} // namespace ombrel
