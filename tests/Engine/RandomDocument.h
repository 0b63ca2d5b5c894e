// Documents made at random, and edits of them: layers of stored, solid and absent tiles, offsets,
// masks, clipping, groups in groups, every mode.
#pragma once

#include "Core/DocumentState.h"
#include "Engine/KernelScene.h"

#include <cstdint>

namespace ombrel {

class TileStore;

class RandomDocument {
public:
    RandomDocument(std::uint64_t seed, TileStore& store, PixelSize size)
        : maker_(seed, seed % 2 == 0), store_(store), size_(size) {}

    DocumentState make();
    /// One change of a tile, a mask, a property, an offset, the order, visibility or a group.
    void edit(DocumentState& state);

    /// Plain layers of stored tiles all over a canvas of this size.
    DocumentState stacked(PixelSize size, int layers);

    PixelMaker& maker() { return maker_; }
    Tile tile();
    Tile maskTile();

private:
    PixelLayer layer();
    GroupLayer group(int depth);
    LayerMask mask();
    TileGrid grid(TileFormat format);
    void setCell(TileGrid& grid);
    void setProperties(LayerProperties& properties, bool isGroup);
    PixelOffset offset();

    PixelMaker maker_;
    TileStore& store_;
    PixelSize size_;
};

} // namespace ombrel
