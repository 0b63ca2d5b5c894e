#include "Engine/Kernels/DisplayRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/DisplayRows.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Engine/Kernels/PixelVectors-inl.h"

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

void mixVectors(const std::uint16_t* HWY_RESTRICT upper, const std::uint16_t* HWY_RESTRICT lower,
                float part, std::size_t count, float* HWY_RESTRICT mixed) {
    const FloatTag d;
    const HalfBitsTag dh;
    const auto factor = constant(part);
    const auto mix = [&](auto a, auto b) HWY_ATTR {
        const auto from = floatFromHalf(a);
        return hn::Add(from, hn::Mul(hn::Sub(floatFromHalf(b), from), factor));
    };
    std::size_t i = 0;
    for (; i + laneCount() <= count; i += laneCount())
        hn::StoreU(mix(hn::LoadU(dh, upper + i), hn::LoadU(dh, lower + i)), d, mixed + i);
    if (i == count) return;
    HWY_ALIGN std::uint16_t halves[2 * hn::MaxLanes(d)] = {};
    HWY_ALIGN float floats[hn::MaxLanes(d)];
    std::copy(upper + i, upper + count, halves);
    std::copy(lower + i, lower + count, halves + laneCount());
    hn::StoreU(mix(hn::LoadU(dh, halves), hn::LoadU(dh, halves + laneCount())), d, floats);
    std::copy_n(floats, count - i, mixed + i);
}

HWY_INLINE void encodeVector(const float* pixels, const DisplayTables& tables, std::uint32_t* rgb) {
    const FloatTag d;
    const IntTag di;
    PixelVector c;
    hn::LoadInterleaved4(d, pixels, c.red, c.green, c.blue, c.alpha);
    const auto last = constant(static_cast<float>(tables.steps - 1));
    const auto byteOf = [&](FloatVector light, const std::int32_t* table) HWY_ATTR {
        const auto root = hn::Sqrt(hn::Min(light, constant(1)));
        const auto step = hn::ConvertTo(di, hn::Add(hn::Mul(root, last), constant(0.5f)));
        return hn::GatherIndex(di, table, step);
    };
    const auto red = hn::ShiftLeft<16>(byteOf(c.red, tables.bytes[0]));
    const auto green = hn::ShiftLeft<8>(byteOf(c.green, tables.bytes[1]));
    const auto blue = byteOf(c.blue, tables.bytes[2]);
    const auto opaque = hn::Set(di, static_cast<std::int32_t>(0xFF000000u));
    const auto all = hn::Or(hn::Or(red, green), hn::Or(blue, opaque));
    hn::StoreU(hn::BitCast(WordTag(), all), WordTag(), rgb);
}

void encodeVectors(const float* HWY_RESTRICT pixels, std::size_t count, const DisplayTables& tables,
                   std::uint32_t* HWY_RESTRICT rgb) {
    const std::size_t lanes = laneCount();
    std::size_t i = 0;
    for (; i + lanes <= count; i += lanes)
        encodeVector(pixels + 4 * i, tables, rgb + i);
    if (i == count) return;
    HWY_ALIGN float rest[4 * hn::MaxLanes(FloatTag())] = {};
    HWY_ALIGN std::uint32_t words[hn::MaxLanes(FloatTag())];
    std::copy(pixels + 4 * i, pixels + 4 * count, rest);
    encodeVector(rest, tables, words);
    std::copy_n(words, count - i, rgb + i);
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ombrel::Kernels {

HWY_EXPORT(mixVectors);
HWY_EXPORT(encodeVectors);

void mixRows(const std::uint16_t* upper, const std::uint16_t* lower, float part, std::size_t count,
             float* mixed) {
    HWY_DYNAMIC_DISPATCH(mixVectors)(upper, lower, part, count, mixed);
}

void encodeForDisplay(const float* pixels, std::size_t count, const DisplayTables& tables,
                      std::uint32_t* rgb) {
    HWY_DYNAMIC_DISPATCH(encodeVectors)(pixels, count, tables, rgb);
}

} // namespace ombrel::Kernels
#endif
