// Boards made at random: several nodes with trees of layers of every kind, masks, effects and work
// paths; tiles are shared among layers, masks and nodes. The same seed gives the same board.
#pragma once

#include "Core/Board.h"
#include "support/RandomValues.h"
#include "support/TestStore.h"

namespace ombrel {

class RandomBoard {
public:
    RandomBoard(std::uint64_t seed, TileStore& store,
                RandomValues::Numbers numbers = RandomValues::Numbers::finite)
        : make_(seed, numbers) {
        for (const TileFormat format : {TileFormat::rgba16Float, TileFormat::r8}) {
            for (std::uint8_t byte = 0; byte < 6; ++byte)
                tilesOf(format).push_back(makeTestTile(store, format, byte));
        }
    }

    Board make(std::size_t mostNodes = 4) {
        std::vector<BoardNode> nodes;
        for (std::size_t count = 1 + make_.below(mostNodes); count > 0; --count)
            nodes.push_back({{make_.uuid()}, make_.text(), make_.point(), state()});
        const BoardNodeID active = nodes[make_.below(nodes.size())].id;
        return {std::move(nodes), active};
    }

    DocumentState state() {
        DocumentState made;
        made.canvas = canvas();
        GroupLayer& root = made.root.write();
        root = group(0);
        root.properties.name = "Root";
        const std::vector<LayerNode> nodes = made.allNodes();
        if (!nodes.empty()) made.activeLayerID = nodes[make_.below(nodes.size())].id();
        if (make_.chance(30)) made.workPath = make_.path();
        return made;
    }

    PixelLayer layer() {
        PixelLayer made;
        made.id = {make_.uuid()};
        made.properties = make_.properties();
        made.pixels = grid(TileFormat::rgba16Float);
        switch (make_.below(6)) {
        case 0:
            made.shape = make_.shape();
            break;
        case 1:
            made.text = make_.textContent();
            break;
        case 2:
            made.instance = make_.instance();
            break;
        default:
            break;
        }
        made.mask = make_.maybe([&] { return mask(); });
        made.effects = make_.list(3, [&] { return make_.effect(); });
        return made;
    }

    RandomValues& values() { return make_; }

private:
    std::vector<Tile>& tilesOf(TileFormat format) {
        return format == TileFormat::r8 ? coverage_ : colors_;
    }
    Canvas canvas() {
        Canvas made;
        made.size = {make_.whole(0, 3000), make_.whole(0, 3000)};
        made.resolution = make_.number(1, 600);
        const auto profiles = ColorProfile::builtIn();
        made.profile = profiles[make_.below(profiles.size())];
        made.bitDepth = make_.oneOf<BitDepth>(3);
        made.blendUsingGamma1 = make_.chance(50);
        return made;
    }
    GroupLayer group(int depth) {
        GroupLayer made;
        made.id = {make_.uuid()};
        made.properties = make_.properties();
        for (std::size_t count = make_.below(4); count > 0; --count) {
            if (depth < 3 && make_.chance(30))
                made.children.emplace_back(group(depth + 1));
            else
                made.children.emplace_back(layer());
        }
        made.mask = make_.maybe([&] { return mask(); });
        return made;
    }
    LayerMask mask() {
        LayerMask made;
        made.pixels = grid(TileFormat::r8);
        made.background = make_.channel();
        made.isEnabled = make_.chance(70);
        made.isLinked = make_.chance(70);
        return made;
    }
    TileGrid grid(TileFormat format) {
        TileGrid made(format);
        for (std::size_t count = make_.below(8); count > 0; --count) {
            const TileCoord coord{static_cast<std::int32_t>(make_.whole(-2, 12)),
                                  static_cast<std::int32_t>(make_.whole(-2, 12))};
            const std::vector<Tile>& tiles = tilesOf(format);
            if (make_.chance(60))
                made.set(coord, tiles[make_.below(tiles.size())]);
            else
                made.set(coord, make_.color());
        }
        return made;
    }

    RandomValues make_;
    std::vector<Tile> colors_;
    std::vector<Tile> coverage_;
};

} // namespace ombrel
