// What a view looks at: where, how large, and which nodes of a board lie around the document. Plain
// values that travel from the window to the render actor.
#pragma once

#include "Core/DocumentState.h"
#include "Core/InstanceContent.h"
#include "Core/RealGeometry.h"
#include "Core/ViewTransform.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace ombrel {

/// The dotted ground of a board.
struct BoardDots {
    RealPoint origin;
    double spacing = 0; ///< board units between dots at the finest
    double factor = 0;  ///< from one density of dots to the next
    double minimumPoints = 0;
    double fadedInPoints = 0;
    double alpha = 0;
    double radius = 0;

    bool operator==(const BoardDots&) const = default;
};

struct BoardSceneNode {
    BoardNodeID id;
    DocumentState state;
    RealPoint origin; ///< upper left corner on the board

    bool operator==(const BoardSceneNode&) const = default;
};

struct BoardScene {
    std::optional<BoardNodeID> activeNode; ///< the document itself, where it lies on a board
    std::optional<BoardDots> dots;
    std::vector<BoardSceneNode> nodes;

    bool operator==(const BoardScene&) const = default;
};

struct Viewport {
    ViewTransform transform;      ///< its centre in board units
    double contentsScale = 1;     ///< screen pixels a view point
    std::uint32_t pasteboard = 0; ///< 0xRRGGBB
    bool checkerboard = true;
    BoardScene board;

    bool operator==(const Viewport&) const = default;
};

} // namespace ombrel
