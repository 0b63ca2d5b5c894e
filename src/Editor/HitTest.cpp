#include "Editor/HitTest.h"

#include "Engine/Sampling.h"

#include <cmath>

namespace ombrel {

namespace {

constexpr float leastCoverage = 1.0f / 255; ///< less is not seen

class HitSearch {
public:
    HitSearch(std::int64_t x, std::int64_t y) : x_(x), y_(y) {}

    /// The topmost pixel layer among the nodes that shows something; null where none does.
    const LayerNode* find(const std::vector<LayerNode>& nodes, float coverage,
                          const LayerNode* outermost = nullptr) {
        for (std::size_t i = nodes.size(); i-- > 0;) {
            const LayerNode& node = nodes[i];
            if (node.properties().locks.contains(LayerLocks::all)) continue;
            const float seen = coverage * ownCoverage(node) * baseCoverage(nodes, i);
            if (seen < leastCoverage) continue;
            const LayerNode* outer = outermost != nullptr ? outermost : &node;
            if (const GroupLayer* group = node.group()) {
                if (const LayerNode* hit = find(group->children, seen, outer)) return hit;
            } else if (seen * alphaOf(node) >= leastCoverage) {
                outermost_ = outer;
                return &node;
            }
        }
        return nullptr;
    }
    const LayerNode* outermost() const { return outermost_; } ///< of what was found

private:
    float ownCoverage(const LayerNode& node) const {
        if (!node.properties().isVisible) return 0;
        const auto& mask = node.mask();
        const float masked = mask && mask->isEnabled ? maskValueAt(*mask, x_, y_) : 1;
        return masked * node.properties().opacity;
    }

    float alphaOf(const LayerNode& node) const {
        if (const PixelLayer* layer = node.pixelLayer())
            return layer->pixels.color(x_ - layer->offset.dx, y_ - layer->offset.dy).alpha;
        float most = 0;
        for (const LayerNode& child : node.group()->children)
            most = std::max(most, ownCoverage(child) * alphaOf(child));
        return most;
    }

    /// What the nearest unclipped node below leaves of a clipped one.
    float baseCoverage(const std::vector<LayerNode>& nodes, std::size_t index) const {
        if (!nodes[index].properties().clipsToBelow) return 1;
        for (std::size_t below = index; below-- > 0;) {
            if (nodes[below].properties().clipsToBelow) continue;
            return ownCoverage(nodes[below]) * alphaOf(nodes[below]);
        }
        return 1; // with nothing below it, it is not clipped
    }

    std::int64_t x_;
    std::int64_t y_;
    const LayerNode* outermost_ = nullptr;
};

} // namespace

std::optional<HitRecord> hitLayer(const DocumentState& state, HitKind kind, RealPoint point) {
    const PixelSize size = state.canvas.size;
    const bool isOnCanvas = point.x >= 0 && point.y >= 0 &&
                            point.x < static_cast<double>(size.width) &&
                            point.y < static_cast<double>(size.height);
    if (!isOnCanvas) return std::nullopt;
    HitSearch search(static_cast<std::int64_t>(point.x), static_cast<std::int64_t>(point.y));
    const LayerNode* hit = search.find(state.root->children, 1);
    if (hit == nullptr) return std::nullopt;
    const LayerNode* asked = kind == HitKind::group ? search.outermost() : hit;
    return HitRecord{asked->id(), hit->id(), point};
}

} // namespace ombrel
