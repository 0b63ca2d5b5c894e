#include "App/Canvas/RasterPresenter.h"

#include "App/Canvas/RasterRow.h"
#include "Base/ParallelFor.h"

#include <QPainter>

namespace ombrel {

namespace {

constexpr int rowsOfTask = 16;

struct RasterNode {
    std::optional<CheckPlacement> checks;
    RasterConversion conversion;
    std::vector<RasterTile> tiles;
};

/// A frame with all that does not depend on the row.
struct RasterScene {
    RasterScene(const Frame& frame, DisplayColors& colors)
        : layout(frame), dots(layout.dotsOf(frame)), isSmooth(frame.isSmooth) {
        const auto& [red, green, blue] = frame.pasteboard;
        const RasterConversion fromSRGB(colors.conversionFrom(ColorProfile::sRGB()));
        pasteboard = fromSRGB.apply(Float4{red, green, blue, 1});
        for (const FrameNode& node : frame.nodes)
            add(node, frame, colors);
    }

    void add(const FrameNode& node, const Frame& frame, DisplayColors& colors) {
        RasterNode drawn{.checks = {},
                         .conversion = RasterConversion(colors.conversionFrom(node.profile)),
                         .tiles = {}};
        if (frame.drawsCheckerboard) drawn.checks = layout.checksOf(node);
        for (const FrameTile& tile : node.tiles) {
            RasterTile& added = drawn.tiles.emplace_back(layout.placementOf(node, tile));
            if (const auto* pixels = std::get_if<FramePixels>(&tile.source)) {
                added.bytes = pixels->bytes;
            } else {
                const auto& color = std::get<PremultipliedColor>(tile.source);
                added.color =
                    drawn.conversion.apply(Float4{color.red, color.green, color.blue, color.alpha});
            }
        }
        nodes.push_back(std::move(drawn));
    }

    void draw(RasterRow& row) const {
        row.fill(pasteboard);
        if (dots) row.addDots(*dots);
        for (const RasterNode& node : nodes) {
            if (node.checks) row.addChecks(*node.checks);
            for (const RasterTile& tile : node.tiles)
                row.addTile(tile, node.conversion, isSmooth);
        }
    }

    FrameLayout layout;
    std::optional<DotPlacement> dots;
    bool isSmooth;
    Float4 pasteboard{};
    std::vector<RasterNode> nodes;
};

} // namespace

void RasterPresenter::setDisplayProfile(const ColorProfile& profile) {
    colors_ = DisplayColors(profile);
}

void RasterPresenter::present(const Frame& frame) {
    const RasterScene scene(frame, colors_);
    const FrameLayout& layout = scene.layout;
    const QSize size(layout.width(), layout.height());
    if (image_.size() != size) image_ = QImage(size, QImage::Format_RGB32);
    if (image_.isNull()) return;
    std::uint8_t* const bits = image_.bits();
    const auto stride = static_cast<std::size_t>(image_.bytesPerLine());
    const int tasks = (size.height() + rowsOfTask - 1) / rowsOfTask;
    parallelFor(ThreadPool::shared(), static_cast<std::size_t>(tasks), [&](std::size_t task) {
        std::vector<Float4> pixels(static_cast<std::size_t>(size.width()));
        const int first = static_cast<int>(task) * rowsOfTask;
        for (int y = first; y < std::min(first + rowsOfTask, size.height()); ++y) {
            RasterRow row(layout, y, pixels);
            scene.draw(row);
            std::uint8_t* const line = bits + static_cast<std::size_t>(y) * stride;
            row.encode(colors_, reinterpret_cast<std::uint32_t*>(line));
        }
    });
}

void RasterPresenter::paint(QPainter& painter) const {
    painter.drawImage(QPointF(0, 0), image_);
}

} // namespace ombrel
