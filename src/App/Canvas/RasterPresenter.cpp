#include "App/Canvas/RasterPresenter.h"

#include "App/Canvas/StraightNode.h"
#include "Base/ParallelFor.h"

#include <QPainter>
#include <algorithm>
#include <cmath>
#include <map>

namespace ombrel {

namespace {

constexpr int rowsOfTask = 16;

struct RasterNode {
    LocalRect area;
    std::optional<CheckPlacement> checks;
    RasterConversion conversion;
    std::vector<RasterTile> tiles;
};

bool overlap(const LocalRect& a, const LocalRect& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}

/// A frame with all that does not depend on the row.
class RasterScene {
public:
    RasterScene(const Frame& frame, DisplayColors& colors, const RasterEncoding& encoding)
        : layout(frame), encoding_(encoding), dots_(layout.dotsOf(frame)),
          isSmooth_(frame.isSmooth) {
        const auto& [red, green, blue] = frame.pasteboard;
        const RasterConversion fromSRGB(colors.conversionFrom(ColorProfile::sRGB()));
        pasteboard_ = fromSRGB.apply(Float4{red, green, blue, 1});
        for (const FrameNode& node : frame.nodes)
            add(node, frame, colors);
        for (std::size_t i = 0; i < nodes_.size(); ++i)
            place(i);
    }

    /// One row, through `pixels`, which are the caller's.
    void draw(int y, std::span<Float4> pixels, std::uint32_t* rgb) const;

    const FrameLayout layout;

private:
    void add(const FrameNode& node, const Frame& frame, DisplayColors& colors);
    /// The rows that an area may touch.
    PixelSpan rowsOf(const LocalRect& area) const;
    /// Whether the node's rows can be finished by themselves.
    void place(std::size_t index);

    const RasterEncoding& encoding_;
    std::optional<DotPlacement> dots_;
    bool isSmooth_;
    Float4 pasteboard_{};
    std::vector<RasterNode> nodes_;
    std::vector<const RasterNode*> layered_;      ///< bottom to top
    std::multimap<float, StraightNode> straight_; ///< above them, by their left edges
};

void RasterScene::add(const FrameNode& node, const Frame& frame, DisplayColors& colors) {
    RasterNode drawn{.area = layout.areaOf(node),
                     .checks = {},
                     .conversion = RasterConversion(colors.conversionFrom(node.profile)),
                     .tiles = {}};
    if (frame.drawsCheckerboard) drawn.checks = layout.checksOf(node);
    for (const FrameTile& tile : node.tiles) {
        RasterTile& added = drawn.tiles.emplace_back(layout.placementOf(node, tile));
        added.rows = rowsOf(added.placement.area);
        if (const auto* pixels = std::get_if<FramePixels>(&tile.source)) {
            added.bytes = pixels->bytes;
        } else {
            const auto& color = std::get<PremultipliedColor>(tile.source);
            added.color =
                drawn.conversion.apply(Float4{color.red, color.green, color.blue, color.alpha});
        }
    }
    nodes_.push_back(std::move(drawn));
}

PixelSpan RasterScene::rowsOf(const LocalRect& area) const {
    const AffineTransform& map = layout.toPixels();
    double low = layout.height();
    double high = 0;
    for (const float x : {area.left, area.right}) {
        for (const float y : {area.top, area.bottom}) {
            const double at = map.b * x + map.d * y + map.ty;
            low = std::min(low, at);
            high = std::max(high, at);
        }
    }
    const double end = layout.height();
    return {static_cast<int>(std::clamp(std::floor(low) - 1, 0.0, end)),
            static_cast<int>(std::clamp(std::ceil(high) + 1, 0.0, end))};
}

void RasterScene::place(std::size_t index) {
    const RasterNode& node = nodes_[index];
    const bool isCovered =
        std::any_of(nodes_.begin() + static_cast<std::ptrdiff_t>(index) + 1, nodes_.end(),
                    [&](const RasterNode& above) { return overlap(node.area, above.area); });
    if (isCovered || !layout.isStraight()) {
        layered_.push_back(&node);
        return;
    }
    straight_.emplace(node.area.left,
                      StraightNode::Parts{layout, node.area, node.checks, node.tiles,
                                          node.conversion, encoding_, isSmooth_});
}

void RasterScene::draw(int y, std::span<Float4> pixels, std::uint32_t* rgb) const {
    RasterRow row(layout, y, pixels);
    const int width = layout.width();
    /// Calls `visit` for what no straight node covers, or hides if asked.
    const auto forEachGap = [&](bool hidden, auto visit) {
        int first = 0;
        for (const auto& [left, node] : straight_) {
            if (!node.rows().contains(y) || (hidden && !node.hidesGround())) continue;
            if (node.columns().first > first) visit(PixelSpan{first, node.columns().first});
            first = std::max(first, node.columns().end);
        }
        if (first < width) visit(PixelSpan{first, width});
    };
    forEachGap(true, [&](PixelSpan gap) {
        row.fill(gap, pasteboard_);
        if (dots_) row.addDots(gap, *dots_);
    });
    for (const RasterNode* node : layered_) {
        if (node->checks) row.addChecks(*node->checks);
        for (const RasterTile& tile : node->tiles) {
            if (tile.rows.contains(y)) row.addTile(tile, node->conversion, isSmooth_);
        }
    }
    for (const auto& [left, node] : straight_) {
        if (node.rows().contains(y)) node.draw(y, pixels, rgb);
    }
    forEachGap(false, [&](PixelSpan gap) {
        encoding_.encode(pixels.subspan(static_cast<std::size_t>(gap.first), gap.count()),
                         rgb + gap.first);
    });
}

} // namespace

void RasterPresenter::setDisplayProfile(const ColorProfile& profile) {
    colors_ = DisplayColors(profile);
    encoding_ = std::make_shared<const RasterEncoding>(colors_);
}

void RasterPresenter::present(const Frame& frame) {
    const RasterScene scene(frame, colors_, *encoding_);
    const QSize size(scene.layout.width(), scene.layout.height());
    if (image_.size() != size) image_ = QImage(size, QImage::Format_RGB32);
    if (image_.isNull()) return;
    std::uint8_t* const bits = image_.bits();
    const auto stride = static_cast<std::size_t>(image_.bytesPerLine());
    const int tasks = (size.height() + rowsOfTask - 1) / rowsOfTask;
    parallelFor(ThreadPool::shared(), static_cast<std::size_t>(tasks), [&](std::size_t task) {
        std::vector<Float4> pixels(static_cast<std::size_t>(size.width()));
        const int first = static_cast<int>(task) * rowsOfTask;
        for (int y = first; y < std::min(first + rowsOfTask, size.height()); ++y) {
            std::uint8_t* const line = bits + static_cast<std::size_t>(y) * stride;
            scene.draw(y, pixels, reinterpret_cast<std::uint32_t*>(line));
        }
    });
}

void RasterPresenter::paint(QPainter& painter) const {
    painter.drawImage(QPointF(0, 0), image_);
}

} // namespace ombrel
