#include "Base/Check.h"
#include "Core/ColorProfileReading.h"
#include "IO/RowLineariserPath.h"
#include "IO/SampleRows.h"

namespace ombrel {

struct RowLineariser::Implementation {
    SampleLayout layout;
    ColorProfile profile;
    std::unique_ptr<RowLineariserPath> path;
};

namespace {

struct Choice {
    ColorProfile profile; ///< sRGB unless the file's own is kept
    std::unique_ptr<RowLineariserPath> path;
};

std::unique_ptr<RowLineariserPath> makeCurvePath(SampleLayout layout, const ChannelCurves& curves) {
    std::unique_ptr<RowLineariserPath> path = makeTablePath(layout, curves);
    if (path != nullptr) return path;
    return makeBlockPath(layout, layout.model == SampleModel::gray ? makeGrayStep(curves[0])
                                                                   : makeCurveStep(curves));
}

constexpr ColorModel colorModelOf(SampleModel model) {
    constexpr std::array models{ColorModel::gray, ColorModel::rgb, ColorModel::cmyk,
                                ColorModel::lab};
    return models[static_cast<std::size_t>(model)];
}

// By the file's own profile; no path when it cannot be used for such samples.
Choice chooseByProfile(SampleLayout layout, std::span<const std::byte> iccData) {
    Choice choice;
    const std::optional<ColorProfileReading> reading = readColorProfile(iccData);
    if (!reading || reading->model != colorModelOf(layout.model)) return choice;
    if (reading->shaper) {
        choice.profile = ColorProfile::embedded({iccData.begin(), iccData.end()});
        choice.path = makeCurvePath(layout, reading->shaper->curves);
    } else if (reading->grayCurve) {
        const ToneCurve& curve = *reading->grayCurve;
        choice.path = makeCurvePath(layout, {curve, curve, curve});
    } else if (layout.model != SampleModel::lab) {
        std::unique_ptr<ColorStep> step = makePressStep(iccData);
        if (step == nullptr) step = makeProfileStep(layout.model, iccData);
        if (step != nullptr) choice.path = makeBlockPath(layout, std::move(step));
    }
    return choice;
}

std::unique_ptr<RowLineariserPath> chooseByModel(SampleLayout layout) {
    const bool isPlainEight =
        layout.type == SampleType::unsigned8 && layout.alpha == AlphaKind::none;
    switch (layout.model) {
    case SampleModel::gray:
    case SampleModel::rgb:
        return makeCurvePath(layout, {ToneCurve::sRGB(), ToneCurve::sRGB(), ToneCurve::sRGB()});
    case SampleModel::cmyk:
        if (isPlainEight) return makeGenericPressTablePath();
        return makeBlockPath(layout, makeGenericPressStep());
    case SampleModel::lab:
        return makeBlockPath(layout, makeLabStep());
    }
    return nullptr;
}

} // namespace

RowLineariser::RowLineariser(SampleLayout layout, std::span<const std::byte> iccData) {
    OMBREL_CHECK(layout.model != SampleModel::lab || layout.type == SampleType::float32,
                 "Lab samples are 32-bit floats");
    Choice choice;
    if (!iccData.empty()) choice = chooseByProfile(layout, iccData);
    if (choice.path == nullptr) choice.path = chooseByModel(layout);
    implementation_ = std::make_unique<Implementation>(
        Implementation{layout, std::move(choice.profile), std::move(choice.path)});
}

RowLineariser::~RowLineariser() = default;
RowLineariser::RowLineariser(RowLineariser&&) noexcept = default;
RowLineariser& RowLineariser::operator=(RowLineariser&&) noexcept = default;

const ColorProfile& RowLineariser::profile() const {
    return implementation_->profile;
}

void RowLineariser::convert(std::span<const std::byte> samples, std::span<Half> out) const {
    const std::size_t pixelCount = out.size() / 4;
    OMBREL_CHECK(samples.size() >= pixelCount * implementation_->layout.bytesPerPixel(),
                 "the samples hold every pixel asked for");
    implementation_->path->convert(samples.data(), pixelCount, out.data());
}

} // namespace ombrel
