#include "Tools/BuiltInTips.h"

#include "Base/Check.h"
#include "Tools/BrushRandom.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <utility>

namespace ombrel::BuiltInTips {

namespace {

/// 0 at `from`, 1 at `to` (which may be the smaller one), smooth at both.
double step(double from, double to, double value) {
    const double t = std::clamp((value - from) / (to - from), 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

/// Noise from 0 to 1: values on a lattice, mixed smoothly in between.
class ValueNoise {
public:
    explicit ValueNoise(std::uint64_t seed) : random_{seed} {
        for (std::size_t i = 0; i < size; ++i) {
            values_.at(i) = random_.next();
            places_.at(i) = i;
        }
        for (std::size_t i = size - 1; i > 0; --i)
            std::swap(places_.at(i),
                      places_.at(static_cast<std::size_t>(random_.next() * double(i + 1))));
    }

    double at(double x, double y) const {
        const double column = std::floor(x);
        const double row = std::floor(y);
        const double u = step(0, 1, x - column);
        const double v = step(0, 1, y - row);
        const double above = std::lerp(value(column, row), value(column + 1, row), u);
        const double below = std::lerp(value(column, row + 1), value(column + 1, row + 1), u);
        return std::lerp(above, below, v);
    }
    /// Finer and fainter copies on top of each other, each turned, so that no lattice shows.
    double layered(double x, double y, int layers) const { return sum(x, y, layers, 1.2); }
    /// The same without turns, for noise that is stretched along an axis.
    double streaked(double x, double y, int layers) const { return sum(x, y, layers, 0); }

private:
    static constexpr std::size_t size = 64;

    double sum(double x, double y, int layers, double turn) const {
        const double along = std::sqrt(4 - turn * turn);
        double total = 0;
        double weight = 0;
        for (double share = 1; layers > 0; --layers, share /= 2) {
            total += share * at(x, y);
            weight += share;
            const double turned = along * x - turn * y + 17.3;
            y = along * y + turn * x + 5.9;
            x = turned;
        }
        return total / weight;
    }
    double value(double column, double row) const {
        const auto x = static_cast<std::size_t>(static_cast<std::int64_t>(column)) % size;
        const auto y = static_cast<std::size_t>(static_cast<std::int64_t>(row)) % size;
        return values_.at(places_.at((places_.at(x) + y) % size));
    }

    BrushRandom random_;
    std::array<double, size> values_{};
    std::array<std::size_t, size> places_{};
};

/// A round blot.
struct Spot {
    double x = 0;
    double y = 0;
    double radius = 0;
    double strength = 1;
};

/// The coverage of a place; both coordinates run from -1 to 1.
using Shader = std::function<double(double x, double y)>;

Shader chalk() {
    return [edge = ValueNoise(11), grain = ValueNoise(12)](double x, double y) {
        const double ragged = 0.3 * (edge.layered(4 * x, 4 * y, 3) - 0.5);
        const double body = step(0.92, 0.62, std::hypot(x, y) + ragged);
        const double tooth = grain.layered(17 * x, 17 * y, 3);
        return step(0.62, 0.3, tooth - 0.1 * (body - 0.6)) * step(0.0, 0.35, body);
    };
}

Shader charcoal() {
    return [grain = ValueNoise(21), clouds = ValueNoise(22)](double x, double y) {
        // Fibres lie along a slant.
        const double along = 0.86 * x + 0.5 * y;
        const double across = 0.86 * y - 0.5 * x;
        const double body = step(1.22, 0.15, std::hypot(x, y / 0.92));
        const double fibres = grain.streaked(11 * along, 30 * across, 3);
        const double density = body * (0.42 + 0.62 * clouds.layered(5 * x, 5 * y, 3));
        return 0.95 * step(0.0, 0.3, fibres + density - 0.86) * step(0.0, 0.2, body);
    };
}

std::vector<Spot> spatterSpots() {
    BrushRandom random{31};
    std::vector<Spot> spots;
    for (int i = 0; i < 150; ++i) {
        const double distance = 0.95 * std::pow(random.next(), 0.8);
        const double turn = 6.283185307179586 * random.next();
        const double size = random.next();
        // Few are large, and those lie further in.
        const double radius = 0.012 + 0.15 * std::pow(size, 6) * (1.1 - distance);
        const double reach = std::min(distance, 0.96 - radius);
        spots.push_back(
            {reach * std::cos(turn), reach * std::sin(turn), radius, 0.75 + 0.25 * random.next()});
    }
    return spots;
}

std::vector<Spot> bristleSpots() {
    BrushRandom random{41};
    std::vector<Spot> spots;
    for (int i = 0; i < 190; ++i) {
        const double x = 1.84 * random.next() - 0.92;
        const double thickness = 0.2 * std::sqrt(1 - x * x);
        const double y = thickness * (random.next() + random.next() - 1);
        const double strand = random.next();
        spots.push_back({x, y, 0.009 + 0.017 * strand, 0.35 + 0.65 * random.next()});
    }
    return spots;
}

/// How far the rims of spots wander, and how wide they are.
Shader spotted(std::vector<Spot> spots, std::uint64_t seed, double wander, double rim) {
    return [spots = std::move(spots), noise = ValueNoise(seed), wander, rim](double x, double y) {
        const double bend = 1 + wander * (noise.layered(9 * x, 9 * y, 2) - 0.5);
        double most = 0;
        for (const Spot& spot : spots) {
            const double away = std::hypot(x - spot.x, y - spot.y) * bend - spot.radius;
            if (away < rim) most = std::max(most, spot.strength * step(rim, -rim, away));
        }
        return most;
    };
}

Shader dryBrush() {
    return [streaks = ValueNoise(51), gaps = ValueNoise(52)](double x, double y) {
        const double body = step(0.98, 0.45, std::hypot(x, y / 0.86));
        const double hairs = streaks.streaked(2.2 * x, 34 * y, 2);
        const double worn = gaps.streaked(5 * x, 9 * y, 3);
        const double wet = 0.55 * hairs + 0.5 * worn + 0.42 * body;
        return step(0.8, 1.02, wet) * step(0.0, 0.3, body);
    };
}

Shader leaf() {
    return [mottle = ValueNoise(61)](double x, double y) {
        // From stalk to point, widest a little before the middle.
        const double t = std::clamp((x + 0.78) / 1.68, 0.0, 1.0);
        const double width = 0.5 * std::sin(3.141592653589793 * std::pow(t, 0.8)) * (1 - 0.25 * t);
        const double spine = 0.06 * std::sin(3.2 * t);
        const double across = std::abs(y - spine);
        const double blade = step(width, width - 0.13, across) * step(0, 0.06, width);
        const double stalk =
            step(-0.93, -0.88, x) * step(-0.6, -0.7, x) * step(0.035, 0.012, across);
        const double rib = step(0.0, 0.028, across);
        const double slant = 7.5 * (t - 0.9 * across);
        const double vein = step(0.0, 0.14, std::abs(slant - std::round(slant)));
        const double veined = 1 - 0.45 * (1 - rib) - 0.22 * (1 - vein) * step(0, 0.08, across);
        const double surface = 0.8 + 0.2 * mottle.layered(6 * x, 6 * y, 3);
        return std::max(blade * veined * surface, 0.8 * stalk);
    };
}

Shader shaderOf(std::size_t tip) {
    switch (tip) {
    case 0:
        return chalk();
    case 1:
        return charcoal();
    case 2:
        return spotted(spatterSpots(), 32, 0.9, 0.014);
    case 3:
        return spotted(bristleSpots(), 42, 0.1, 0.012);
    case 4:
        return dryBrush();
    case 5:
        return leaf();
    default:
        break;
    }
    OMBREL_CHECK(false, "there are six built-in tips");
    return {};
}

} // namespace

std::vector<std::uint8_t> coverage(std::size_t tip, std::int64_t side) {
    const Shader shader = shaderOf(tip);
    std::vector<std::uint8_t> bytes;
    bytes.reserve(static_cast<std::size_t>(side * side));
    const double scale = 2.0 / static_cast<double>(side);
    for (std::int64_t row = 0; row < side; ++row) {
        const double y = (static_cast<double>(row) + 0.5) * scale - 1;
        for (std::int64_t column = 0; column < side; ++column) {
            const double x = (static_cast<double>(column) + 0.5) * scale - 1;
            const double falloff = step(0.99, 0.93, std::hypot(x, y));
            const double value = falloff > 0 ? falloff * shader(x, y) : 0;
            bytes.push_back(static_cast<std::uint8_t>(std::lround(255 * value)));
        }
    }
    return bytes;
}

} // namespace ombrel::BuiltInTips
