// The colours of many grids changed pixel by pixel: to another profile, or read as if they were of
// another one. Areas of one colour are changed as a whole, and a tile that several cells or grids
// share is changed once and stays shared. Synchronous, all cores, at the store's pace.
#pragma once

#include "Core/ColorProfile.h"
#include "Core/ProfileConversion.h"
#include "Core/TileGrid.h"
#include "Engine/EngineError.h"
#include "Engine/WorkMeter.h"

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <unordered_map>

namespace ombrel {

class TileStore;

/// What happens to a colour, premultiplied; alpha stays. Shared by threads.
struct ColorChange {
    std::function<PremultipliedColor(const PremultipliedColor&)> color;
    /// The same for the pixels of a whole tile of halves.
    std::function<void(const std::byte* from, std::byte* to)> tile;

    static ColorChange byProfile(const ProfileConversion& conversion);
};

/// What keeps encoded numbers when pixels are taken to be of profile `to` instead of `from`: each
/// channel is encoded by the curves of the one and made linear by those of the other.
class CurveChange {
public:
    /// Nothing when either profile has no matrix and curves that can be used.
    static std::optional<CurveChange> between(const ColorProfile& from, const ColorProfile& to);

    bool isIdentity() const { return curves_ == nullptr; }
    ColorChange change() const;

private:
    struct Curves;
    std::shared_ptr<const Curves> curves_; ///< null when the curves are the same
};

class GridRecoloring {
public:
    GridRecoloring(ColorChange change, TileStore& store)
        : change_(std::move(change)), store_(store) {}

    /// Of a grid of colours.
    std::expected<TileGrid, EngineError> changed(const TileGrid& grid, WorkMeter& meter);

private:
    ColorChange change_;
    TileStore& store_;
    std::unordered_map<TileID, Tile> made_;
};

} // namespace ombrel
