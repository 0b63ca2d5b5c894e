#include "Engine/Kernels/DisplayRows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "Engine/Kernels/DisplayRows.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "Base/Half.h"
#include "Engine/Kernels/PixelVectors-inl.h"

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

constexpr std::size_t sampledAtOnce = 64;

/// The two texels of one axis that pixels mix, and the second one's part.
struct AxisSamples {
    HWY_ALIGN std::int32_t near[sampledAtOnce];
    HWY_ALIGN std::int32_t far[sampledAtOnce];
    HWY_ALIGN float part[sampledAtOnce];
};

void axisSamples(const TexelLine& line, std::size_t axis, int first, std::size_t count,
                 AxisSamples& samples) {
    const FloatTag d;
    const IntTag di;
    const auto last = hn::Set(di, 255);
    for (std::size_t i = 0; i < count; i += laneCount()) {
        const auto column = hn::ConvertTo(d, hn::Iota(di, first + static_cast<int>(i)));
        const auto local =
            hn::Add(hn::Mul(constant(line.along[axis]), hn::Add(column, constant(0.5f))),
                    constant(line.start[axis]));
        auto at = hn::Add(
            hn::Mul(hn::Sub(local, constant(line.corner[axis])), constant(line.factor[axis])),
            constant(line.offset[axis]));
        if (line.isSmooth) {
            const auto low = constant(line.limits[axis]);
            const auto high = constant(line.limits[axis + 2]);
            at = hn::Sub(hn::Min(hn::Max(at, low), high), constant(0.5f));
        }
        const auto floor = hn::Floor(at);
        const auto texel = hn::ConvertTo(di, floor);
        const auto within = [&](auto index)
                                HWY_ATTR { return hn::Min(hn::Max(index, hn::Zero(di)), last); };
        hn::Store(within(texel), di, samples.near + i);
        hn::Store(within(hn::Add(texel, hn::Set(di, 1))), di, samples.far + i);
        hn::Store(hn::Sub(at, floor), d, samples.part + i);
    }
}

#if HWY_TARGET != HWY_SCALAR
using PixelTag = hn::FixedTag<float, 4>;

HWY_INLINE hn::Vec<PixelTag> texelAt(const std::uint16_t* texels, std::int32_t x, std::int32_t y) {
    const hn::FixedTag<std::uint16_t, 4> dh;
    const auto halves = hn::LoadU(dh, texels + 4 * (256 * static_cast<std::ptrdiff_t>(y) + x));
#if OMBREL_OWN_HALF_CONVERSION
    const PixelTag d;
    const hn::RebindToUnsigned<PixelTag> du;
    const auto words = hn::PromoteTo(du, halves);
    const auto magnitude = hn::ShiftLeft<13>(hn::And(words, hn::Set(du, 0x7FFFu)));
    const auto scaled = hn::Mul(hn::BitCast(d, magnitude), hn::Set(d, 0x1p112f));
    const auto sign = hn::ShiftLeft<16>(hn::And(words, hn::Set(du, 0x8000u)));
    return hn::Or(scaled, hn::BitCast(d, sign));
#else
    return hn::PromoteTo(PixelTag(), hn::BitCast(hn::Rebind<hwy::float16_t, PixelTag>(), halves));
#endif
}

void sampleSome(const TexelLine& line, const AxisSamples& x, const AxisSamples& y,
                std::size_t count, float* HWY_RESTRICT pixels) {
    const PixelTag d;
    const auto mix = [&](auto a, auto b, float part)
                         HWY_ATTR { return hn::Add(a, hn::Mul(hn::Sub(b, a), hn::Set(d, part))); };
    for (std::size_t i = 0; i < count; ++i) {
        const auto corner = texelAt(line.texels, x.near[i], y.near[i]);
        if (!line.isSmooth) {
            hn::StoreU(corner, d, pixels + 4 * i);
            continue;
        }
        const auto upper = mix(corner, texelAt(line.texels, x.far[i], y.near[i]), x.part[i]);
        const auto lower = mix(texelAt(line.texels, x.near[i], y.far[i]),
                               texelAt(line.texels, x.far[i], y.far[i]), x.part[i]);
        hn::StoreU(mix(upper, lower, y.part[i]), d, pixels + 4 * i);
    }
}
#else
void sampleSome(const TexelLine& line, const AxisSamples& x, const AxisSamples& y,
                std::size_t count, float* HWY_RESTRICT pixels) {
    for (std::size_t i = 0; i < 4 * count; ++i) {
        const std::size_t at = i / 4;
        const auto texel = [&](std::int32_t column, std::int32_t row) {
            const std::ptrdiff_t place = 4 * (256 * static_cast<std::ptrdiff_t>(row) + column);
            return toFloat(Half{line.texels[place + static_cast<std::ptrdiff_t>(i % 4)]});
        };
        const auto mix = [](float a, float b, float part) { return a + (b - a) * part; };
        pixels[i] = texel(x.near[at], y.near[at]);
        if (!line.isSmooth) continue;
        const float upper = mix(pixels[i], texel(x.far[at], y.near[at]), x.part[at]);
        const float lower =
            mix(texel(x.near[at], y.far[at]), texel(x.far[at], y.far[at]), x.part[at]);
        pixels[i] = mix(upper, lower, y.part[at]);
    }
}
#endif

void sampleVectors(const TexelLine& line, int first, std::size_t count, float* pixels) {
    AxisSamples x;
    AxisSamples y;
    for (std::size_t done = 0; done < count; done += sampledAtOnce) {
        const std::size_t some = std::min(sampledAtOnce, count - done);
        const int from = first + static_cast<int>(done);
        axisSamples(line, 0, from, some, x);
        axisSamples(line, 1, from, some, y);
        sampleSome(line, x, y, some, pixels + 4 * done);
    }
}

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

HWY_EXPORT(sampleVectors);
HWY_EXPORT(mixVectors);
HWY_EXPORT(encodeVectors);

void sampleTexels(const TexelLine& line, int first, std::size_t count, float* pixels) {
    HWY_DYNAMIC_DISPATCH(sampleVectors)(line, first, count, pixels);
}

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
