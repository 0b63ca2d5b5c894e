#include "Commands/CanvasCommands.h"

#include "Commands/CommandRun.h"
#include "Commands/ImageSizeCommand.h"
#include "Commands/RotateCommands.h"
#include "Core/ContentBounds.h"
#include "TestSeed.h"

#include <random>

namespace ombrel {
namespace {

using test::CommandRun;
using test::mottled;

/// Layers with and without offsets, some reaching beyond the canvas, masks of both backgrounds.
class CanvasCommands : public testing::Test {
protected:
    CanvasCommands() {
        // In linear light a composite is the same to the last bit wherever it lies.
        document_.blendUsingGamma1().layer("Paper").painted({0, 0, 301, 203}, mottled(1));
        document_.layer("Aside").painted({-50, -20, 130, 300}, mottled(2, 0)).offset(77, 31);
        document_.mask(1).maskFilled({0, 0, 90, 60}, 40).maskOffset(60, 90);
        document_.group("Group").opacity(0.8f).mask(0).maskFilled({20, 0, 240, 203}, 230);
        document_.layer("In").painted({200, 100, 300, 300}, mottled(3, 0)).locked();
        document_.layer("Solid").solid({0, 0}, {0.25f, 0, 0.125f, 0.5f}).offset(-100, 9).end();
        document_.layer("Hidden").painted({10, 10, 50, 60}, mottled(4)).hidden();
    }

    DocumentState after(const Command& command) { return run_.after(document_.state(), command); }

    TestDocument document_{{301, 203}};
    CommandRun run_{document_.store()};
};

constexpr double right = 90;

/// Whether each pixel of `before` lies in `after` where the function puts it.
template <typename PlaceOf>
testing::AssertionResult areMoved(const FlatImage& before, const FlatImage& after,
                                  PlaceOf&& placeOf) {
    for (std::int64_t y = 0; y < before.size().height; ++y) {
        for (std::int64_t x = 0; x < before.size().width; ++x) {
            const auto [toX, toY] = placeOf(x, y);
            if (!PixelRect::ofSize(after.size()).contains(toX, toY)) continue;
            if (before.pixel(x, y) == after.pixel(toX, toY)) continue;
            return testing::AssertionFailure()
                   << "(" << x << ", " << y << ") " << before.pixel(x, y).text() << ", found "
                   << after.pixel(toX, toY).text();
        }
    }
    return testing::AssertionSuccess();
}

using Place = std::pair<std::int64_t, std::int64_t>;

} // namespace

TEST_F(CanvasCommands, canvasSizeOutAndInIsWhereItBegan) {
    for (const EnumCase<CanvasAnchor>& anchor : EnumNames<CanvasAnchor>::cases) {
        for (const PixelSize size : {PixelSize{400, 310}, PixelSize{90, 1000}, PixelSize{8, 7}}) {
            const DocumentState other = after(CanvasSizeCommand{size, anchor.value});
            EXPECT_EQ(other.canvas.size, size);
            const DocumentState back =
                run_.after(other, CanvasSizeCommand{{301, 203}, anchor.value});
            EXPECT_EQ(back, document_.state()) << anchor.name;
            const auto step = static_cast<int>(anchor.value);
            const Place shift{(size.width - 301) * (step % 3) / 2,
                              (size.height - 203) * (step / 3) / 2};
            EXPECT_TRUE(areMoved(run_.flat(document_.state()), run_.flat(other),
                                 [&](std::int64_t x, std::int64_t y) {
                                     return Place{x + shift.first, y + shift.second};
                                 }));
        }
    }
    EXPECT_EQ(run_.refusal(document_.state(), CanvasSizeCommand{{0, 5}}),
              "The selected area is empty.");
    EXPECT_NE(run_.refusal(document_.state(), CanvasSizeCommand{{300001, 5}}), "done");
}

TEST_F(CanvasCommands, cropShowsTheRectangleAndKeepsOrDeletesTheRest) {
    const PixelRect rect{30, -10, 150, 120};
    const auto moved = [&](std::int64_t x, std::int64_t y) { return Place{x - 30, y + 10}; };
    for (const bool deletes : {false, true}) {
        const DocumentState cropped = after(CropCommand{rect, deletes});
        EXPECT_EQ(cropped.canvas.size, (PixelSize{150, 120}));
        EXPECT_TRUE(areMoved(run_.flat(document_.state()), run_.flat(cropped), moved));
        const DocumentState back = run_.after(cropped, CropCommand{{-30, 10, 301, 203}});
        EXPECT_EQ(back == document_.state(), !deletes);
        for (const CowPtr<PixelLayer>& layer : cropped.allPixelLayers()) {
            const auto bounds = contentBounds(layer->pixels);
            if (!deletes || !bounds) continue;
            EXPECT_TRUE(PixelRect::ofSize({150, 120}).contains(bounds->offsetBy(layer->offset)));
        }
    }
}

TEST_F(CanvasCommands, trimAndRevealAllFollowTheContent) {
    TestDocument document({400, 400}, document_.sharedStore());
    document.layer("A").painted({20, 30, 40, 50}, mottled(1)).offset(5, 5);
    document.layer("B").painted({-30, 100, 60, 10}, mottled(2)).layer("C").hidden();
    document.painted({0, 0, 10, 500}, mottled(3));
    const DocumentState trimmed = run_.after(document.state(), TrimCommand{});
    EXPECT_EQ(trimmed.canvas.size, (PixelSize{65, 75}));
    EXPECT_EQ(trimmed.find(document.id("A"))->pixelLayer()->offset, (PixelOffset{5, -30}));
    const DocumentState revealed = run_.after(trimmed, RevealAllCommand{});
    EXPECT_EQ(revealed.canvas.size, (PixelSize{95, 500}));
    EXPECT_EQ(revealed.find(document.id("B"))->pixelLayer()->offset, (PixelOffset{30, 0}));
    EXPECT_EQ(run_.refusal(TestDocument().layer("Empty").state(), TrimCommand{}),
              "The selected area is empty.");
}

TEST_F(CanvasCommands, quarterTurnsAndFlipsMovePixelsAndChangeNone) {
    struct Turn {
        Command command;
        std::function<Place(std::int64_t, std::int64_t)> place;
        int times; ///< until all is where it began
    };
    const std::array turns{
        Turn{RotateCanvasCommand{right}, [](auto x, auto y) { return Place{202 - y, x}; }, 4},
        Turn{RotateCanvasCommand{-right}, [](auto x, auto y) { return Place{y, 300 - x}; }, 4},
        Turn{RotateCanvasCommand{2 * right}, [](auto x, auto y) { return Place{300 - x, 202 - y}; },
             2},
        Turn{FlipCanvasCommand{FlipAxis::horizontal},
             [](auto x, auto y) { return Place{300 - x, y}; }, 2},
        Turn{FlipCanvasCommand{FlipAxis::vertical},
             [](auto x, auto y) { return Place{x, 202 - y}; }, 2},
    };
    for (const Turn& turn : turns) {
        DocumentState state = after(turn.command);
        EXPECT_TRUE(areMoved(run_.flat(document_.state()), run_.flat(state), turn.place));
        // A layer on the raster of the canvas stays on it.
        EXPECT_EQ(state.find(document_.id("Paper"))->pixelLayer()->offset, PixelOffset{});
        for (int i = 1; i < turn.times; ++i)
            state = run_.after(state, turn.command);
        EXPECT_EQ(run_.distance(document_.state(), state), 0);
        const auto layers = document_.state().allPixelLayers();
        const auto again = state.allPixelLayers();
        for (std::size_t i = 0; i < layers.size(); ++i) {
            EXPECT_EQ(again[i]->offset, layers[i]->offset);
            EXPECT_EQ(contentBounds(again[i]->pixels), contentBounds(layers[i]->pixels));
        }
    }
}

TEST_F(CanvasCommands, anyAngleTurnsLayersMasksAndCanvasTogether) {
    const DocumentState turned = after(RotateCanvasCommand{30});
    EXPECT_EQ(turned.canvas.size, (PixelSize{363, 327}));
    // There and back again the middle is what it was, but for what resampling blurs.
    TestDocument document({200, 100}, document_.sharedStore());
    document.layer("Ramp").painted({0, 0, 200, 100}, [](std::int64_t x, std::int64_t y) {
        return PremultipliedColor{static_cast<float>(x) / 200, static_cast<float>(y) / 100, 0, 1};
    });
    document.mask(1).maskFilled({0, 0, 100, 100}, 100).maskOffset(0, 0);
    DocumentState state = run_.after(document.state(), RotateCanvasCommand{33});
    state = run_.after(state, RotateCanvasCommand{-33});
    const PixelSize grown = state.canvas.size;
    state = run_.after(state, CanvasSizeCommand{{200 + grown.width % 2, 100 + grown.height % 2}});
    const FlatImage before = run_.flat(document.state());
    const FlatImage found = run_.flat(state);
    for (std::int64_t y = 10; y < 90; ++y) {
        for (std::int64_t x = 10; x < 190; ++x) {
            if (std::abs(x - 100) < 6) continue;
            EXPECT_NEAR(found.pixel(x, y).red, before.pixel(x, y).red, 0.006f);
            EXPECT_NEAR(found.pixel(x, y).green, before.pixel(x, y).green, 0.011f);
            ASSERT_NEAR(found.pixel(x, y).alpha, before.pixel(x, y).alpha, 0.006f) << x << " " << y;
        }
    }
}

TEST_F(CanvasCommands, layersTurnAboutTheMiddleOfTheirContent) {
    TestDocument document({400, 400}, document_.sharedStore());
    document.layer("A").painted({20, 30, 51, 20}, mottled(1)).offset(7, 0);
    document.mask(0).maskFilled({25, 30, 30, 20}, 255).layer("B");
    document.painted({0, 0, 10, 10}, mottled(2)).locked(LayerLocks::position);
    const LayerID id = document.id("A");
    const auto boundsOf = [&](const DocumentState& state) {
        const PixelLayer& layer = *state.find(id)->pixelLayer();
        return contentBounds(layer.pixels)->offsetBy(layer.offset);
    };
    DocumentState state = run_.after(document.state(), RotateLayersCommand{{id}, 90});
    EXPECT_EQ(boundsOf(state), (PixelRect{42, 15, 20, 51}));
    for (int i = 0; i < 3; ++i)
        state = run_.after(state, RotateLayersCommand{{id}, 90});
    EXPECT_EQ(run_.distance(document.state(), state), 0);
    const FlipLayersCommand flip{{id}, FlipAxis::horizontal};
    EXPECT_EQ(flip.name(), "Flip Horizontal");
    state = run_.after(document.state(), flip);
    EXPECT_EQ(boundsOf(state), (PixelRect{27, 30, 51, 20}));
    const auto mirrored = [](std::int64_t x, std::int64_t y) {
        return x < 27 || x > 77 ? Place{x, y} : Place{104 - x, y};
    };
    EXPECT_TRUE(areMoved(run_.flat(document.state()), run_.flat(state), mirrored));
    EXPECT_EQ(run_.distance(document.state(), run_.after(state, flip)), 0);

    // A mask that is not linked stays.
    DocumentState unlinked = document.state();
    unlinked.update(id, [](LayerNode& node) { node.writeMask()->isLinked = false; });
    const DocumentState kept = run_.after(unlinked, flip);
    EXPECT_EQ(kept.find(id)->mask(), unlinked.find(id)->mask());
    EXPECT_EQ(run_.refusal(document.state(), FlipLayersCommand{{document.id("B"), id}}),
              "Could not complete your request because the layer “B” is locked.");
    EXPECT_EQ(run_.refusal(document.state(), RotateLayersCommand{{LayerID::make()}}),
              "The layer no longer exists.");
}

TEST_F(CanvasCommands, imageSizeScalesLayersAndMasksAlike) {
    const DocumentState state = after(ImageSizeCommand{PixelSize{602, 609}, 144.0});
    EXPECT_EQ(state.canvas.size, (PixelSize{602, 609}));
    EXPECT_EQ(state.canvas.resolution, 144);
    EXPECT_EQ(state.find(document_.id("Aside"))->pixelLayer()->offset, (PixelOffset{154, 93}));
    EXPECT_EQ(state.find(document_.id("Aside"))->mask()->offset, (PixelOffset{120, 270}));
    // Enlarged by whole numbers with the nearest pixel, each pixel becomes a block.
    const DocumentState blocks =
        after(ImageSizeCommand{PixelSize{602, 609}, {}, ResampleFilter::nearest});
    const FlatImage before = run_.flat(document_.state());
    const FlatImage found = run_.flat(blocks);
    for (std::int64_t y = 0; y < 609; ++y)
        for (std::int64_t x = 0; x < 602; ++x)
            ASSERT_EQ(found.pixel(x, y), before.pixel(x / 2, y / 3)) << x << " " << y;
    const DocumentState same = after(ImageSizeCommand{{}, 300.0});
    EXPECT_EQ(same.canvas.resolution, 300);
    EXPECT_EQ(same.root, document_.state().root);
}

TEST_F(CanvasCommands, aLiveLayerIsPlainFromWhenItsPixelsAreRedrawn) {
    DocumentState live = document_.state();
    const LayerID id = document_.id("Aside");
    live.update(id, [](LayerNode& node) {
        TextContent text;
        text.string = "Words";
        node.writePixelLayer()->text = text;
    });
    const auto isLive = [&](const Command& command) {
        return run_.after(live, command).find(id)->pixelLayer()->isLive();
    };
    EXPECT_TRUE(isLive(CropCommand{{10, 10, 200, 100}}));
    EXPECT_FALSE(isLive(ImageSizeCommand{PixelSize{602, 609}, std::nullopt}));
    EXPECT_FALSE(isLive(RotateCanvasCommand{right}));
}

TEST_F(CanvasCommands, hugeCanvasesCostByWhatIsThere) {
    TestDocument document({300000, 300000}, document_.sharedStore());
    document.layer("White").filled(PremultipliedColor::white());
    document.layer("Dot").painted({150000, 20000, 30, 40}, mottled(1, 0)).mask(1);
    document.maskFilled({150010, 20010, 10, 10}, 50);
    for (const Command& command :
         {Command(RotateCanvasCommand{right}), Command(FlipCanvasCommand{}),
          Command(ImageSizeCommand{PixelSize{150000, 150000}, {}}),
          Command(ImageSizeCommand{PixelSize{300, 300}, {}})}) {
        const std::int64_t before = document.store().statistics().tileCount;
        const DocumentState state = run_.after(document.state(), command);
        EXPECT_LE(document.store().statistics().tileCount - before, 100) << command.name();
        EXPECT_EQ(state.allPixelLayers()[0]->pixels.color(20, 30), PremultipliedColor::white());
    }
}

TEST_F(CanvasCommands, longOnesTellProgressAndCanBeCancelled) {
    for (const Command& command :
         {Command(RotateCanvasCommand{right}), Command(RotateCanvasCommand{20}),
          Command(ImageSizeCommand{PixelSize{200, 100}, {}}),
          Command(FlipLayersCommand{{document_.id("Paper")}}), Command(TrimCommand{})}) {
        EXPECT_TRUE(command.runsOnQueue());
        Progress progress;
        DocumentState state = document_.state();
        ASSERT_TRUE(run_.apply(state, command, &progress));
        EXPECT_EQ(progress.fraction(), 1) << command.name();
        progress.cancel();
        state = document_.state();
        const CommandResult result = run_.apply(state, command, &progress);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().kind, CommandError::Kind::cancelled);
    }
}

} // namespace ombrel
