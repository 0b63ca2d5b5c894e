#include "App/Panels/InfoSampling.h"

#include "Core/ColorProfileReading.h"
#include "Editor/HitTest.h"
#include "Engine/Sampling.h"

#include <cmath>
#include <fmt/format.h>

namespace ombrel {

struct InfoEncoding::Curves {
    std::array<ToneCurve, 3> channels{ToneCurve::sRGB(), ToneCurve::sRGB(), ToneCurve::sRGB()};
};

PointInfo infoAt(const DocumentState& state, RealPoint point) {
    PointInfo info{.x = static_cast<std::int64_t>(std::floor(point.x)),
                   .y = static_cast<std::int64_t>(std::floor(point.y)),
                   .color = {},
                   .layer = {}};
    info.color = sampleMerged(state, info.x, info.y, 0);
    if (!PixelRect::ofSize(state.canvas.size).contains(info.x, info.y)) return info;
    const auto hit = hitLayer(state, HitKind::layer, point);
    const LayerNode* node = hit ? state.find(hit->layer) : nullptr;
    if (node != nullptr) info.layer = node->properties().name;
    return info;
}

InfoEncoding::InfoEncoding(const ColorProfile& profile) {
    Curves curves;
    const auto reading = readColorProfile(profile.iccData());
    if (reading && reading->shaper) curves.channels = reading->shaper->curves;
    curves_ = std::make_unique<const Curves>(std::move(curves));
}

InfoEncoding::~InfoEncoding() = default;

std::array<std::string, 3> InfoEncoding::textOf(const PremultipliedColor& color,
                                                InfoFormat format) const {
    if (!(color.alpha > 0)) return {"–", "–", "–"};
    const std::array<float, 3> light{color.red / color.alpha, color.green / color.alpha,
                                     color.blue / color.alpha};
    std::array<std::string, 3> texts;
    for (std::size_t i = 0; i < texts.size(); ++i)
        texts[i] = infoText(format == InfoFormat::linear ? light[i]
                                                         : curves_->channels[i].encoded(light[i]),
                            format);
    return texts;
}

std::string infoText(double value, InfoFormat format) {
    const auto scaled = [&](double scale) {
        return fmt::format("{}", std::llround(value * scale));
    };
    if (!std::isfinite(value)) return std::isnan(value) ? "NaN" : value > 0 ? "∞" : "−∞";
    switch (format) {
    case InfoFormat::byte:
        return scaled(255);
    case InfoFormat::word:
        return scaled(65535);
    default:
        return fmt::format("{:.4f}", value);
    }
}

} // namespace ombrel
