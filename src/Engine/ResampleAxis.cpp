#include "Engine/ResampleAxis.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

namespace ombrel {

namespace {

__extension__ using Wide = __int128;

/// A place on an axis: `pixel` whole pixels and a part of one, 0 up to 1.
struct Place {
    std::int64_t pixel;
    double part;
};

/// numerator / denominator, by floor; the denominator is above 0.
Place quotient(Wide numerator, Wide denominator) {
    Wide whole = numerator / denominator;
    Wide rest = numerator % denominator;
    if (rest < 0) {
        rest += denominator;
        --whole;
    }
    return {static_cast<std::int64_t>(whole),
            static_cast<double>(rest) / static_cast<double>(denominator)};
}

/// Where the middle of a target pixel lies among source pixels.
Place middleOf(const ResampleAxis& axis, std::int64_t target) {
    const Wide doubled = 2 * (Wide{target} + axis.targetOffset) + 1;
    Place place = quotient(doubled * axis.sourceLength, Wide{2} * axis.targetLength);
    place.pixel -= axis.sourceOffset;
    return place;
}

double sinc(double x) {
    const double angle = std::numbers::pi * x;
    return x == 0 ? 1 : std::sin(angle) / angle;
}

double valueOf(ResampleFilter filter, double distance) {
    const double x = std::fabs(distance);
    switch (filter) {
    case ResampleFilter::nearest:
        return x <= 0.5 ? 1 : 0;
    case ResampleFilter::bilinear:
        return std::max(0.0, 1 - x);
    case ResampleFilter::bicubic:
        if (x < 1) return (1.5 * x - 2.5) * x * x + 1;
        return x < 2 ? ((-0.5 * x + 2.5) * x - 4) * x + 2 : 0;
    case ResampleFilter::lanczos:
        return x < 3 ? sinc(x) * sinc(x / 3) : 0;
    }
    return 0;
}

double radiusOf(ResampleFilter filter) {
    switch (filter) {
    case ResampleFilter::nearest:
        return 0.5;
    case ResampleFilter::bilinear:
        return 1;
    case ResampleFilter::bicubic:
        return 2;
    case ResampleFilter::lanczos:
        return 3;
    }
    return 0;
}

/// How much wider than for enlarging.
double wideningOf(const ResampleAxis& axis) {
    if (axis.filter == ResampleFilter::nearest) return 1;
    return std::max(1.0, static_cast<double>(axis.sourceLength) /
                             static_cast<double>(axis.targetLength));
}

/// How many whole pixels around the middle one may count.
std::int64_t reachOf(const ResampleAxis& axis) {
    if (axis.filter == ResampleFilter::nearest) return 0;
    return static_cast<std::int64_t>(std::ceil(radiusOf(axis.filter) * wideningOf(axis)));
}

/// The taps of one target.
struct Taps {
    std::int64_t first = 0;
    std::vector<double> weights;
};

// Sines of whole multiples of pi are not quite 0.
constexpr double negligible = 1e-9;

void trim(Taps& taps) {
    const auto counts = [](double weight) { return std::fabs(weight) > negligible; };
    const auto first = std::ranges::find_if(taps.weights, counts);
    taps.first += first - taps.weights.begin();
    taps.weights.erase(taps.weights.begin(), first);
    while (!taps.weights.empty() && !counts(taps.weights.back()))
        taps.weights.pop_back();
}

void findTaps(const ResampleAxis& axis, std::int64_t target, Taps& taps) {
    const Place middle = middleOf(axis, target);
    const std::int64_t reach = reachOf(axis);
    const double widening = wideningOf(axis);
    const auto there = [&](std::int64_t pixel) {
        return std::clamp(pixel, axis.source.first, axis.source.last);
    };
    taps.first = there(middle.pixel - reach);
    taps.weights.assign(static_cast<std::size_t>(there(middle.pixel + reach) - taps.first + 1), 0);
    if (reach == 0) {
        taps.weights.front() = 1;
        return;
    }
    double total = 0;
    for (std::int64_t step = -reach; step <= reach; ++step) {
        const double distance = static_cast<double>(step) + 0.5 - middle.part;
        const double weight = valueOf(axis.filter, distance / widening);
        taps.weights[static_cast<std::size_t>(there(middle.pixel + step) - taps.first)] += weight;
        total += weight;
    }
    for (double& weight : taps.weights)
        weight /= total;
    trim(taps);
}

/// The pixels of a target's taps that lie within a stretch.
PixelSpan commonPart(const Taps& taps, const TapStretch& stretch) {
    return {std::max(taps.first, stretch.source),
            std::min(taps.first + std::ssize(taps.weights),
                     stretch.source + static_cast<std::int64_t>(stretch.length)) -
                1};
}

// A filter that falls on whole pixels takes fewer of them than its neighbours do, so targets may
// be missing between others.
void addTarget(TapStretch& stretch, std::uint32_t target, const PixelSpan& part) {
    if (stretch.starts.empty()) stretch.firstTarget = target;
    stretch.starts.resize(target - stretch.firstTarget, 0);
    stretch.counts.resize(target - stretch.firstTarget, 0);
    stretch.starts.push_back(static_cast<std::uint32_t>(part.first - stretch.source));
    stretch.counts.push_back(static_cast<std::uint32_t>(part.length()));
    stretch.tapCount = std::max(stretch.tapCount, stretch.counts.back());
}

/// Calls visit(stretch, target index, pixels) for every target and stretch that meet.
template <typename Visit>
void forEachPart(std::span<const Taps> targets, std::vector<TapStretch>& stretches,
                 const StretchCut& cut, Visit&& visit) {
    const std::int64_t origin = stretches.front().source & -cut.alignment;
    for (std::size_t i = 0; i < targets.size(); ++i) {
        auto index = static_cast<std::size_t>((targets[i].first - origin) / cut.length);
        for (; index < stretches.size(); ++index) {
            const PixelSpan part = commonPart(targets[i], stretches[index]);
            if (part.isEmpty()) break;
            visit(stretches[index], i, part);
        }
    }
}

} // namespace

TapStretch TapStretch::footprint() const {
    TapStretch result = *this;
    for (float& weight : result.weights)
        weight = weight != 0 ? 1.0f : 0.0f;
    return result;
}

PixelSpan ResampleAxis::sourceOf(const PixelSpan& targets) const {
    const std::int64_t reach = reachOf(*this);
    return {std::clamp(middleOf(*this, targets.first).pixel - reach, source.first, source.last),
            std::clamp(middleOf(*this, targets.last).pixel + reach, source.first, source.last)};
}

PixelSpan ResampleAxis::targetsOf(const PixelSpan& sources) const {
    const std::int64_t reach = reachOf(*this);
    const auto before = [&](std::int64_t edge) {
        return quotient((Wide{edge} + sourceOffset) * targetLength, sourceLength).pixel -
               targetOffset;
    };
    return {before(sources.first - reach) - 1, before(sources.last + reach + 1) + 1};
}

std::vector<TapStretch> ResampleAxis::stretches(const PixelSpan& targets, std::int64_t origin,
                                                const StretchCut& cut) const {
    std::vector<Taps> all(static_cast<std::size_t>(targets.length()));
    PixelSpan read{std::numeric_limits<std::int64_t>::max(),
                   std::numeric_limits<std::int64_t>::min()};
    for (std::size_t i = 0; i < all.size(); ++i) {
        findTaps(*this, targets.first + static_cast<std::int64_t>(i), all[i]);
        read.first = std::min(read.first, all[i].first);
        read.last = std::max(read.last, all[i].first + std::ssize(all[i].weights) - 1);
    }
    std::vector<TapStretch> result;
    for (std::int64_t at = read.first & -cut.alignment; at <= read.last; at += cut.length) {
        const std::int64_t first = std::max(at, read.first);
        const std::int64_t last = std::min(at + cut.length - 1, read.last);
        result.push_back({.source = first, .length = static_cast<std::uint32_t>(last - first + 1)});
    }
    const auto firstTarget = static_cast<std::uint32_t>(targets.first - origin);
    forEachPart(all, result, cut, [&](TapStretch& stretch, std::size_t i, const PixelSpan& part) {
        addTarget(stretch, firstTarget + static_cast<std::uint32_t>(i), part);
    });
    for (TapStretch& stretch : result) {
        stretch.tapCount = (stretch.tapCount + Kernels::tapsAtOnce - 1) & -Kernels::tapsAtOnce;
        stretch.weights.resize(stretch.starts.size() * stretch.tapCount);
    }
    forEachPart(all, result, cut, [&](TapStretch& stretch, std::size_t i, const PixelSpan& part) {
        const std::size_t row = firstTarget + i - stretch.firstTarget;
        for (std::int64_t pixel = part.first; pixel <= part.last; ++pixel) {
            stretch.weights[row * stretch.tapCount + static_cast<std::size_t>(pixel - part.first)] =
                static_cast<float>(all[i].weights[static_cast<std::size_t>(pixel - all[i].first)]);
        }
    });
    return result;
}

} // namespace ombrel
