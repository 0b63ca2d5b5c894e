#include "Base/Check.h"
#include "Core/ColorProfileReading.h"
#include "IO/RowEncoderPath.h"
#include "IO/SampleRows.h"

namespace ombrel {

struct RowEncoder::Implementation {
    SampleLayout layout;
    std::unique_ptr<RowEncoderPath> path;
};

namespace {

// A document's profile that has no curves (an importer never leaves one) counts as sRGB.
ChannelCurves curvesOf(const ColorProfile& profile) {
    const std::optional<ColorProfileReading> reading = readColorProfile(profile.iccData());
    if (reading && reading->shaper) return reading->shaper->curves;
    return {ToneCurve::sRGB(), ToneCurve::sRGB(), ToneCurve::sRGB()};
}

} // namespace

RowEncoder::RowEncoder(const ColorProfile& profile, SampleLayout layout) {
    OMBREL_CHECK(layout.model == SampleModel::rgb, "pixels are encoded as RGB");
    OMBREL_CHECK(layout.alpha != AlphaKind::premultiplied, "files get straight alpha");
    implementation_ = std::make_unique<Implementation>(
        Implementation{layout, makeRowEncoderPath(layout, curvesOf(profile))});
}

RowEncoder::~RowEncoder() = default;
RowEncoder::RowEncoder(RowEncoder&&) noexcept = default;
RowEncoder& RowEncoder::operator=(RowEncoder&&) noexcept = default;

void RowEncoder::convert(std::span<const Half> pixels, std::span<std::byte> out) const {
    const std::size_t pixelCount = pixels.size() / 4;
    OMBREL_CHECK(out.size() >= pixelCount * implementation_->layout.bytesPerPixel(),
                 "there is room for every pixel");
    implementation_->path->convert(pixels.data(), pixelCount, out.data());
}

} // namespace ombrel
