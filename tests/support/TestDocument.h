// Builds documents for tests so that a test reads as its case:
//   TestDocument({512, 512}).layer("A").filled(red).group("G").opacity(0.5f).layer("B").clipped()
// Words that change a node apply to the one named last (after end(), to the group that ended).
// Layers come bottom to top. Tiles live in a store of the document's own, or in one handed in.
#pragma once

#include "Base/Check.h"
#include "Core/DocumentState.h"
#include "Core/TilePixels.h"
#include "support/TestStore.h"

#include <memory>
#include <string_view>
#include <vector>

namespace ombrel {

class TestDocument {
public:
    explicit TestDocument(PixelSize size = {512, 512},
                          std::shared_ptr<TileStore> store = makeTestStore())
        : store_(std::move(store)) {
        state_.canvas.size = size;
    }

    TestDocument& layer(std::string name) { return add(PixelLayer::named(std::move(name))); }
    TestDocument& group(std::string name) {
        add(GroupLayer::named(std::move(name)));
        openGroups_.push_back(last_);
        return *this;
    }
    TestDocument& end() {
        OMBREL_CHECK(!openGroups_.empty(), "a group must be open to end");
        last_ = openGroups_.back();
        openGroups_.pop_back();
        return *this;
    }

    TestDocument& filled(const PremultipliedColor& color) {
        return filled(PixelRect::ofSize(state_.canvas.size), color);
    }
    TestDocument& filled(const PixelRect& rect, const PremultipliedColor& color) {
        return changeLayer([&](PixelLayer& layer) { layer.pixels.fill(rect, color, *store_); });
    }
    TestDocument& tile(TileCoord coord, const Tile& tile) {
        return changeLayer([&](PixelLayer& layer) { layer.pixels.set(coord, tile); });
    }
    TestDocument& solid(TileCoord coord, const PremultipliedColor& color) {
        return changeLayer([&](PixelLayer& layer) { layer.pixels.set(coord, color); });
    }
    /// Stored pixels, each what `colorAt(x, y)` gives for its place in the layer.
    template <typename ColorAt>
    TestDocument& painted(const PixelRect& rect, ColorAt&& colorAt) {
        return changeLayer([&](PixelLayer& layer) {
            edit(layer.pixels, rect, [&](std::byte* bytes, TileCoord coord, int x, int y) {
                const std::array<Half, 4> pixel =
                    colorAt(coord.x * tileSize + x, coord.y * tileSize + y).halves();
                std::memcpy(bytes + (y * tileSize + x) * 8, pixel.data(), sizeof(pixel));
            });
        });
    }
    TestDocument& offset(std::int64_t dx, std::int64_t dy) {
        return changeLayer([&](PixelLayer& layer) { layer.offset = {dx, dy}; });
    }

    TestDocument& hidden() {
        return changeProperties([](LayerProperties& properties) { properties.isVisible = false; });
    }
    TestDocument& opacity(float value) {
        return changeProperties([&](LayerProperties& properties) { properties.opacity = value; });
    }
    TestDocument& blend(BlendMode mode) {
        return changeProperties([&](LayerProperties& properties) { properties.blendMode = mode; });
    }
    TestDocument& clipped() {
        return changeProperties(
            [](LayerProperties& properties) { properties.clipsToBelow = true; });
    }

    TestDocument& locked(LayerLocks locks = LayerLocks::all) {
        return changeProperties([&](LayerProperties& properties) { properties.locks = locks; });
    }

    /// A mask without cells: `background` everywhere.
    TestDocument& mask(float background = 1) {
        return changeMask(
            [&](std::optional<LayerMask>& mask) { mask.emplace().background = background; });
    }
    /// Sets coverage (0 to 255) in the mask that is there.
    TestDocument& maskFilled(const PixelRect& rect, std::uint8_t coverage) {
        return changeMask([&](std::optional<LayerMask>& mask) {
            edit(mask.value().pixels, rect, [&](std::byte* bytes, TileCoord, int x, int y) {
                bytes[y * tileSize + x] = std::byte{coverage};
            });
        });
    }
    TestDocument& maskOffset(std::int64_t dx, std::int64_t dy) {
        return changeMask([&](std::optional<LayerMask>& mask) { mask.value().offset = {dx, dy}; });
    }
    TestDocument& maskDisabled() {
        return changeMask([](std::optional<LayerMask>& mask) { mask.value().isEnabled = false; });
    }

    TestDocument& active() {
        state_.activeLayerID = last_;
        return *this;
    }
    TestDocument& blendUsingGamma1(bool value = true) {
        state_.canvas.blendUsingGamma1 = value;
        return *this;
    }

    const DocumentState& state() const { return state_; }
    TileStore& store() const { return *store_; }
    const std::shared_ptr<TileStore>& sharedStore() const { return store_; }
    LayerID lastID() const { return last_; }
    /// Of the node with this name, which must be there.
    LayerID id(std::string_view name) const {
        for (const LayerNode& node : state_.allNodes())
            if (node.properties().name == name) return node.id();
        OMBREL_CHECK(false, "the document has a layer of this name");
        return {};
    }
    const PixelLayer& layerNamed(std::string_view name) const {
        return *state_.find(id(name))->pixelLayer();
    }

private:
    TestDocument& add(LayerNode node) {
        last_ = node.id();
        std::vector<LayerNode> nodes;
        nodes.push_back(std::move(node));
        state_.insert(std::move(nodes),
                      openGroups_.empty() ? std::nullopt : std::optional(openGroups_.back()),
                      std::numeric_limits<std::int64_t>::max());
        return *this;
    }
    template <typename Change>
    TestDocument& changeLayer(Change&& change) {
        state_.update(last_, [&](LayerNode& node) {
            OMBREL_CHECK(node.pixelLayer() != nullptr, "only a pixel layer has pixels");
            change(*node.writePixelLayer());
        });
        return *this;
    }
    template <typename Change>
    TestDocument& changeProperties(Change&& change) {
        state_.update(last_, [&](LayerNode& node) { change(node.writeProperties()); });
        return *this;
    }
    template <typename Change>
    TestDocument& changeMask(Change&& change) {
        state_.update(last_, [&](LayerNode& node) { change(node.writeMask()); });
        return *this;
    }

    /// Remakes the tiles that meet the rectangle, calling setPixel(bytes, coord, x, y) for its
    /// pixels.
    template <typename SetPixel>
    void edit(TileGrid& grid, const PixelRect& rect, SetPixel&& setPixel) {
        for (const TileCoord coord : rect.tileRange()) {
            TileBuffer buffer = store_->acquireBuffer(grid.format());
            TilePixels::write(grid.format(), grid.cell(coord), buffer.bytes());
            const auto overlap = TilePixels::LocalRect::overlap(coord, rect);
            for (int y = overlap.top; y < overlap.bottom; ++y)
                for (int x = overlap.left; x < overlap.right; ++x)
                    setPixel(buffer.bytes(), coord, x, y);
            grid.set(coord, store_->makeTile(std::move(buffer)));
        }
    }

    std::shared_ptr<TileStore> store_;
    DocumentState state_;
    std::vector<LayerID> openGroups_;
    LayerID last_;
};

} // namespace ombrel
