// A document as a whole: an open plane on which image nodes lie, each a state of its own. One is
// active and is what people edit. Plain values; copies share what did not change.
#pragma once

#include "Core/DocumentState.h"

#include <string>
#include <vector>

namespace ombrel {

struct BoardNode {
    BoardNodeID id = BoardNodeID::make();
    std::string name;
    RealPoint origin; ///< upper left corner on the board, in units of one image pixel
    DocumentState state;

    RealRect frame() const;
    bool operator==(const BoardNode&) const = default;
};

class Board {
public:
    /// At least one node. The first is active where none has the identifier.
    Board(std::vector<BoardNode> nodes, BoardNodeID activeNodeID);
    /// One node at (0, 0), which is active.
    Board(DocumentState state, std::string name);

    std::vector<BoardNode> nodes; ///< never empty
    BoardNodeID activeNodeID;

    const BoardNode* node(BoardNodeID id) const; ///< null where there is none
    BoardNode* writeNode(BoardNodeID id);
    const BoardNode& activeNode() const;

    /// Where a new node of this size may lie: right of everything, with a gap, its top in line with
    /// the topmost node's.
    RealPoint originForNewNode() const;
    /// The same for a node made from another: right of that one, past what lies in the way.
    RealPoint originNextTo(BoardNodeID source, PixelSize size) const;

    /// Between nodes that are placed by the program, in board units.
    static constexpr double nodeGap = 200;

    bool operator==(const Board&) const = default;
};

} // namespace ombrel
