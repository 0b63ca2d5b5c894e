// A canvas with a brush over a session that a test drives, strokes rendered when the test says so.
#pragma once

#include "Core/TilePixels.h"
#include "Editor/CanvasFixture.h"
#include "Engine/MaskCoverage.h"
#include "Tools/BrushTool.h"

namespace ombrel {

struct StrokeFixture : CanvasFixture {
    explicit StrokeFixture(const TestDocument& document) : CanvasFixture(document.state()) {
        session->setViewTransform({}); // a view point is a pixel
        brush().options().update([](BrushSettings& options) {
            options.size = 20;
            options.hardness = 1;
            options.smoothing = 0;
            options.pressureControlsSize = false;
        });
        session->colors = PaintColors{{1, 0, 0, 1}, {0, 0, 1, 1}};
    }
    ~StrokeFixture() { executors.settle(); }

    BrushTool& brush(ToolKind kind = ToolKind::brush) {
        return dynamic_cast<BrushTool&>(*session->toolOf(kind));
    }
    void down(RealPoint point) { canvas->pointerDown(at(point.x, point.y)); }
    void drag(RealPoint point) { canvas->pointerDragged(at(point.x, point.y)); }
    void up(RealPoint point) { canvas->pointerUp(at(point.x, point.y)); }
    /// From press to release, without rendering anything.
    void stroke(RealPoint from, RealPoint to) {
        down(from);
        drag(to);
        up(to);
    }
    void settle() { executors.settle(); }
    void use(ToolKind kind) { session->setTool(kind); }

    const DocumentState& state() const { return *session->_state; }
    /// Of a layer's pixels, at a pixel of the canvas.
    PremultipliedColor pixel(std::string_view name, std::int64_t x, std::int64_t y) const {
        const PixelLayer& layer = *nodeNamed(name).pixelLayer();
        return layer.pixels.color(x - layer.offset.dx, y - layer.offset.dy);
    }
    /// Of a layer's mask, 0 to 255.
    int maskValue(std::string_view name, std::int64_t x, std::int64_t y) const {
        const LayerMask& mask = *nodeNamed(name).mask();
        const std::int64_t gridX = x - mask.offset.dx;
        const std::int64_t gridY = y - mask.offset.dy;
        const TileCell cell = mask.pixels.cell({static_cast<std::int32_t>(gridX >> tileShift),
                                                static_cast<std::int32_t>(gridY >> tileShift)});
        if (!cell.isPixels()) return coverageByte(cell, mask.background);
        const TilePin pin(cell.tile());
        return std::to_integer<int>(pin.bytes()[(gridY & 255) * 256 + (gridX & 255)]);
    }
    const LayerNode& nodeNamed(std::string_view name) const {
        for (const LayerNode& node : state().root->children)
            if (node.properties().name == name) return node;
        OMBREL_CHECK(false, "the document has a layer of this name");
        return state().root->children.front();
    }
    std::vector<std::string> historyNames() const {
        std::vector<std::string> names;
        for (const auto& entry : session->_history->entries())
            names.push_back(entry->name);
        return names;
    }
    /// What was refused.
    std::vector<std::string> takeWords() {
        std::vector<std::string> words = host.takeLog();
        std::erase(words, "beep");
        return words;
    }
};

} // namespace ombrel
