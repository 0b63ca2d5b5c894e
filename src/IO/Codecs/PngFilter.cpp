#include "IO/Codecs/PngFilter.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>

namespace ombrel {

namespace {

using Byte = std::uint8_t;

struct Neighbours {
    const Byte* here; ///< the byte to predict
    const Byte* left; ///< the same channel of the pixel before
    const Byte* above;
    const Byte* aboveLeft;
};

int magnitude(int value) {
    return value < 0 ? -value : value;
}

int paeth(int left, int above, int aboveLeft) {
    const int overLeft = magnitude(above - aboveLeft);
    const int overAbove = magnitude(left - aboveLeft);
    const int overAboveLeft = magnitude(left + above - 2 * aboveLeft);
    const int nearerOfRest = overAbove <= overAboveLeft ? above : aboveLeft;
    return overLeft <= overAbove && overLeft <= overAboveLeft ? left : nearerOfRest;
}

template <int filterNumber>
Byte residual(const Neighbours& n, std::size_t i) {
    int prediction = 0;
    if constexpr (filterNumber == 1) prediction = n.left[i];
    if constexpr (filterNumber == 2) prediction = n.above[i];
    if constexpr (filterNumber == 3) prediction = (n.left[i] + n.above[i]) >> 1;
    if constexpr (filterNumber == 4) prediction = paeth(n.left[i], n.above[i], n.aboveLeft[i]);
    return static_cast<Byte>(n.here[i] - prediction);
}

/// Sum of magnitudes; plain loops over bytes that the compiler turns into vector code.
template <int filterNumber>
std::uint64_t apply(const Neighbours& n, std::size_t count, Byte* __restrict out) {
    constexpr std::size_t chunk = 4096; // keeps the inner sum within 32 bits and in cache
    std::uint64_t total = 0;
    for (std::size_t begin = 0; begin < count; begin += chunk) {
        const std::size_t end = std::min(count, begin + chunk);
        for (std::size_t i = begin; i < end; ++i)
            out[i] = residual<filterNumber>(n, i);
        std::uint32_t sum = 0;
        for (std::size_t i = begin; i < end; ++i)
            sum += std::min<Byte>(out[i], static_cast<Byte>(-out[i]));
        total += sum;
    }
    return total;
}

constexpr std::array filters{apply<0>, apply<1>, apply<2>, apply<3>, apply<4>};

} // namespace

PngFilter::PngFilter(std::size_t rowBytes, std::size_t pixelBytes)
    : rowBytes_(rowBytes), pixelBytes_(pixelBytes), row_(rowBytes + pixelBytes),
      above_(rowBytes + pixelBytes), candidate_(rowBytes) {}

void PngFilter::filter(std::span<const Byte> row, std::span<const Byte> above,
                       std::span<Byte> out) {
    const auto offset = static_cast<std::ptrdiff_t>(pixelBytes_);
    std::ranges::copy(row, row_.begin() + offset);
    if (above.empty()) {
        std::ranges::fill(above_, Byte{0});
    } else {
        std::ranges::copy(above, above_.begin() + offset);
    }
    const Neighbours neighbours{row_.data() + pixelBytes_, row_.data(), above_.data() + pixelBytes_,
                                above_.data()};
    std::uint64_t best = std::numeric_limits<std::uint64_t>::max();
    for (std::size_t number = 0; number < filters.size(); ++number) {
        const std::uint64_t sum = filters[number](neighbours, rowBytes_, candidate_.data());
        if (sum >= best) continue;
        best = sum;
        out[0] = static_cast<Byte>(number);
        std::ranges::copy(candidate_, out.begin() + 1);
    }
}

} // namespace ombrel
