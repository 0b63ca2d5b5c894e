#include "IO/RowLanes.h"
#include "IO/RowLineariserPath.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

namespace ombrel {

namespace {

using RowLanes::Floats;

constexpr std::uint64_t opaqueAlpha = 0x3C00ull << 48;

// What each stored sample stands for.
float valueOf(std::uint8_t sample) {
    return static_cast<float>(sample) / 255.0f;
}
float valueOf(std::uint16_t sample) {
    return static_cast<float>(sample) / 65535.0f;
}
float valueOf(Half sample) {
    return RowLanes::finite(toFloat(sample));
}

template <typename Sample>
constexpr std::size_t sampleValues = sizeof(Sample) == 1 ? 256 : 65536;

template <typename Sample>
Sample sampleAt(std::size_t index) {
    if constexpr (std::is_same_v<Sample, Half>) {
        return Half{static_cast<std::uint16_t>(index)};
    } else {
        return static_cast<Sample>(index);
    }
}
template <typename Sample>
std::size_t indexOf(Sample sample) {
    if constexpr (std::is_same_v<Sample, Half>) {
        return sample.bits;
    } else {
        return sample;
    }
}

template <typename Sample>
constexpr bool isOpaque(Sample alpha) {
    if constexpr (std::is_same_v<Sample, Half>) {
        return alpha.bits == 0x3C00;
    } else {
        return alpha == static_cast<Sample>(-1);
    }
}

template <typename Sample>
float alphaOf(Sample sample) {
    const float alpha = valueOf(sample);
    return alpha > 0 ? (alpha < 1 ? alpha : 1.0f) : 0.0f;
}

// The linear light of every value of a sample.
template <typename Sample>
struct LightTable {
    std::vector<float> light;
    std::vector<std::uint16_t> halves;

    explicit LightTable(const ToneCurve& curve)
        : light(sampleValues<Sample>), halves(sampleValues<Sample>) {
        for (std::size_t i = 0; i < light.size(); ++i) {
            const double value = curve.linearised(exactValueOf(sampleAt<Sample>(i)));
            light[i] = RowLanes::finite(static_cast<float>(value));
            halves[i] = toHalf(light[i]).bits;
        }
    }

private:
    static double exactValueOf(Sample sample) {
        if constexpr (std::is_same_v<Sample, Half>) {
            return valueOf(sample);
        } else {
            return static_cast<double>(sample) / static_cast<double>(sampleValues<Sample> - 1);
        }
    }
};

// Straight alpha or none; `colors` is 3 for RGB and 1 for gray.
template <typename Sample, int colors, bool hasAlpha>
class StraightTablePath final : public RowLineariserPath {
public:
    explicit StraightTablePath(const ChannelCurves& curves)
        : tables_(tablesOf(curves, [](const ToneCurve& curve) {
              return std::make_shared<const LightTable<Sample>>(curve);
          })) {
        if constexpr (sizeof(Sample) == 1) placeHalves();
    }

    void convert(const std::byte* samples, std::size_t pixelCount, Half* out) const override {
        constexpr std::size_t channelCount = colors + (hasAlpha ? 1 : 0);
        for (std::size_t i = 0; i < pixelCount; ++i) {
            std::array<Sample, channelCount> pixel;
            std::memcpy(static_cast<void*>(pixel.data()), samples + i * sizeof pixel, sizeof pixel);
            std::uint64_t bits = 0;
            if (!hasAlpha || isOpaque(pixel[channelCount - 1])) {
                bits = opaque(pixel.data());
            } else {
                bits = translucent(pixel.data(), alphaOf(pixel[channelCount - 1]));
            }
            RowLanes::storePixel(out + 4 * i, bits);
        }
    }

private:
    // With 256 values the halves fit into their places of the pixel beforehand.
    void placeHalves() {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (std::size_t i = 0; i < 256; ++i) {
                const std::uint64_t half = tables_[channel]->halves[i];
                placed_[channel][i] = half << (16 * channel);
            }
        }
        for (std::size_t i = 0; i < 256; ++i) {
            if (colors == 1) placed_[0][i] = tables_[0]->halves[i] * 0x100010001ull;
            placed_[0][i] |= opaqueAlpha;
        }
    }

    std::uint64_t opaque(const Sample* pixel) const {
        if constexpr (sizeof(Sample) == 1) {
            if constexpr (colors == 1) return placed_[0][pixel[0]];
            return placed_[0][pixel[0]] | placed_[1][pixel[1]] | placed_[2][pixel[2]];
        } else if constexpr (colors == 1) {
            return tables_[0]->halves[indexOf(pixel[0])] * 0x100010001ull | opaqueAlpha;
        } else {
            const auto half = [&](std::size_t channel) -> std::uint64_t {
                return tables_[channel]->halves[indexOf(pixel[channel])];
            };
            return half(0) | half(1) << 16 | half(2) << 32 | opaqueAlpha;
        }
    }

    std::uint64_t translucent(const Sample* pixel, float alpha) const {
        if (alpha == 0) return 0;
        const auto light = [&](std::size_t channel) {
            const std::size_t source = colors == 1 ? 0 : channel;
            return tables_[source]->light[indexOf(pixel[source])];
        };
        return RowLanes::halfBits(Floats{light(0), light(1), light(2), 1} * alpha);
    }

    std::array<std::shared_ptr<const LightTable<Sample>>, 3> tables_;
    std::array<std::array<std::uint64_t, sizeof(Sample) == 1 ? 256 : 0>, 3> placed_{};
};

// Eight-bit samples that the file holds multiplied: a table over sample and alpha.
template <int colors>
class PremultipliedTablePath final : public RowLineariserPath {
public:
    explicit PremultipliedTablePath(const ChannelCurves& curves)
        : tables_(tablesOf(curves, makeTable)) {
        for (std::size_t alpha = 0; alpha < 256; ++alpha)
            alphas_[alpha] = toHalf(valueOf(static_cast<std::uint8_t>(alpha))).bits;
    }

    void convert(const std::byte* samples, std::size_t pixelCount, Half* out) const override {
        for (std::size_t i = 0; i < pixelCount; ++i) {
            std::array<std::uint8_t, colors + 1> pixel;
            std::memcpy(static_cast<void*>(pixel.data()), samples + i * sizeof pixel, sizeof pixel);
            const std::size_t alpha = pixel[colors];
            const auto half = [&](std::size_t channel) -> std::uint64_t {
                const std::size_t source = colors == 1 ? 0 : channel;
                return (*tables_[source])[alpha << 8 | pixel[source]];
            };
            RowLanes::storePixel(out + 4 * i, half(0) | half(1) << 16 | half(2) << 32 |
                                                  std::uint64_t{alphas_[alpha]} << 48);
        }
    }

private:
    using Table = std::vector<std::uint16_t>;

    static std::shared_ptr<const Table> makeTable(const ToneCurve& curve) {
        auto table = std::make_shared<Table>(65536);
        for (std::size_t alpha = 1; alpha < 256; ++alpha) {
            for (std::size_t sample = 0; sample < 256; ++sample) {
                const double straight = static_cast<double>(sample) / static_cast<double>(alpha);
                const auto light = static_cast<float>(curve.linearised(straight));
                const float share = valueOf(static_cast<std::uint8_t>(alpha));
                (*table)[alpha << 8 | sample] = toHalf(RowLanes::finite(light * share)).bits;
            }
        }
        return table;
    }

    std::array<std::shared_ptr<const Table>, 3> tables_;
    std::array<std::uint16_t, 256> alphas_;
};

// A table over the product of what ink and black leave.
class GenericPressTablePath final : public RowLineariserPath {
public:
    GenericPressTablePath() : halves_(255 * 255 + 1) {
        for (std::size_t product = 0; product < halves_.size(); ++product) {
            const double light =
                ToneCurve::sRGB().linearised(static_cast<double>(product) / (255.0 * 255.0));
            halves_[product] = toHalf(static_cast<float>(light)).bits;
        }
    }

    void convert(const std::byte* samples, std::size_t pixelCount, Half* out) const override {
        for (std::size_t i = 0; i < pixelCount; ++i) {
            std::array<std::uint8_t, 4> inks;
            std::memcpy(inks.data(), samples + i * sizeof inks, sizeof inks);
            const std::size_t through = 255u - inks[3];
            const auto half = [&](std::size_t channel) -> std::uint64_t {
                return halves_[(255u - inks[channel]) * through];
            };
            RowLanes::storePixel(out + 4 * i,
                                 half(0) | half(1) << 16 | half(2) << 32 | opaqueAlpha);
        }
    }

private:
    std::vector<std::uint16_t> halves_;
};

template <typename Sample>
std::unique_ptr<RowLineariserPath> makeStraightPath(SampleLayout layout,
                                                    const ChannelCurves& curves) {
    const bool hasAlpha = layout.alpha != AlphaKind::none;
    if (layout.model == SampleModel::gray) {
        if (hasAlpha) return std::make_unique<StraightTablePath<Sample, 1, true>>(curves);
        return std::make_unique<StraightTablePath<Sample, 1, false>>(curves);
    }
    if (hasAlpha) return std::make_unique<StraightTablePath<Sample, 3, true>>(curves);
    return std::make_unique<StraightTablePath<Sample, 3, false>>(curves);
}

} // namespace

std::unique_ptr<RowLineariserPath> makeTablePath(SampleLayout layout, const ChannelCurves& curves) {
    if (layout.model != SampleModel::gray && layout.model != SampleModel::rgb) return nullptr;
    if (layout.alpha == AlphaKind::premultiplied) {
        if (layout.type != SampleType::unsigned8) return nullptr;
        if (layout.model == SampleModel::gray) {
            return std::make_unique<PremultipliedTablePath<1>>(curves);
        }
        return std::make_unique<PremultipliedTablePath<3>>(curves);
    }
    switch (layout.type) {
    case SampleType::unsigned8:
        return makeStraightPath<std::uint8_t>(layout, curves);
    case SampleType::unsigned16:
        return makeStraightPath<std::uint16_t>(layout, curves);
    case SampleType::half:
        return makeStraightPath<Half>(layout, curves);
    case SampleType::float32:
        return nullptr;
    }
    return nullptr;
}

std::unique_ptr<RowLineariserPath> makeGenericPressTablePath() {
    return std::make_unique<GenericPressTablePath>();
}

} // namespace ombrel
