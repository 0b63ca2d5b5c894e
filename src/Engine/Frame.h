// One picture of a view, as a value that any presenter can draw: the ground, then for each node its
// checkerboard and its tiles, which never overlap. Pixels are shared with the caches and kept alive
// by the frame; equal revisions are equal pixels, so a presenter uploads only what it has not seen.
// Immutable; may go to another thread and be kept as long as it is shown.
#pragma once

#include "Core/ColorProfile.h"
#include "Core/PremultipliedColor.h"
#include "Engine/BoardScene.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace ombrel {

/// A tile of halves.
struct FramePixels {
    std::uint64_t revision = 0;
    const std::byte* bytes = nullptr;            ///< 256 rows of 256 premultiplied linear pixels
    std::shared_ptr<const void> owner = nullptr; ///< keeps the bytes
};

struct FrameTile {
    std::variant<PremultipliedColor, FramePixels> source;
    RealRect area = {};    ///< in pixels of the canvas, and within it
    RealRect texels = {};  ///< the part of the source it shows; of a colour all of it
    int level = 0;         ///< of the pyramid that the source is from
    bool isCurrent = true; ///< false for a stand-in of another level or of the picture before
};

struct FrameNode {
    std::optional<BoardNodeID> id = std::nullopt; ///< absent for a document without a board
    RealRect bounds = {};                         ///< of the canvas on the board
    ColorProfile profile = {};                    ///< of its pixels
    int level = 0;
    bool isComplete = true; ///< every visible tile is current
    std::vector<FrameTile> tiles = {};
};

struct FrameStatistics {
    int level = 0;
    int visibleTiles = 0;
    int compositedTiles = 0;
    int downsampledTiles = 0;
    double encodeMilliseconds = 0;
    std::int64_t cacheBytes = 0;
    int boardNodes = 0;        ///< in view beside the document
    int cachedNodes = 0;       ///< with a cache, in view or not
    int pendingBoardNodes = 0; ///< in view and not complete

    bool operator==(const FrameStatistics&) const = default;
};

struct Frame {
    int number = 0;
    RealSize pixelSize;                ///< of the view, in screen pixels
    double contentsScale = 1;          ///< screen pixels a view point
    AffineTransform boardToPixels;     ///< from board units to screen pixels
    std::array<float, 3> pasteboard{}; ///< linear
    std::optional<BoardDots> dots;
    bool drawsCheckerboard = true; ///< behind every canvas
    bool isSmooth = false;         ///< sampled linearly: below one screen pixel a canvas pixel
    std::vector<FrameNode> nodes;  ///< the document first
    bool isComplete = true;        ///< false: another frame will be better
    FrameStatistics statistics;
    /// Counts as in flight until it is dropped; a presenter resets it when the frame is shown.
    std::shared_ptr<void> flight;
};

} // namespace ombrel
