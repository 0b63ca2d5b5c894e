#include "Core/ToneCurve.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

// A curve whose white is darker than this is damaged rather than dark.
constexpr double smallestRange = 1e-3;

// Levels dips and says whether what is left can be inverted.
bool neverFalls(std::vector<double>& values) {
    double deepestDip = 0;
    double highest = values.front();
    for (double& value : values) {
        if (!std::isfinite(value)) return false;
        deepestDip = std::max(deepestDip, highest - value);
        highest = std::max(highest, value);
        value = highest;
    }
    const double range = values.back() - values.front();
    return range > smallestRange && deepestDip < 0.05 * range;
}

// The growth of ln y over ln x at the end of the samples, over a stretch wide enough that 16-bit
// steps do not matter.
double exponentAtOne(const std::vector<double>& samples) {
    const std::size_t last = samples.size() - 1;
    const std::size_t before = last - std::max<std::size_t>(1, last / 32);
    if (before == 0) return 1;
    const double x = static_cast<double>(before) / static_cast<double>(last);
    if (samples[before] <= 0) return 1;
    return std::log(samples[last] / samples[before]) / -std::log(x);
}

} // namespace

ToneCurve::ToneCurve() = default;

std::optional<ToneCurve> ToneCurve::parametric(const Parameters& parameters) {
    ToneCurve curve;
    curve.parameters_ = parameters;
    const Parameters& p = parameters;
    const bool rises = p.g > 0 && p.a > 0 && p.c >= 0;
    if (!rises || !std::isfinite(p.g) || !std::isfinite(p.d)) return std::nullopt;
    std::vector<double> probes(1025);
    for (std::size_t i = 0; i < probes.size(); ++i)
        probes[i] = curve.formulaAt(static_cast<double>(i) / 1024);
    if (!neverFalls(probes)) return std::nullopt;
    return curve;
}

std::optional<ToneCurve> ToneCurve::sampled(std::span<const std::uint16_t> samples) {
    if (samples.size() < 2) return std::nullopt;
    std::vector<double> values(samples.size());
    std::ranges::transform(samples, values.begin(), [](std::uint16_t s) { return s / 65535.0; });
    if (!neverFalls(values)) return std::nullopt;
    ToneCurve curve;
    curve.exponentAboveOne_ = exponentAtOne(values);
    curve.samples_ = std::make_shared<const std::vector<double>>(std::move(values));
    return curve;
}

const ToneCurve& ToneCurve::sRGB() {
    static const ToneCurve curve = [] {
        ToneCurve made;
        made.parameters_ = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045, 0, 0};
        return made;
    }();
    return curve;
}

double ToneCurve::linearised(double encoded) const {
    const double x = std::fabs(encoded);
    return std::copysign(isSampled() ? samplesAt(x) : formulaAt(x), encoded);
}

double ToneCurve::encoded(double linear) const {
    const double y = std::fabs(linear);
    return std::copysign(isSampled() ? samplesInverse(y) : formulaInverse(y), linear);
}

double ToneCurve::formulaAt(double x) const {
    const Parameters& p = parameters_;
    if (x < p.d) return p.c * x + p.f;
    return std::pow(std::max(p.a * x + p.b, 0.0), p.g) + p.e;
}

double ToneCurve::formulaInverse(double y) const {
    const Parameters& p = parameters_;
    const double breakPoint = std::max(p.d, 0.0);
    if (y >= formulaAt(breakPoint)) {
        return std::max((std::pow(std::max(y - p.e, 0.0), 1 / p.g) - p.b) / p.a, breakPoint);
    }
    if (p.c == 0) return y > p.f ? breakPoint : 0;
    return std::clamp((y - p.f) / p.c, 0.0, breakPoint);
}

double ToneCurve::samplesAt(double x) const {
    const std::vector<double>& samples = *samples_;
    if (!(x < 1)) return samples.back() * std::pow(x, exponentAboveOne_);
    const double position = x * static_cast<double>(samples.size() - 1);
    const auto index = static_cast<std::size_t>(position);
    const double share = position - static_cast<double>(index);
    return samples[index] + (samples[index + 1] - samples[index]) * share;
}

double ToneCurve::samplesInverse(double y) const {
    const std::vector<double>& samples = *samples_;
    if (!(y < samples.back())) {
        if (!(y > samples.back())) {
            // Where the curve ends flat, the first sample that reaches the end.
            const auto first = std::ranges::lower_bound(samples, y);
            if (first == samples.end()) return y; // not a number
            return static_cast<double>(first - samples.begin()) /
                   static_cast<double>(samples.size() - 1);
        }
        if (!(exponentAboveOne_ > 0)) return 1;
        return std::pow(y / samples.back(), 1 / exponentAboveOne_);
    }
    const auto above = std::ranges::lower_bound(samples, y);
    if (above == samples.begin()) return 0;
    const double low = *(above - 1); // below y, so the two samples differ
    const auto index = static_cast<double>(above - samples.begin() - 1);
    return (index + (y - low) / (*above - low)) / static_cast<double>(samples.size() - 1);
}

bool ToneCurve::operator==(const ToneCurve& other) const {
    if (isSampled() != other.isSampled()) return false;
    return isSampled() ? *samples_ == *other.samples_ : parameters_ == other.parameters_;
}

} // namespace ombrel
