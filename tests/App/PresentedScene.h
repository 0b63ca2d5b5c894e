// A picture for presenters to show: gradients, single pixels, hard edges, clear and translucent
// areas, tiles cut by the border of the canvas; and what a pixel of it must look like, worked out
// in double from the frame alone.
#pragma once

#include "Core/ProfileConversion.h"
#include "Core/ToneCurve.h"
#include "Engine/CpuDevice.h"
#include "Engine/DocumentRenderer.h"
#include "support/TestDocument.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace ombrel {

struct PresentedView {
    std::string name;
    double scale;
    double rotation;
    RealPoint center;
};

class PresentedScene {
public:
    static constexpr PixelSize canvas{900, 600};

    explicit PresentedScene(const ColorProfile& profile) : document_(canvas, store_) {
        document_.layer("ground").painted({40, 30, 820, 540}, ground);
        document_.layer("veil").filled({256, 256, 256, 256}, {0.3f, 0, 0.1f, 0.4f});
        document_.layer("dust").painted({500, 300, 300, 200}, dust);
        state_ = document_.state();
        state_.canvas.profile = profile;
    }

    Frame frame(const PresentedView& view, RealSize size, bool checkerboard = true) {
        Viewport viewport;
        viewport.transform.center = {view.center.x, view.center.y};
        viewport.transform.scale = view.scale;
        viewport.transform.rotation = view.rotation;
        viewport.transform.viewportSize = {size.width, size.height};
        viewport.pasteboard = 0x303840;
        viewport.checkerboard = checkerboard;
        viewport.board.dots = BoardDots{{7, 3}, 16, 4, 12, 40, 0.5, 1.5};
        auto drawn = renderer_.draw(viewport, state_);
        EXPECT_TRUE(drawn && *drawn && (*drawn)->isComplete);
        (*drawn)->flight.reset();
        return *std::move(*drawn);
    }

private:
    static PremultipliedColor ground(int x, int y) {
        const auto red = static_cast<float>(x) / 900.0f;
        const auto green = static_cast<float>(y) / 600.0f;
        if (x > 600 && y < 250) { // stripes of all widths
            const bool isLit = ((x * x / 64) & 1) != 0;
            return isLit ? PremultipliedColor::white() : PremultipliedColor::black();
        }
        if (x < 300 && y > 350) return {0.2f * red, 0.2f * green, 0.1f, 0.2f + red};
        return {red, green, 0.02f, 1};
    }
    static PremultipliedColor dust(int x, int y) {
        const auto hash = (static_cast<std::uint32_t>(x) * 73856093u ^
                           static_cast<std::uint32_t>(y) * 19349663u) *
                          2654435761u;
        const float alpha = (hash >> 28) > 9 ? 1.0f : 0.0f;
        const auto channel = [&](int shift) {
            return alpha * static_cast<float>((hash >> shift) & 255) / 255.0f;
        };
        return {channel(4), channel(12), channel(18), alpha};
    }

    std::shared_ptr<TileStore> store_ = makeTestStore();
    TestDocument document_;
    DocumentState state_;
    CpuDevice device_;
    DocumentRenderer renderer_{device_, *store_, {.frameTime = {}, .makeEffects = {}}};
};

/// The light of a frame's document at a pixel, premultiplied, in the display's linear light, or
/// nothing outside of its tiles. The plain meaning of a frame, without any of the presenters' code.
class FrameReference {
public:
    FrameReference(const Frame& frame, const ColorProfile& display)
        : frame_(frame),
          conversion_(*ProfileConversion::between(frame.nodes.at(0).profile, display)) {}

    std::optional<PremultipliedColor> at(int x, int y) const {
        const AffineTransform& map = frame_.boardToPixels;
        const double determinant = map.a * map.d - map.b * map.c;
        const double fromX = x + 0.5 - map.tx;
        const double fromY = y + 0.5 - map.ty;
        const double atX = (map.d * fromX - map.c * fromY) / determinant;
        const double atY = (map.a * fromY - map.b * fromX) / determinant;
        for (const FrameTile& tile : frame_.nodes[0].tiles) {
            const double inX = atX - tile.area.origin.x;
            const double inY = atY - tile.area.origin.y;
            if (inX < 0 || inY < 0 || inX >= tile.area.size.width || inY >= tile.area.size.height)
                continue;
            const double zoom = std::exp2(tile.level);
            return sampled(tile, inX / zoom + tile.texels.origin.x,
                           inY / zoom + tile.texels.origin.y);
        }
        return std::nullopt;
    }

private:
    PremultipliedColor sampled(const FrameTile& tile, double x, double y) const {
        if (const auto* color = std::get_if<PremultipliedColor>(&tile.source))
            return conversion_.apply(color->red, color->green, color->blue, color->alpha);
        const std::byte* bytes = std::get<FramePixels>(tile.source).bytes;
        std::array<double, 4> sum{};
        const auto add = [&](double atX, double atY, double weight) {
            const auto column = static_cast<std::size_t>(atX);
            const auto row = static_cast<std::size_t>(atY);
            std::array<Half, 4> texel;
            std::memcpy(texel.data(), bytes + (row * 256 + column) * 8, 8);
            for (std::size_t i = 0; i < 4; ++i)
                sum[i] += weight * toFloat(texel[i]);
        };
        if (frame_.isSmooth) {
            const auto within = [](double value, double first, double length) {
                return std::clamp(value, first + 0.5, first + length - 0.5) - 0.5;
            };
            const double left = within(x, tile.texels.origin.x, tile.texels.size.width);
            const double top = within(y, tile.texels.origin.y, tile.texels.size.height);
            const double partX = left - std::floor(left);
            const double partY = top - std::floor(top);
            const double right = std::min(std::floor(left) + 1, 255.0);
            const double bottom = std::min(std::floor(top) + 1, 255.0);
            add(left, top, (1 - partX) * (1 - partY));
            add(right, top, partX * (1 - partY));
            add(left, bottom, (1 - partX) * partY);
            add(right, bottom, partX * partY);
        } else {
            add(x, y, 1);
        }
        return conversion_.apply(static_cast<float>(sum[0]), static_cast<float>(sum[1]),
                                 static_cast<float>(sum[2]), static_cast<float>(sum[3]));
    }

    const Frame& frame_;
    ProfileConversion conversion_;
};

} // namespace ombrel
