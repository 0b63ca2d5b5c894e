// The blend functions on vectors: straight colours from 0 to 1 in, straight colours out, each
// operation in the order of BlendMath so that the results are the same to the last bit. `b` is the
// backdrop, `s` the source; a function that works channel by channel says how in `channel`.

#if defined(OMBREL_BLEND_FUNCTIONS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef OMBREL_BLEND_FUNCTIONS_INL_H
#undef OMBREL_BLEND_FUNCTIONS_INL_H
#else
#define OMBREL_BLEND_FUNCTIONS_INL_H
#endif

#include "Core/BlendMath.h"
#include "Engine/Kernels/PixelVectors-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ombrel::Kernels::HWY_NAMESPACE {

struct ColorVector {
    FloatVector red;
    FloatVector green;
    FloatVector blue;
};

HWY_INLINE FloatVector cutToUnit(FloatVector x) {
    return hn::Min(hn::Max(x, hn::Zero(FloatTag())), constant(1));
}

HWY_INLINE FloatVector twice(FloatVector x) {
    return hn::Add(x, x);
}

struct SourceOnly {
    static HWY_INLINE FloatVector channel(FloatVector, FloatVector s) { return s; }
};
struct Darken {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) { return hn::Min(b, s); }
};
struct Multiply {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) { return hn::Mul(b, s); }
};
struct ColorBurn {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        const auto one = constant(1);
        const auto zero = hn::Zero(FloatTag());
        const auto ratio =
            hn::Div(hn::Sub(one, b), hn::Max(s, constant(BlendMath::smallestDivisor)));
        const auto burnt = hn::IfThenElse(hn::Le(s, zero), zero, hn::Sub(one, hn::Min(ratio, one)));
        return hn::IfThenElse(hn::Ge(b, one), one, burnt);
    }
};
struct LinearBurn {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        return hn::Max(hn::Sub(hn::Add(b, s), constant(1)), hn::Zero(FloatTag()));
    }
};
struct Lighten {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) { return hn::Max(b, s); }
};
struct Screen {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        return hn::Sub(hn::Add(b, s), hn::Mul(b, s));
    }
};
struct ColorDodge {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        const auto one = constant(1);
        const auto zero = hn::Zero(FloatTag());
        const auto ratio =
            hn::Div(b, hn::Max(hn::Sub(one, s), constant(BlendMath::smallestDivisor)));
        const auto dodged = hn::IfThenElse(hn::Ge(s, one), one, hn::Min(ratio, one));
        return hn::IfThenElse(hn::Le(b, zero), zero, dodged);
    }
};
struct LinearDodge {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        return hn::Min(hn::Add(b, s), constant(1));
    }
};
struct HardLight {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        const auto t = twice(s);
        const auto u = hn::Sub(t, constant(1));
        return hn::IfThenElse(hn::Le(s, constant(0.5f)), Multiply::channel(b, t),
                              Screen::channel(b, u));
    }
};
struct Overlay {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        return HardLight::channel(s, b);
    }
};
struct SoftLight {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        const auto one = constant(1);
        const auto twiceSource = twice(s);
        const auto darker =
            hn::Sub(b, hn::Mul(hn::Mul(hn::Sub(one, twiceSource), b), hn::Sub(one, b)));
        auto near = hn::Sub(hn::Mul(constant(16), b), constant(12));
        near = hn::Mul(hn::Add(hn::Mul(near, b), constant(4)), b);
        const auto root = hn::IfThenElse(hn::Gt(b, constant(0.25f)), hn::Sqrt(b), near);
        const auto lighter = hn::Add(b, hn::Mul(hn::Sub(twiceSource, one), hn::Sub(root, b)));
        return hn::IfThenElse(hn::Le(s, constant(0.5f)), darker, lighter);
    }
};
struct VividLight {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        const auto t = twice(s);
        return hn::IfThenElse(hn::Le(s, constant(0.5f)), ColorBurn::channel(b, t),
                              ColorDodge::channel(b, hn::Sub(t, constant(1))));
    }
};
struct LinearLight {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        return cutToUnit(hn::Sub(hn::Add(b, twice(s)), constant(1)));
    }
};
struct PinLight {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        const auto t = twice(s);
        return hn::IfThenElse(hn::Le(s, constant(0.5f)), hn::Min(b, t),
                              hn::Max(b, hn::Sub(t, constant(1))));
    }
};
struct Difference {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        return hn::Abs(hn::Sub(b, s));
    }
};
struct Exclusion {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        return hn::Sub(hn::Add(b, s), hn::Mul(twice(b), s));
    }
};
struct Subtract {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        return hn::Max(hn::Sub(b, s), hn::Zero(FloatTag()));
    }
};
struct Divide {
    static HWY_INLINE FloatVector channel(FloatVector b, FloatVector s) {
        const auto one = constant(1);
        const auto zero = hn::Zero(FloatTag());
        const auto isPositive = hn::Gt(s, zero);
        const auto ratio = hn::Min(hn::Div(b, hn::IfThenElse(isPositive, s, one)), one);
        return hn::IfThenElse(isPositive, ratio, hn::IfThenElse(hn::Le(b, zero), zero, one));
    }
};

HWY_INLINE FloatVector luminosityOf(const ColorVector& c) {
    return hn::Add(hn::Add(hn::Mul(constant(0.3f), c.red), hn::Mul(constant(0.59f), c.green)),
                   hn::Mul(constant(0.11f), c.blue));
}
HWY_INLINE FloatVector smallestOf(const ColorVector& c) {
    return hn::Min(hn::Min(c.red, c.green), c.blue);
}
HWY_INLINE FloatVector largestOf(const ColorVector& c) {
    return hn::Max(hn::Max(c.red, c.green), c.blue);
}
HWY_INLINE FloatVector saturationOf(const ColorVector& c) {
    return hn::Sub(largestOf(c), smallestOf(c));
}

HWY_INLINE ColorVector withSaturation(const ColorVector& c, FloatVector saturation) {
    const auto low = smallestOf(c);
    const auto high = largestOf(c);
    const auto isColored = hn::Lt(low, high);
    const auto range = hn::IfThenElse(isColored, hn::Sub(high, low), constant(1));
    const auto scale = hn::IfThenElseZero(isColored, hn::Div(saturation, range));
    return {hn::Mul(hn::Sub(c.red, low), scale), hn::Mul(hn::Sub(c.green, low), scale),
            hn::Mul(hn::Sub(c.blue, low), scale)};
}

/// Towards the grey of luminosity `l`, where `mask` holds.
HWY_INLINE ColorVector pulled(FloatMask mask, const ColorVector& c, FloatVector l,
                              FloatVector scale) {
    const auto pull = [&](FloatVector channel) HWY_ATTR {
        return hn::IfThenElse(mask, hn::Add(l, hn::Mul(hn::Sub(channel, l), scale)), channel);
    };
    return {pull(c.red), pull(c.green), pull(c.blue)};
}

/// The colour shifted to the luminosity and brought into range; both limits are those of the
/// shifted colour.
HWY_INLINE ColorVector withLuminosity(const ColorVector& color, FloatVector luminosity) {
    const auto one = constant(1);
    const auto smallest = constant(BlendMath::smallestDivisor);
    const auto shift = hn::Sub(luminosity, luminosityOf(color));
    const ColorVector c{hn::Add(color.red, shift), hn::Add(color.green, shift),
                        hn::Add(color.blue, shift)};
    const auto l = luminosityOf(c);
    const auto low = smallestOf(c);
    const auto high = largestOf(c);
    const auto upward = hn::Div(l, hn::Max(hn::Sub(l, low), smallest));
    const auto downward = hn::Div(hn::Sub(one, l), hn::Max(hn::Sub(high, l), smallest));
    const ColorVector lifted = pulled(hn::Lt(low, hn::Zero(FloatTag())), c, l, upward);
    return pulled(hn::Gt(high, one), lifted, l, downward);
}

struct Hue {
    static HWY_INLINE ColorVector blend(const ColorVector& b, const ColorVector& s) {
        return withLuminosity(withSaturation(s, saturationOf(b)), luminosityOf(b));
    }
};
struct Saturation {
    static HWY_INLINE ColorVector blend(const ColorVector& b, const ColorVector& s) {
        return withLuminosity(withSaturation(b, saturationOf(s)), luminosityOf(b));
    }
};
struct Color {
    static HWY_INLINE ColorVector blend(const ColorVector& b, const ColorVector& s) {
        return withLuminosity(s, luminosityOf(b));
    }
};
struct Luminosity {
    static HWY_INLINE ColorVector blend(const ColorVector& b, const ColorVector& s) {
        return withLuminosity(b, luminosityOf(s));
    }
};

template <typename Function>
HWY_INLINE ColorVector blend(const ColorVector& b, const ColorVector& s) {
    if constexpr (requires { Function::channel(b.red, s.red); }) {
        return {Function::channel(b.red, s.red), Function::channel(b.green, s.green),
                Function::channel(b.blue, s.blue)};
    } else {
        return Function::blend(b, s);
    }
}

} // namespace ombrel::Kernels::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
