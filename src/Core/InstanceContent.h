// What an instance layer shows: another node of the board, in perspective. The layer's pixels are
// its rendering through the transform. Plain values; any thread.
#pragma once

#include "Base/Uuid.h"
#include "Core/TileGrid.h"

#include <array>
#include <optional>

namespace ombrel {

struct BoardNodeID {
    Uuid rawValue;

    static BoardNodeID make() { return {Uuid::make()}; }
    auto operator<=>(const BoardNodeID&) const = default;
};

/// A projective map of points as columns (x, y, 1): source pixels to layer pixels. Row by row.
struct Homography {
    std::array<double, 9> matrix{1, 0, 0, 0, 1, 0, 0, 0, 1};

    bool operator==(const Homography&) const = default;
};

struct InstanceContent {
    BoardNodeID source;
    Homography transform;
    PixelSize sourceSize;
    /// The source's picture: a cache, absent until it is refreshed and never stored.
    std::optional<TileGrid> composite = std::nullopt;

    bool operator==(const InstanceContent&) const = default;
};

} // namespace ombrel

template <>
struct std::hash<ombrel::BoardNodeID> {
    std::size_t operator()(const ombrel::BoardNodeID& id) const noexcept {
        return std::hash<ombrel::Uuid>{}(id.rawValue);
    }
};
