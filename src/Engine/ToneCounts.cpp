#include "Engine/ToneCounts.h"

#include "Base/Half.h"
#include "Core/ToneCurve.h"

#include <algorithm>
#include <cmath>
#include <functional>

namespace ombrel {

namespace {

/// Where each tone lies on a scale, from 0 to 255.
using Places = std::vector<double>;

Places placesOn(ToneScale scale) {
    Places places(ToneCounts::tones);
    for (std::size_t i = 0; i < places.size(); ++i) {
        const double light = toFloat(Half{static_cast<std::uint16_t>(i)});
        places[i] = 255 * (scale == ToneScale::linear ? light : ToneCurve::sRGB().encoded(light));
    }
    return places;
}

const Places& placesOf(ToneScale scale) {
    static const std::array<Places, 2> both{placesOn(ToneScale::linear),
                                            placesOn(ToneScale::perceptual)};
    return both[static_cast<std::size_t>(scale)];
}

} // namespace

LuminanceWeights luminanceWeightsOf(const ColorProfile& profile) {
    // Of sRGB's red, green and blue (IEC 61966-2-1); those of another profile are what its colours
    // become there.
    constexpr std::array<double, 3> weights{0.2126, 0.7152, 0.0722};
    const auto conversion =
        ProfileConversion::between(profile, ColorProfile::sRGB()).value_or(ProfileConversion{});
    LuminanceWeights result{};
    for (std::size_t i = 0; i < result.size(); ++i) {
        double sum = 0;
        for (std::size_t j = 0; j < weights.size(); ++j)
            sum += weights[j] * conversion.columns[i][j];
        result[i] = static_cast<float>(sum);
    }
    return result;
}

std::uint64_t ToneCounts::shadows(ToneChannel channel) const {
    return of(channel)[0] + of(channel)[1];
}

std::uint64_t ToneCounts::highlights(ToneChannel channel) const {
    return of(channel)[tones] + of(channel)[tones + 1];
}

ToneCounts::Bins ToneCounts::binsOf(ToneChannel channel, ToneScale scale) const {
    const Places& places = placesOf(scale);
    const std::uint64_t* counts = of(channel);
    Bins result{};
    result.front() = counts[0];
    for (std::size_t i = 0; i < tones; ++i)
        result[static_cast<std::size_t>(std::lround(places[i]))] += counts[i + 1];
    result.back() += counts[tones + 1];
    return result;
}

ToneCounts::Figures ToneCounts::figuresOf(ToneChannel channel, ToneScale scale) const {
    if (pixelCount_ == 0) return {};
    const Places& places = placesOf(scale);
    const std::uint64_t* counts = of(channel);
    const auto placeOf = [&](std::size_t slot) {
        return slot == 0 ? 0.0 : slot > tones ? 255.0 : places[slot - 1];
    };
    const auto total = static_cast<double>(pixelCount_);
    Figures figures;
    double squares = 0;
    std::uint64_t passed = 0;
    bool hasMedian = false;
    for (std::size_t slot = 0; slot < stride; ++slot) {
        const double share = static_cast<double>(counts[slot]) / total;
        figures.mean += share * placeOf(slot);
        squares += share * placeOf(slot) * placeOf(slot);
        passed += counts[slot];
        if (hasMedian || 2 * passed < pixelCount_) continue;
        figures.median = placeOf(slot);
        hasMedian = true;
    }
    figures.deviation = std::sqrt(std::max(0.0, squares - figures.mean * figures.mean));
    return figures;
}

ToneCounts& ToneCounts::operator+=(const ToneCounts& other) {
    addPixels(other.pixelCount_);
    std::ranges::transform(counts_, other.counts_, counts_.begin(), std::plus{});
    return *this;
}

} // namespace ombrel
