// The whole of one image as a value: canvas, layer tree, active layer. A command maps one state to
// the next, history keeps old ones, the engine reads one and renders it; copies share everything
// that did not change.
#pragma once

#include "Core/Canvas.h"
#include "Core/CompositeProgram.h"
#include "Core/Layer.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <unordered_set>
#include <variant>
#include <vector>

namespace ombrel {

class TileStore;

struct DocumentState {
    struct White {
        bool operator==(const White&) const = default;
    };
    struct Black {
        bool operator==(const Black&) const = default;
    };
    struct Transparent {
        bool operator==(const Transparent&) const = default;
    };
    using Background = std::variant<PremultipliedColor, White, Black, Transparent>;

    struct Location {
        std::optional<LayerID> parent; ///< absent for children of the root
        std::size_t index = 0;

        bool operator==(const Location&) const = default;
    };

    Canvas canvas;
    /// Its opacity, mode and mask are never applied.
    CowPtr<GroupLayer> root = GroupLayer::named("Root");
    std::optional<LayerID> activeLayerID;
    CowOptional<VectorPath> workPath;
    bool paintsMaskValues = false; ///< painting tools write mask values: colours are grey levels

    /// A new document: a filled "Background" below an empty "Layer 1", or only the latter when the
    /// background is transparent.
    static DocumentState make(Canvas canvas, const Background& background, bool locksBackground,
                              TileStore& store);

    const LayerNode* find(LayerID id) const; ///< never the root itself
    const LayerNode* activeLayer() const;
    const PixelLayer* activePixelLayer() const;
    std::vector<CowPtr<PixelLayer>> allPixelLayers() const; ///< bottom to top, hidden ones too
    std::vector<LayerNode> allNodes() const; ///< bottom to top, a group after its children
    std::vector<LayerNode> children(std::optional<LayerID> parent) const;
    std::optional<Location> location(LayerID id) const;

    /// At the root when `parent` is absent; the index is brought into range. False when the parent
    /// is not found (or is no group).
    bool insert(std::vector<LayerNode> nodes, std::optional<LayerID> parent, std::int64_t index);
    std::optional<LayerNode> remove(LayerID id);
    /// Copies the path from the root to the node and changes it in place. False when not found.
    bool update(LayerID id, const std::function<void(LayerNode&)>& change);

    std::vector<TileGrid> allMasks() const;
    std::vector<TileGrid> allGrids() const; ///< pixels of all layers, then all masks
    std::unordered_set<TileID> tileIDs() const;
    /// Tiles this state holds and `other` does not, each once. Costs by what differs, and a look
    /// at `other`'s layers for each tile; only for tiles that lay at many coordinates are
    /// `other`'s stored cells looked through.
    std::vector<Tile> tilesNotIn(const DocumentState& other) const;
    /// Bytes, uncompressed, that only `other` holds: what keeping it beside this one costs.
    std::int64_t retainedBytes(const DocumentState& other) const;

    CompositeProgram compositeProgram() const { return compileProgram(*root); }

    bool operator==(const DocumentState&) const = default;
};

} // namespace ombrel
