#include "Core/BlendMath.h"

#include "Base/Check.h"

#include <algorithm>
#include <bit>
#include <cmath>

namespace ombrel::BlendMath {

static_assert(std::bit_cast<std::uint32_t>(smallestDivisor) == 0x358637BDu);

namespace {

constexpr float cutToUnit(float x) {
    return x > 0 ? (x < 1 ? x : 1.0f) : 0.0f;
}

// Separable functions of one channel: b is the backdrop, s the source.

float sourceOnly(float, float s) {
    return s;
}
float darken(float b, float s) {
    return b > s ? s : b;
}
float multiply(float b, float s) {
    return b * s;
}
float colorBurn(float b, float s) {
    if (b >= 1) return 1;
    if (s <= 0) return 0;
    return 1 - std::min((1 - b) / std::max(s, smallestDivisor), 1.0f);
}
float linearBurn(float b, float s) {
    const float sum = b + s - 1;
    return sum > 0 ? sum : 0;
}
float lighten(float b, float s) {
    return s >= b ? s : b;
}
float screen(float b, float s) {
    return b + s - b * s;
}
float colorDodge(float b, float s) {
    if (b <= 0) return 0;
    if (s >= 1) return 1;
    return std::min(b / std::max(1 - s, smallestDivisor), 1.0f);
}
float linearDodge(float b, float s) {
    const float sum = b + s;
    return sum > 1 ? 1 : sum;
}
float hardLight(float b, float s) {
    const float t = 2 * s;
    if (s <= 0.5f) return b * t;
    const float u = t - 1;
    return b + u - b * u;
}
float overlay(float b, float s) {
    return hardLight(s, b);
}
float softLight(float b, float s) {
    if (s <= 0.5f) return b - (1 - 2 * s) * b * (1 - b);
    const float d = b > 0.25f ? std::sqrt(b) : ((16 * b - 12) * b + 4) * b;
    return b + (2 * s - 1) * (d - b);
}
float vividLight(float b, float s) {
    return s <= 0.5f ? colorBurn(b, 2 * s) : colorDodge(b, 2 * s - 1);
}
float linearLight(float b, float s) {
    return cutToUnit(b + 2 * s - 1);
}
float pinLight(float b, float s) {
    return s <= 0.5f ? std::min(b, 2 * s) : std::max(b, 2 * s - 1);
}
float difference(float b, float s) {
    return std::fabs(b - s);
}
float exclusion(float b, float s) {
    return b + s - 2 * b * s;
}
float subtract(float b, float s) {
    const float rest = b - s;
    return rest > 0 ? rest : 0;
}
float divide(float b, float s) {
    if (s > 0) return std::min(b / s, 1.0f);
    return b <= 0 ? 0 : 1;
}

template <float (*channel)(float, float)>
Rgb separable(const Rgb& b, const Rgb& s) {
    return {channel(b[0], s[0]), channel(b[1], s[1]), channel(b[2], s[2])};
}

// Non-separable functions and their helpers on whole colours.

float lum(const Rgb& c) {
    return 0.3f * c[0] + 0.59f * c[1] + 0.11f * c[2];
}
float smallest(const Rgb& c) {
    return std::min(std::min(c[0], c[1]), c[2]);
}
float largest(const Rgb& c) {
    return std::max(std::max(c[0], c[1]), c[2]);
}
float sat(const Rgb& c) {
    return largest(c) - smallest(c);
}

Rgb setSat(const Rgb& c, float saturation) {
    const float low = smallest(c);
    const float high = largest(c);
    if (low >= high) return {0, 0, 0};
    const float scale = saturation / (high - low);
    return {(c[0] - low) * scale, (c[1] - low) * scale, (c[2] - low) * scale};
}

Rgb setLum(const Rgb& c, float luminosity) {
    const float shift = luminosity - lum(c);
    return {c[0] + shift, c[1] + shift, c[2] + shift};
}

// Both limits are those of the colour handed in: the second step does not look again at what the
// first one made, which decides how out-of-gamut colours come out.
Rgb clipColor(const Rgb& color) {
    const float l = lum(color);
    const float low = smallest(color);
    const float high = largest(color);
    Rgb c = color;
    const auto pullTowardsLum = [&c, l](float scale) {
        for (float& channel : c)
            channel = l + (channel - l) * scale;
    };
    if (low < 0) pullTowardsLum(l / std::max(l - low, smallestDivisor));
    if (high > 1) pullTowardsLum((1 - l) / std::max(high - l, smallestDivisor));
    return c;
}

Rgb hue(const Rgb& b, const Rgb& s) {
    return clipColor(setLum(setSat(s, sat(b)), lum(b)));
}
Rgb saturation(const Rgb& b, const Rgb& s) {
    return clipColor(setLum(setSat(b, sat(s)), lum(b)));
}
Rgb color(const Rgb& b, const Rgb& s) {
    return clipColor(setLum(s, lum(b)));
}
Rgb luminosity(const Rgb& b, const Rgb& s) {
    return clipColor(setLum(b, lum(s)));
}

using BlendFunction = Rgb (*)(const Rgb& backdrop, const Rgb& source);

// In the order of BlendMode.
constexpr std::array<BlendFunction, blendModeCount> blendFunctions{
    separable<sourceOnly>,  // normal
    separable<sourceOnly>,  // dissolve
    separable<darken>,      //
    separable<multiply>,    //
    separable<colorBurn>,   //
    separable<linearBurn>,  //
    separable<lighten>,     //
    separable<screen>,      //
    separable<colorDodge>,  //
    separable<linearDodge>, //
    separable<overlay>,     //
    separable<softLight>,   //
    separable<hardLight>,   //
    separable<vividLight>,  //
    separable<linearLight>, //
    separable<pinLight>,    //
    separable<difference>,  //
    separable<exclusion>,   //
    separable<subtract>,    //
    separable<divide>,      //
    hue,
    saturation,
    color,
    luminosity,
    separable<sourceOnly>, // passThrough
};

PremultipliedColor scaled(const PremultipliedColor& c, float factor) {
    return {c.red * factor, c.green * factor, c.blue * factor, c.alpha * factor};
}

PremultipliedColor mixed(const PremultipliedColor& from, const PremultipliedColor& to,
                         float amount) {
    return {from.red + (to.red - from.red) * amount, from.green + (to.green - from.green) * amount,
            from.blue + (to.blue - from.blue) * amount,
            from.alpha + (to.alpha - from.alpha) * amount};
}

Rgb straightInUnit(const PremultipliedColor& c) {
    return {cutToUnit(c.red / c.alpha), cutToUnit(c.green / c.alpha), cutToUnit(c.blue / c.alpha)};
}

// The accumulator and the levels that wait below it, for one pixel.
class StackMachine {
public:
    StackMachine(bool perceptual, std::int32_t x, std::int32_t y)
        : perceptual_(perceptual), x_(x), y_(y) {}

    void run(const LayerOp& op, std::uint32_t index);
    void run(const BeginOp& op, std::uint32_t index);
    void run(const EndOp& op, std::uint32_t index);
    PremultipliedColor result() const {
        return perceptual_ ? TransferFunction::decode(accumulator_) : accumulator_;
    }

private:
    bool perceptual_;
    std::int32_t x_;
    std::int32_t y_;
    PremultipliedColor accumulator_;
    std::array<PremultipliedColor, maximumStackDepth> levels_{};
    std::size_t depth_ = 0;
};

void StackMachine::run(const LayerOp& op, std::uint32_t index) {
    if (op.color.alpha <= 0) return;
    PremultipliedColor c = perceptual_ ? TransferFunction::encode(op.color) : op.color;
    c = scaled(c, op.opacity * op.mask);
    BlendMode mode = op.blendMode;
    if (mode == BlendMode::dissolve) {
        c = dissolve(c, x_, y_, index);
        mode = BlendMode::normal;
    }
    PremultipliedColor r = composite(mode, accumulator_, c);
    if (op.clipped) {
        // Takes back what fell beside the base, so that the layer shows only on its coverage.
        const float beside = 1 - accumulator_.alpha;
        r.red -= c.red * beside;
        r.green -= c.green * beside;
        r.blue -= c.blue * beside;
        r.alpha = accumulator_.alpha;
    }
    accumulator_ = r;
}

void StackMachine::run(const BeginOp& op, std::uint32_t) {
    if (depth_ == levels_.size()) return;
    levels_[depth_++] = accumulator_;
    if (op.isolated) accumulator_ = {};
}

void StackMachine::run(const EndOp& op, std::uint32_t index) {
    if (depth_ == 0) return;
    const PremultipliedColor under = levels_[--depth_];
    const float factor = op.opacity * op.mask;
    if (!op.isolated) {
        // The sum would round; a whole pass-through level must not change its content.
        if (factor != 1) accumulator_ = mixed(under, accumulator_, factor);
        return;
    }
    PremultipliedColor group = scaled(accumulator_, factor);
    BlendMode mode = op.blendMode;
    if (mode == BlendMode::dissolve) {
        group = dissolve(group, x_, y_, index);
        mode = BlendMode::normal;
    }
    accumulator_ = composite(mode, under, group);
}

} // namespace

Rgb blend(BlendMode mode, const Rgb& backdrop, const Rgb& source) {
    const auto index = static_cast<std::size_t>(mode);
    OMBREL_CHECK(index < blendFunctions.size(), "the blend mode is one of the 25");
    return blendFunctions[index](backdrop, source);
}

PremultipliedColor composite(BlendMode mode, const PremultipliedColor& backdrop,
                             const PremultipliedColor& source) {
    const float ba = backdrop.alpha;
    const float sa = source.alpha;
    const float throughSource = 1 - sa;
    if (mode == BlendMode::normal) {
        return {source.red + backdrop.red * throughSource,
                source.green + backdrop.green * throughSource,
                source.blue + backdrop.blue * throughSource,
                source.alpha + backdrop.alpha * throughSource};
    }
    if (sa <= 0) return backdrop;
    const Rgb sourceColor = straightInUnit(source);
    const Rgb backdropColor = ba <= 0 ? Rgb{} : straightInUnit(backdrop);
    const Rgb blended = blend(mode, backdropColor, sourceColor);
    const float besideBackdrop = 1 - ba;
    const auto channel = [=](float b, float s, float both) {
        return both * ba * sa + s * besideBackdrop + b * throughSource;
    };
    return {channel(backdrop.red, source.red, blended[0]),
            channel(backdrop.green, source.green, blended[1]),
            channel(backdrop.blue, source.blue, blended[2]), sa + ba * throughSource};
}

float dissolveNoise(std::int32_t x, std::int32_t y, std::uint32_t index) {
    std::uint32_t h = (static_cast<std::uint32_t>(x) * 0x8DA6B343u) ^
                      (static_cast<std::uint32_t>(y) * 0xD8163841u) ^ (index * 0xCB1AB31Fu);
    h = (h ^ (h >> 16)) * 0x7FEB352Du;
    h = (h ^ (h >> 15)) * 0x846CA68Bu;
    const std::uint32_t bits = (h >> 24) ^ (h >> 8); // below 2^24: exact in a float
    return static_cast<float>(bits) * 0x1p-24f;
}

PremultipliedColor dissolve(const PremultipliedColor& source, std::int32_t x, std::int32_t y,
                            std::uint32_t index) {
    const float alpha = source.alpha;
    if (!(alpha > 0)) return {};
    if (!(dissolveNoise(x, y, index) < alpha)) return {};
    return {source.red / alpha, source.green / alpha, source.blue / alpha, 1};
}

PremultipliedColor evaluate(std::span<const Op> ops, bool perceptual, std::int32_t x,
                            std::int32_t y) {
    StackMachine machine(perceptual, x, y);
    for (std::size_t i = 0; i < ops.size(); ++i) {
        std::visit([&](const auto& op) { machine.run(op, static_cast<std::uint32_t>(i)); }, ops[i]);
    }
    return machine.result();
}

PremultipliedColor evaluate(std::span<const FlatLayer> layers, bool perceptual, std::int32_t x,
                            std::int32_t y) {
    StackMachine machine(perceptual, x, y);
    for (std::size_t i = 0; i < layers.size(); ++i) {
        const FlatLayer& layer = layers[i];
        machine.run(LayerOp{layer.color, layer.opacity, layer.blendMode},
                    static_cast<std::uint32_t>(i));
    }
    return machine.result();
}

} // namespace ombrel::BlendMath
