#include "Engine/GridRecoloring.h"

#include "Base/ParallelFor.h"
#include "Core/ColorProfileReading.h"
#include "Core/TileStore.h"
#include "Engine/Kernels/ProfileRows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace ombrel {

namespace {

constexpr std::size_t tilesOfBatch = 64;
constexpr std::size_t positiveHalves = 0x7C00; ///< finite ones

} // namespace

ColorChange ColorChange::byProfile(const ProfileConversion& conversion) {
    return {[=](const PremultipliedColor& color) {
                return conversion.apply(color.red, color.green, color.blue, color.alpha);
            },
            [=](const std::byte* from, std::byte* to) {
                Kernels::convertProfile(conversion, reinterpret_cast<const std::uint16_t*>(from),
                                        pixelsPerTile, reinterpret_cast<std::uint16_t*>(to));
            }};
}

/// The joined curve of each channel for every half from 0 on; below 0 it is mirrored.
struct CurveChange::Curves {
    std::array<ToneCurve, 3> from;
    std::array<ToneCurve, 3> to;
    std::array<std::vector<float>, 3> tables;

    double exact(std::size_t channel, double straight) const {
        return to[channel].linearised(from[channel].encoded(straight));
    }
    void fillTables() {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            tables[channel].resize(positiveHalves);
            for (std::size_t bits = 0; bits < positiveHalves; ++bits) {
                const float straight = toFloat(Half{static_cast<std::uint16_t>(bits)});
                tables[channel][bits] = static_cast<float>(exact(channel, straight));
            }
        }
    }

    PremultipliedColor colorOf(const PremultipliedColor& color) const {
        if (!(color.alpha > 0)) return color;
        const auto channel = [&](std::size_t index, float value) {
            return static_cast<float>(exact(index, double{value} / color.alpha) * color.alpha);
        };
        return {channel(0, color.red), channel(1, color.green), channel(2, color.blue),
                color.alpha};
    }

    /// Between two halves of the table the curve is taken for straight.
    float looked(std::size_t channel, float straight) const {
        const float size = std::min(std::fabs(straight), 65472.0f);
        Half below = toHalf(size);
        if (toFloat(below) > size) --below.bits;
        const float first = toFloat(below);
        const float next = toFloat(Half{static_cast<std::uint16_t>(below.bits + 1)});
        const std::vector<float>& table = tables[channel];
        const float start = table[below.bits];
        const float value =
            start + (size - first) / (next - first) * (table[below.bits + 1u] - start);
        return std::copysign(value, straight);
    }

    void changeTile(const std::byte* bytes, std::byte* changed) const {
        const auto* halves = reinterpret_cast<const Half*>(bytes);
        auto* out = reinterpret_cast<Half*>(changed);
        for (std::size_t i = 0; i < 4 * pixelsPerTile; i += 4) {
            const Half alphaHalf = halves[i + 3];
            const float alpha = toFloat(alphaHalf);
            out[i + 3] = alphaHalf;
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const Half value = halves[i + channel];
                if (!(alpha > 0) || (value.bits & 0x7FFFu) >= positiveHalves)
                    out[i + channel] = value;
                else if (alpha == 1 && value.bits < positiveHalves)
                    out[i + channel] = toHalf(tables[channel][value.bits]);
                else
                    out[i + channel] = toHalf(looked(channel, toFloat(value) / alpha) * alpha);
            }
        }
    }
};

std::optional<CurveChange> CurveChange::between(const ColorProfile& from, const ColorProfile& to) {
    CurveChange change;
    if (from == to) return change;
    const std::optional<ColorProfileReading> before = readColorProfile(from.iccData());
    const std::optional<ColorProfileReading> after = readColorProfile(to.iccData());
    if (!before || !before->shaper || !after || !after->shaper) return std::nullopt;
    if (before->shaper->curves == after->shaper->curves) return change;
    auto curves =
        std::make_shared<Curves>(Curves{before->shaper->curves, after->shaper->curves, {}});
    curves->fillTables();
    change.curves_ = std::move(curves);
    return change;
}

ColorChange CurveChange::change() const {
    return {
        [curves = curves_](const PremultipliedColor& color) { return curves->colorOf(color); },
        [curves = curves_](const std::byte* from, std::byte* to) { curves->changeTile(from, to); }};
}

std::expected<TileGrid, EngineError> GridRecoloring::changed(const TileGrid& grid,
                                                             WorkMeter& meter) {
    std::vector<Tile> work;
    grid.forEachTile([&](TileCoord, const Tile& tile) {
        if (made_.try_emplace(tile.id(), tile).second) work.push_back(tile);
    });
    meter.expect(std::ssize(work));
    std::vector<std::optional<Tile>> made;
    for (std::size_t done = 0; done < work.size(); done += made.size()) {
        if (meter.isCancelled()) return std::unexpected(EngineError::cancelled());
        store_.keepPace();
        made.assign(std::min(tilesOfBatch, work.size() - done), std::nullopt);
        parallelFor(ThreadPool::shared(), made.size(), [&](std::size_t i) {
            const TilePin pin(work[done + i]);
            TileBuffer buffer = store_.acquireBuffer(TileFormat::rgba16Float);
            change_.tile(pin.bytes(), buffer.bytes());
            made[i] = store_.makeTile(std::move(buffer));
        });
        for (std::size_t i = 0; i < made.size(); ++i)
            made_.insert_or_assign(work[done + i].id(), *made[i]);
        meter.add(std::ssize(made));
    }
    return grid.changed({change_.color, [&](const Tile& tile) { return made_.at(tile.id()); }});
}

} // namespace ombrel
