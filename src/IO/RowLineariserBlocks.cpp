#include "Core/ColorProfileReading.h"
#include "Core/LittleCms.h"
#include "IO/RowCurveTable.h"
#include "IO/RowLanes.h"
#include "IO/RowLineariserPath.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace ombrel {

namespace {

// Far below half a unit of a half, 2^-12.
constexpr double lightTolerance = 0x1p-19;

float cutToUnit(float x) {
    return x > 0 ? (x < 1 ? x : 1.0f) : 0.0f;
}

float valueOf(std::uint8_t sample) {
    return static_cast<float>(sample) / 255.0f;
}
float valueOf(std::uint16_t sample) {
    return static_cast<float>(sample) / 65535.0f;
}
float valueOf(Half sample) {
    return RowLanes::finite(toFloat(sample));
}
float valueOf(float sample) {
    return RowLanes::finite(sample);
}

template <typename Sample>
void readPlane(const std::byte* from, std::size_t stride, std::span<float> plane) {
    for (std::size_t i = 0; i < plane.size(); ++i) {
        Sample sample;
        std::memcpy(static_cast<void*>(&sample), from + i * stride, sizeof sample);
        plane[i] = valueOf(sample);
    }
}

// One channel of a block, from its first sample on.
void readPlane(SampleType type, const std::byte* from, std::size_t stride, std::span<float> plane) {
    switch (type) {
    case SampleType::unsigned8:
        return readPlane<std::uint8_t>(from, stride, plane);
    case SampleType::unsigned16:
        return readPlane<std::uint16_t>(from, stride, plane);
    case SampleType::half:
        return readPlane<Half>(from, stride, plane);
    case SampleType::float32:
        return readPlane<float>(from, stride, plane);
    }
}

class CurveStep final : public ColorStep {
public:
    explicit CurveStep(const ChannelCurves& curves)
        : tables_(tablesOf(curves, [](const ToneCurve& curve) {
              return std::make_shared<const RowCurveTable>(curve, CurveDirection::linearise,
                                                           lightTolerance);
          })) {}
    void run(SampleBlock& block) const override {
        for (std::size_t channel = 0; channel < tables_.size(); ++channel) {
            const RowCurveTable& table = *tables_[channel];
            for (std::size_t i = 0; i < block.count; ++i)
                block.linear[i][channel] = table(block.planes[channel][i]);
        }
    }

private:
    std::array<std::shared_ptr<const RowCurveTable>, 3> tables_;
};

class GrayStep final : public ColorStep {
public:
    explicit GrayStep(const ToneCurve& curve)
        : table_(curve, CurveDirection::linearise, lightTolerance) {}
    void run(SampleBlock& block) const override {
        for (std::size_t i = 0; i < block.count; ++i)
            block.linear[i].fill(table_(block.planes[0][i]));
    }

private:
    RowCurveTable table_;
};

class GenericPressStep final : public ColorStep {
public:
    GenericPressStep() : table_(ToneCurve::sRGB(), CurveDirection::linearise, lightTolerance) {}
    void run(SampleBlock& block) const override {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (std::size_t i = 0; i < block.count; ++i) {
                const float ink = cutToUnit(block.planes[channel][i]);
                const float black = cutToUnit(block.planes[3][i]);
                block.linear[i][channel] = table_(encodedThroughInk(ink, black));
            }
        }
    }

private:
    RowCurveTable table_;
};

class LabStep final : public ColorStep {
public:
    void run(SampleBlock& block) const override {
        for (std::size_t i = 0; i < block.count; ++i) {
            block.linear[i] =
                linearSRGBOfLab(block.planes[0][i], block.planes[1][i], block.planes[2][i]);
        }
    }
};

struct EngineFormat {
    cmsUInt32Number format;
    std::size_t channels;
    float unit; ///< what the engine calls all of a channel
};

EngineFormat engineFormatOf(SampleModel model) {
    if (model == SampleModel::gray) return {TYPE_GRAY_FLT, 1, 1};
    if (model == SampleModel::cmyk) return {TYPE_CMYK_FLT, 4, 100};
    return {TYPE_RGB_FLT, 3, 1};
}

LittleCms::Profile makeLinearSRGB(const LittleCms::Context& context) {
    const cmsCIExyY white{0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries{{0.64, 0.33, 1}, {0.30, 0.60, 1}, {0.15, 0.06, 1}};
    const LittleCms::Curve line(cmsBuildGamma(LittleCms::handleOf(context), 1));
    std::array<cmsToneCurve*, 3> curves{line.get(), line.get(), line.get()};
    return LittleCms::Profile(
        cmsCreateRGBProfileTHR(LittleCms::handleOf(context), &white, &primaries, curves.data()));
}

class ProfileStep final : public ColorStep {
public:
    ProfileStep(LittleCms::Context context, LittleCms::Transform transform, EngineFormat format)
        : context_(std::move(context)), transform_(std::move(transform)), format_(format) {}

    void run(SampleBlock& block) const override {
        std::array<float, SampleBlock::capacity * 4> samples;
        for (std::size_t channel = 0; channel < format_.channels; ++channel) {
            for (std::size_t i = 0; i < block.count; ++i) {
                samples[i * format_.channels + channel] =
                    cutToUnit(block.planes[channel][i]) * format_.unit;
            }
        }
        cmsDoTransform(transform_.get(), samples.data(), block.linear.data(),
                       static_cast<cmsUInt32Number>(block.count));
    }

private:
    LittleCms::Context context_;
    LittleCms::Transform transform_;
    EngineFormat format_;
};

class BlockPath final : public RowLineariserPath {
public:
    BlockPath(SampleLayout layout, std::unique_ptr<ColorStep> step)
        : layout_(layout), step_(std::move(step)) {}

    void convert(const std::byte* samples, std::size_t pixelCount, Half* out) const override {
        SampleBlock block;
        for (std::size_t done = 0; done < pixelCount; done += block.count) {
            block.count = std::min(SampleBlock::capacity, pixelCount - done);
            fetch(samples + done * layout_.bytesPerPixel(), block);
            step_->run(block);
            store(block, out + 4 * done);
        }
    }

private:
    void fetch(const std::byte* samples, SampleBlock& block) const {
        const bool hasAlpha = layout_.alpha != AlphaKind::none;
        const auto colors = static_cast<std::size_t>(layout_.channelCount() - (hasAlpha ? 1 : 0));
        const std::size_t stride = layout_.bytesPerPixel();
        for (std::size_t channel = 0; channel <= colors; ++channel) {
            const bool isAlpha = channel == colors;
            if (isAlpha && !hasAlpha) break;
            const std::span<float> plane(isAlpha ? block.alpha : block.planes[channel]);
            readPlane(layout_.type, samples + channel * layout_.bytesPerSample(), stride,
                      plane.first(block.count));
        }
        if (!hasAlpha) return block.alpha.fill(1);
        const auto alpha = std::span(block.alpha).first(block.count);
        std::ranges::transform(alpha, alpha.begin(), cutToUnit);
        if (layout_.alpha == AlphaKind::premultiplied) unpremultiply(block, colors);
    }

    static void unpremultiply(SampleBlock& block, std::size_t colors) {
        for (std::size_t channel = 0; channel < colors; ++channel) {
            for (std::size_t i = 0; i < block.count; ++i) {
                const float alpha = block.alpha[i];
                float& sample = block.planes[channel][i];
                sample = alpha > 0 ? RowLanes::finite(sample / alpha) : 0;
            }
        }
    }

    static void store(const SampleBlock& block, Half* out) {
        for (std::size_t i = 0; i < block.count; ++i) {
            const std::array<float, 3>& light = block.linear[i];
            const float alpha = block.alpha[i];
            const RowLanes::Floats straight{light[0], light[1], light[2], 1};
            const std::uint64_t bits =
                alpha > 0 ? RowLanes::halfBits(RowLanes::finite(straight) * alpha) : 0;
            RowLanes::storePixel(out + 4 * i, bits);
        }
    }

    SampleLayout layout_;
    std::unique_ptr<ColorStep> step_;
};

} // namespace

std::unique_ptr<ColorStep> makeCurveStep(const ChannelCurves& curves) {
    return std::make_unique<CurveStep>(curves);
}

std::unique_ptr<ColorStep> makeGrayStep(const ToneCurve& curve) {
    return std::make_unique<GrayStep>(curve);
}

std::unique_ptr<ColorStep> makeGenericPressStep() {
    return std::make_unique<GenericPressStep>();
}

// CIE 15 with its exact constants.
std::array<float, 3> linearSRGBOfLab(double lightness, double a, double b) {
    static const Matrix3 toRGB = linearSRGBFromXYZ();
    const auto ofCubeRoot = [](double f) {
        constexpr double joint = 6.0 / 29;
        return f > joint ? f * f * f : 3 * joint * joint * (f - 4.0 / 29);
    };
    const double fy = (lightness + 16) / 116;
    const double x = 0.9642 * ofCubeRoot(fy + a / 500);
    const double y = ofCubeRoot(fy);
    const double z = 0.8249 * ofCubeRoot(fy - b / 200);
    const auto row = [&](const std::array<double, 3>& m) {
        return static_cast<float>(m[0] * x + m[1] * y + m[2] * z);
    };
    return {row(toRGB[0]), row(toRGB[1]), row(toRGB[2])};
}

std::unique_ptr<ColorStep> makeLabStep() {
    return std::make_unique<LabStep>();
}

std::unique_ptr<ColorStep> makeProfileStep(SampleModel model, std::span<const std::byte> iccData) {
    LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Profile source = LittleCms::openProfile(context, iccData);
    if (source == nullptr) return nullptr;
    const LittleCms::Profile target = makeLinearSRGB(context);
    const EngineFormat format = engineFormatOf(model);
    LittleCms::Transform transform(cmsCreateTransformTHR(
        LittleCms::handleOf(context), source.get(), format.format, target.get(), TYPE_RGB_FLT,
        INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOCACHE));
    if (transform == nullptr) return nullptr;
    return std::make_unique<ProfileStep>(std::move(context), std::move(transform), format);
}

std::unique_ptr<RowLineariserPath> makeBlockPath(SampleLayout layout,
                                                 std::unique_ptr<ColorStep> step) {
    return std::make_unique<BlockPath>(layout, std::move(step));
}

} // namespace ombrel
