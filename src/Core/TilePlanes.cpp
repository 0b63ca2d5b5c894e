#include "Core/TilePlanes.h"

#include "Base/Check.h"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace ombrel::TilePlanes {

namespace {

void checkSizes(std::size_t from, std::size_t to) {
    OMBREL_CHECK(from == to && from % 32 == 0, "planes and values have one size, whole vectors");
}

} // namespace

#ifdef __SSE2__

void split(std::span<const std::byte> values, std::span<std::byte> planes) {
    checkSizes(values.size(), planes.size());
    const std::size_t half = values.size() / 2;
    const __m128i lowMask = _mm_set1_epi16(0x00FF);
    for (std::size_t i = 0; i < half; i += 16) {
        const auto* source = reinterpret_cast<const __m128i*>(values.data() + 2 * i);
        const __m128i a = _mm_loadu_si128(source);
        const __m128i b = _mm_loadu_si128(source + 1);
        const __m128i low = _mm_packus_epi16(_mm_and_si128(a, lowMask), _mm_and_si128(b, lowMask));
        const __m128i high = _mm_packus_epi16(_mm_srli_epi16(a, 8), _mm_srli_epi16(b, 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(planes.data() + i), low);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(planes.data() + half + i), high);
    }
}

void join(std::span<const std::byte> planes, std::span<std::byte> values) {
    checkSizes(planes.size(), values.size());
    const std::size_t half = planes.size() / 2;
    for (std::size_t i = 0; i < half; i += 16) {
        const auto* lowSource = reinterpret_cast<const __m128i*>(planes.data() + i);
        const auto* highSource = reinterpret_cast<const __m128i*>(planes.data() + half + i);
        const __m128i low = _mm_loadu_si128(lowSource);
        const __m128i high = _mm_loadu_si128(highSource);
        auto* target = reinterpret_cast<__m128i*>(values.data() + 2 * i);
        _mm_storeu_si128(target, _mm_unpacklo_epi8(low, high));
        _mm_storeu_si128(target + 1, _mm_unpackhi_epi8(low, high));
    }
}

#else

void split(std::span<const std::byte> values, std::span<std::byte> planes) {
    checkSizes(values.size(), planes.size());
    const std::size_t half = values.size() / 2;
    for (std::size_t i = 0; i < half; ++i) {
        planes[i] = values[2 * i];
        planes[half + i] = values[2 * i + 1];
    }
}

void join(std::span<const std::byte> planes, std::span<std::byte> values) {
    checkSizes(planes.size(), values.size());
    const std::size_t half = planes.size() / 2;
    for (std::size_t i = 0; i < half; ++i) {
        values[2 * i] = planes[i];
        values[2 * i + 1] = planes[half + i];
    }
}

#endif

} // namespace ombrel::TilePlanes
