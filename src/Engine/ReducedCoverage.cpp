#include "Engine/ReducedCoverage.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

namespace {

/// Calls use(index, weight) for what a pixel of a reduced axis covers; the weights add up to 1.
template <typename Use>
void forCovered(std::int64_t i, std::int64_t from, std::int64_t to, Use use) {
    if (from == 2 * to) {
        use(2 * i, 0.5f);
        use(2 * i + 1, 0.5f);
        return;
    }
    const double ratio = static_cast<double>(from) / static_cast<double>(to);
    const double begin = static_cast<double>(i) * ratio;
    const double end = static_cast<double>(i + 1) * ratio;
    const auto first = static_cast<std::int64_t>(begin);
    const auto last = std::min(static_cast<std::int64_t>(std::ceil(end)), from);
    for (std::int64_t k = first; k < last; ++k) {
        const double covered =
            std::min(static_cast<double>(k + 1), end) - std::max(static_cast<double>(k), begin);
        if (covered > 0) use(k, static_cast<float>(covered / ratio));
    }
}

} // namespace

std::vector<std::uint8_t> reducedCoverage(const CoverageView& from, PixelSize to) {
    std::vector<std::uint8_t> reduced;
    reduced.reserve(static_cast<std::size_t>(to.width * to.height));
    std::vector<float> line(static_cast<std::size_t>(from.size.width));
    for (std::int64_t y = 0; y < to.height; ++y) {
        std::ranges::fill(line, 0.0f);
        forCovered(y, from.size.height, to.height, [&](std::int64_t row, float weight) {
            const std::uint8_t* bytes = from.bytes + row * from.pitch;
            for (std::size_t k = 0; k < line.size(); ++k)
                line[k] += weight * static_cast<float>(bytes[k]);
        });
        for (std::int64_t x = 0; x < to.width; ++x) {
            float sum = 0.5f; // for rounding
            forCovered(x, from.size.width, to.width, [&](std::int64_t column, float weight) {
                sum += weight * line[static_cast<std::size_t>(column)];
            });
            reduced.push_back(static_cast<std::uint8_t>(std::min(sum, 255.0f)));
        }
    }
    return reduced;
}

} // namespace ombrel
