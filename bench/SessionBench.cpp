// What an edit costs the main thread beyond its own pixels, on a canvas of 300000 x 300000: a layer
// of 1.4 million solid cells, one of 100000 stored tiles (compressed, as the tiles of a document of
// that size are), eighteen small ones, and a full history of 50 states. An item is one commit, undo
// or drop; all of them must stay below a millisecond, a sixteenth of a frame.
#include "Base/MainExecutor.h"
#include "Base/Settings.h"
#include "Base/Strand.h"
#include "Core/TileCompression.h"
#include "Core/TileStore.h"
#include "Editor/DocumentSession.h"
#include "Engine/CpuDevice.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <random>
#include <vector>

namespace {

using namespace ombrel;

constexpr std::int64_t sidePixels = 300000;
constexpr std::int32_t sideTiles = (sidePixels + 255) / 256;
constexpr std::int32_t paintedSide = 316; ///< 100000 tiles
constexpr std::int32_t brushSide = 4;     ///< an edit writes 16 tiles

/// Puts tiles into a square of cells of a layer.
struct PutTilesCommand {
    LayerID layer;
    TileCoord corner;
    std::vector<Tile> tiles;

    std::string name() const { return "Brush Tool"; }
    CommandResult apply(DocumentState& state, const CommandContext&) const {
        state.update(layer, [&](LayerNode& node) {
            TileGrid& pixels = node.writePixelLayer()->pixels;
            for (std::size_t i = 0; i < tiles.size(); ++i) {
                const auto at = static_cast<std::int32_t>(i);
                pixels.set({corner.x + at % brushSide, corner.y + at / brushSide}, tiles[i]);
            }
        });
        return {};
    }
    bool operator==(const PutTilesCommand&) const = default;
};

/// What the layer of 100000 cells holds.
enum class Content {
    distinctTiles, ///< as painted or imported
    sharedTile,    ///< one tile everywhere, as a pattern fill gives
};

/// Every cell of the canvas another colour, so that nothing is shared between subtrees.
TileGrid solidCells() {
    TileGrid grid(TileFormat::rgba16Float);
    for (std::int32_t y = 0; y < sideTiles; ++y)
        for (std::int32_t x = 0; x < sideTiles; ++x)
            grid.set({x, y},
                     PremultipliedColor{static_cast<float>(x), static_cast<float>(y), 0, 1});
    return grid;
}

class HugeSession {
public:
    explicit HugeSession(Content content) {
        session_ = DocumentSession::create({.main = main_,
                                            .worker = worker_,
                                            .store = *store_,
                                            .device = device_,
                                            .settings = settings_},
                                           document(content), "Open", {}, {});
        for (int count = 0; count < 60; ++count)
            edit();
    }

    DocumentSession& session() { return *session_; }
    PutTilesCommand nextEdit() {
        PutTilesCommand command{painted_, {place_(random_), place_(random_)}, {}};
        for (int count = 0; count < brushSide * brushSide; ++count)
            command.tiles.push_back(newTile());
        return command;
    }
    void edit() { session_->perform(nextEdit()); }
    LayerID paintedLayer() const { return painted_; }
    /// Waits until the worker has dropped what was handed to it.
    void settle() { worker_.drain(); }

private:
    Tile newTile() { return store_->makeTile(TileBlob(blob_), TileFormat::rgba16Float); }

    DocumentState document(Content content) {
        DocumentState state;
        state.canvas.size = {sidePixels, sidePixels};
        std::vector<LayerNode> layers{PixelLayer::named("Background"),
                                      PixelLayer::named("Painted")};
        layers[0].writePixelLayer()->pixels = solidCells();
        TileGrid& painted = layers[1].writePixelLayer()->pixels;
        const Tile shared = newTile();
        for (std::int32_t y = 0; y < paintedSide; ++y)
            for (std::int32_t x = 0; x < paintedSide; ++x)
                painted.set({x + 100, y + 100},
                            content == Content::sharedTile ? shared : newTile());
        painted_ = layers[1].id();
        for (std::int32_t count = 0; count < 18; ++count) {
            PixelLayer small = PixelLayer::named("Small");
            for (std::int32_t i = 0; i < 100; ++i)
                small.pixels.set({i % 10 + 50 * count, i / 10}, newTile());
            layers.emplace_back(std::move(small));
        }
        state.insert(std::move(layers), std::nullopt, 0);
        state.activeLayerID = painted_;
        return state;
    }

    MainExecutor main_;
    Strand worker_{"Session"};
    CpuDevice device_;
    Settings settings_{std::filesystem::temp_directory_path() / "ombrel-bench-settings.json"};
    std::shared_ptr<TileStore> store_ =
        TileStore::create({std::int64_t{1} << 40, std::int64_t{1} << 40, 0}, TileStore::Services{});
    TileBlob blob_ = [] {
        std::vector<std::byte> pixels(bytesPerTile(TileFormat::rgba16Float));
        for (std::size_t i = 0; i < pixels.size(); ++i)
            pixels[i] = std::byte(i % 64 / 8);
        return TileCompression::encode(pixels, TileFormat::rgba16Float);
    }();
    LayerID painted_;
    std::mt19937 random_{1};
    std::uniform_int_distribution<std::int32_t> place_{100, 100 + paintedSide - brushSide};
    std::shared_ptr<DocumentSession> session_;
};

template <Content content>
HugeSession& hugeSession() {
    static HugeSession session(content);
    return session;
}

template <Content content>
void commit(benchmark::State& state) {
    HugeSession& huge = hugeSession<content>();
    for (auto _ : state) {
        state.PauseTiming();
        const PutTilesCommand command = huge.nextEdit();
        state.ResumeTiming();
        huge.session().perform(command);
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(commit<Content::distinctTiles>)->Name("Session/commit");
BENCHMARK(commit<Content::sharedTile>)->Name("Session/commitOnPattern");

void undo(benchmark::State& state) {
    HugeSession& huge = hugeSession<Content::distinctTiles>();
    for (auto _ : state) {
        if (huge.session().canUndo()) {
            huge.session().undo();
        } else {
            state.PauseTiming();
            huge.session().jump(1000);
            state.ResumeTiming();
        }
    }
    huge.session().jump(1000);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(undo)->Name("Session/undo");

/// A commit that ends a redo branch which alone holds 1.4 million cells: the worker drops them.
void dropHugeState(benchmark::State& state) {
    HugeSession& huge = hugeSession<Content::distinctTiles>();
    for (auto _ : state) {
        state.PauseTiming();
        huge.session().beginLive();
        huge.session().updateLive([&](DocumentState& shown) {
            shown.update(huge.paintedLayer(),
                         [&](LayerNode& node) { node.writePixelLayer()->pixels = solidCells(); });
        });
        huge.session().commitLive("Fill");
        huge.session().undo();
        huge.settle();
        const PutTilesCommand command = huge.nextEdit();
        state.ResumeTiming();
        huge.session().perform(command);
        state.PauseTiming();
        huge.settle();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(dropHugeState)->Name("Session/dropHugeState")->Iterations(5);

} // namespace
