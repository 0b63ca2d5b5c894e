#include "Core/Board.h"

#include "Base/Check.h"

#include <algorithm>

namespace ombrel {

namespace {

double rightOf(const RealRect& rect) {
    return rect.origin.x + rect.size.width;
}

bool overlap(const RealRect& a, const RealRect& b) {
    return a.origin.x < rightOf(b) && b.origin.x < rightOf(a) &&
           a.origin.y < b.origin.y + b.size.height && b.origin.y < a.origin.y + a.size.height;
}

} // namespace

RealRect BoardNode::frame() const {
    const PixelSize size = state.canvas.size;
    return {origin, {static_cast<double>(size.width), static_cast<double>(size.height)}};
}

Board::Board(std::vector<BoardNode> nodes_, BoardNodeID activeNodeID_)
    : nodes(std::move(nodes_)), activeNodeID(activeNodeID_) {
    OMBREL_CHECK(!nodes.empty(), "a board has at least one node");
    if (node(activeNodeID) == nullptr) activeNodeID = nodes.front().id;
}

Board::Board(DocumentState state, std::string name) {
    nodes.push_back({.name = std::move(name), .origin = {}, .state = std::move(state)});
    activeNodeID = nodes.front().id;
}

const BoardNode* Board::node(BoardNodeID id) const {
    const auto found = std::ranges::find(nodes, id, &BoardNode::id);
    return found == nodes.end() ? nullptr : &*found;
}

BoardNode* Board::writeNode(BoardNodeID id) {
    const auto found = std::ranges::find(nodes, id, &BoardNode::id);
    return found == nodes.end() ? nullptr : &*found;
}

const BoardNode& Board::activeNode() const {
    const BoardNode* active = node(activeNodeID);
    OMBREL_CHECK(active != nullptr, "the active node is one of the board's");
    return *active;
}

RealPoint Board::originForNewNode() const {
    RealPoint origin{rightOf(nodes.front().frame()), nodes.front().origin.y};
    for (const BoardNode& each : nodes) {
        origin.x = std::max(origin.x, rightOf(each.frame()));
        origin.y = std::min(origin.y, each.origin.y);
    }
    origin.x += nodeGap;
    return origin;
}

RealPoint Board::originNextTo(BoardNodeID source, PixelSize size) const {
    const BoardNode* from = node(source);
    if (from == nullptr) return originForNewNode();
    RealRect frame{{rightOf(from->frame()) + nodeGap, from->origin.y},
                   {static_cast<double>(size.width), static_cast<double>(size.height)}};
    // From left to right, so that each step passes everything it has passed before.
    std::vector<RealRect> obstacles;
    obstacles.reserve(nodes.size());
    for (const BoardNode& each : nodes)
        obstacles.push_back(each.frame());
    std::ranges::sort(obstacles, {}, [](const RealRect& rect) { return rect.origin.x; });
    for (const RealRect& obstacle : obstacles) {
        if (overlap(frame, obstacle)) frame.origin.x = rightOf(obstacle) + nodeGap;
    }
    return frame.origin;
}

} // namespace ombrel
