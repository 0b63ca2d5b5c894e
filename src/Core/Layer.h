// The layer tree: pixel layers and groups with their properties and masks. Plain values with copy
// on write; read from any thread, changed on copies. Children run from bottom (index 0) to top.
#pragma once

#include "Base/Uuid.h"
#include "Core/BlendMode.h"
#include "Core/CowPtr.h"
#include "Core/Effect.h"
#include "Core/Geometry.h"
#include "Core/InstanceContent.h"
#include "Core/ShapeContent.h"
#include "Core/TextContent.h"
#include "Core/TileGrid.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace ombrel {

struct LayerID {
    Uuid rawValue;

    static LayerID make();
    auto operator<=>(const LayerID&) const = default;
};

struct LayerLocks {
    std::uint8_t rawValue = 0;

    static const LayerLocks transparency; ///< 1: transparent pixels stay transparent
    static const LayerLocks pixels;       ///< 2: pixels cannot be edited
    static const LayerLocks position;     ///< 4: cannot be moved or transformed
    static const LayerLocks all;          ///< 7

    constexpr bool contains(LayerLocks other) const {
        return (rawValue & other.rawValue) == other.rawValue;
    }
    constexpr LayerLocks operator|(LayerLocks other) const {
        return {static_cast<std::uint8_t>(rawValue | other.rawValue)};
    }
    bool operator==(const LayerLocks&) const = default;
};
inline constexpr LayerLocks LayerLocks::transparency{1};
inline constexpr LayerLocks LayerLocks::pixels{2};
inline constexpr LayerLocks LayerLocks::position{4};
inline constexpr LayerLocks LayerLocks::all{7};

struct LayerProperties {
    std::string name;
    bool isVisible = true;
    LayerLocks locks;
    float opacity = 1; ///< 0 to 1, applied after the mask
    BlendMode blendMode = BlendMode::normal;
    bool clipsToBelow = false; ///< limited to the alpha of the nearest unclipped layer below

    bool operator==(const LayerProperties&) const = default;
};

struct LayerMask {
    TileGrid pixels{TileFormat::r8};
    float background = 1;  ///< where `pixels` has no cell: 1 reveals, 0 hides
    bool isEnabled = true; ///< a disabled mask is kept and ignored
    PixelOffset offset;    ///< from layer space to mask tiles
    bool isLinked = true;  ///< moves with its layer

    bool operator==(const LayerMask&) const = default;
};

/// At most one of `shape`, `text` and `instance` is there. With one the layer is live: `pixels` is
/// a rendering of it.
struct PixelLayer {
    LayerID id = LayerID::make();
    LayerProperties properties;
    TileGrid pixels{TileFormat::rgba16Float};
    CowOptional<ShapeContent> shape;
    CowOptional<TextContent> text;
    CowOptional<InstanceContent> instance;
    PixelOffset offset; ///< where `pixels` sits on the canvas
    std::optional<LayerMask> mask;
    CowList<Effect> effects; ///< bottom first

    static PixelLayer named(std::string name); ///< new and empty

    bool isLive() const { return shape || text || instance; }
    /// The layer becomes a plain one: what was live is gone.
    void replacePixels(TileGrid grid);

    const LayerMask* activeMask() const; ///< the mask when present and enabled, else null
    bool operator==(const PixelLayer&) const = default;
};

struct LayerNode;

struct GroupLayer {
    LayerID id = LayerID::make();
    LayerProperties properties;
    std::vector<LayerNode> children;
    std::optional<LayerMask> mask;

    static GroupLayer named(std::string name); ///< new and empty

    const LayerMask* activeMask() const;
    bool operator==(const GroupLayer&) const;
};

/// A node of the tree: a pixel layer or a group, shared until it is changed.
struct LayerNode {
    std::variant<CowPtr<PixelLayer>, CowPtr<GroupLayer>> value;

    LayerNode(PixelLayer layer) : value(CowPtr<PixelLayer>(std::move(layer))) {} // NOLINT: a case
    LayerNode(GroupLayer group) : value(CowPtr<GroupLayer>(std::move(group))) {} // NOLINT: a case

    const PixelLayer* pixelLayer() const; ///< null for a group
    const GroupLayer* group() const;      ///< null for a pixel layer
    PixelLayer* writePixelLayer();        ///< clones when shared; null for a group
    GroupLayer* writeGroup();

    LayerID id() const;
    const LayerProperties& properties() const;
    LayerProperties& writeProperties();
    const std::optional<LayerMask>& mask() const;
    std::optional<LayerMask>& writeMask();

    bool operator==(const LayerNode&) const = default;
};

} // namespace ombrel
