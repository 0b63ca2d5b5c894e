// The tone reproduction curve of one channel: file values, 0 to 1, to linear light. Parametric or
// sampled, as ICC profiles hold it, but evaluated in double and beyond 0 to 1, so that float
// pixels keep what lies outside. Never falls, so that it has an inverse. A value; any thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace ombrel {

class ToneCurve {
public:
    /// (a x + b)^g + e from d on, c x + f below it: ICC's parametric function type 4.
    struct Parameters {
        double g = 1;
        double a = 1;
        double b = 0;
        double c = 1;
        double d = 0;
        double e = 0;
        double f = 0;

        bool operator==(const Parameters&) const = default;
    };

    ToneCurve(); ///< the identity
    /// Nothing when the curve falls somewhere in 0 to 1, is flat, or leaves the finite numbers.
    static std::optional<ToneCurve> parametric(const Parameters& parameters);
    /// At least two samples, evenly spaced from 0 to 1. Small dips, as measured curves have them,
    /// are levelled; nothing when the curve falls as a whole or is flat.
    static std::optional<ToneCurve> sampled(std::span<const std::uint16_t> samples);
    static const ToneCurve& sRGB(); ///< IEC 61966-2-1, the curve of TransferFunction

    bool isSampled() const { return samples_ != nullptr; }

    /// Below 0 the curve is mirrored. Above 1 a formula simply goes on; samples go on as the power
    /// of x that has their slope at 1.
    double linearised(double encoded) const;
    /// The way back; the smallest such value where the curve is flat. Mirrored below 0.
    double encoded(double linear) const;

    bool operator==(const ToneCurve& other) const;

private:
    double formulaAt(double x) const;
    double formulaInverse(double y) const;
    double samplesAt(double x) const;
    double samplesInverse(double y) const;

    Parameters parameters_;
    std::shared_ptr<const std::vector<double>> samples_; ///< never falling; null for a formula
    double exponentAboveOne_ = 1;
};

} // namespace ombrel
