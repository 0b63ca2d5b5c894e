#include "Commands/MaskCommands.h"

#include "Commands/CommandRun.h"
#include "Commands/MaskEditing.h"
#include "Commands/TranslateLayersCommand.h"
#include "Core/MaskTiles.h"
#include "Engine/Sampling.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ombrel {

namespace {

constexpr PixelRect upperLeft{0, 0, 300, 200};

/// A command that changes the pixels of a layer by a function.
struct PixelEdit {
    std::string name = "Edit";
    std::function<void(PixelLayer&)> edit;

    CommandResult apply(DocumentState& state, const CommandContext&) const {
        state.update(*state.activeLayerID, [&](LayerNode& node) { edit(*node.writePixelLayer()); });
        return {};
    }
    bool operator==(const PixelEdit&) const { return false; }
};

/// What a mask hides or shows at a pixel of the canvas, as a byte.
int valueAt(const LayerMask& mask, std::int64_t x, std::int64_t y) {
    const std::int64_t gridX = x - mask.offset.dx;
    const std::int64_t gridY = y - mask.offset.dy;
    const TileCell cell = mask.pixels.cell({static_cast<std::int32_t>(gridX >> tileShift),
                                            static_cast<std::int32_t>(gridY >> tileShift)});
    if (!cell.isPixels()) {
        const float value =
            cell.isSolid() ? MaskTiles::valueOf(cell.color(), mask.background) : mask.background;
        return static_cast<int>(std::lround(value * 255));
    }
    const TilePin pin(cell.tile());
    return std::to_integer<int>(pin.bytes()[(gridY & 255) * 256 + (gridX & 255)]);
}

class MaskCommands : public testing::Test {
protected:
    MaskCommands() {
        document_.layer("A")
            .painted({10, 20, 400, 300}, test::mottled(1, 0.3f))
            .offset(7, -5)
            .mask(0)
            .maskFilled(upperLeft, 200)
            .maskFilled({50, 60, 30, 40}, 77)
            .maskOffset(13, 29)
            .active();
        document_.group("G").layer("In").end();
        document_.layer("Plain").filled(PremultipliedColor::white());
    }
    const LayerMask& maskOf(const DocumentState& state, std::string_view name) const {
        return state.find(document_.id(name))->mask().value();
    }
    DocumentState masked(const Command& inner) {
        return run_.after(document_.state(), MaskTargetCommand{inner, document_.id("A")});
    }

    TestDocument document_{{512, 400}};
    test::CommandRun run_{document_.store()};
};

} // namespace

TEST_F(MaskCommands, refuseWhatHasNoMaskOrHasOneAlready) {
    const LayerID a = document_.id("A");
    const LayerID plain = document_.id("Plain");
    const LayerID gone = LayerID::make();
    const DocumentState& state = document_.state();
    constexpr const char* noMask = "The layer has no mask.";
    constexpr const char* notFound = "The layer no longer exists.";
    EXPECT_EQ(run_.refusal(state, AddLayerMaskCommand{a}), "The layer already has a mask.");
    EXPECT_EQ(run_.refusal(state, AddLayerMaskCommand{gone}), notFound);
    EXPECT_EQ(run_.refusal(state, AddLayerMaskCommand{plain, NewMaskKind::hideSelection}),
              "The selected area is empty.");
    const Command needing[] = {DeleteLayerMaskCommand{plain},
                               SetLayerMaskEnabledCommand{plain, false},
                               ApplyLayerMaskCommand{plain},
                               MaskTargetCommand{TranslateLayersCommand{{plain}}, plain},
                               SetMaskLinkedCommand{plain, false},
                               MoveLayerMaskCommand{plain, a}};
    for (const Command& command : needing)
        EXPECT_EQ(run_.refusal(state, command), noMask) << command.name();
    EXPECT_EQ(run_.refusal(state, DeleteLayerMaskCommand{gone}), notFound);
    EXPECT_EQ(run_.refusal(state, MoveLayerMaskCommand{a, gone}), notFound);
    DocumentState grouped = run_.after(state, AddLayerMaskCommand{document_.id("G")});
    EXPECT_EQ(run_.refusal(grouped, ApplyLayerMaskCommand{document_.id("G")}),
              "Could not complete your request because the target layer is not a pixel layer.");
}

TEST_F(MaskCommands, applyingAMaskKeepsThePictureAndTheRasterOfTheLayer) {
    const LayerID id = document_.id("A");
    const DocumentState applied = run_.after(document_.state(), ApplyLayerMaskCommand{id});
    EXPECT_FALSE(applied.find(id)->mask());
    EXPECT_EQ(applied.find(id)->pixelLayer()->offset, (PixelOffset{7, -5}));
    EXPECT_LE(run_.distance(applied, document_.state()), 1);
    DocumentState disabled = run_.after(document_.state(), SetLayerMaskEnabledCommand{id, false});
    disabled.update(id, [](LayerNode& node) { node.writeProperties().locks = LayerLocks::pixels; });
    const DocumentState dropped = run_.after(disabled, ApplyLayerMaskCommand{id});
    EXPECT_EQ(dropped.find(id)->pixelLayer()->pixels, document_.layerNamed("A").pixels);
    disabled = run_.after(disabled, SetLayerMaskEnabledCommand{id, true});
    EXPECT_EQ(run_.refusal(disabled, ApplyLayerMaskCommand{id}),
              CommandError::layerLocked("A").text());
}

TEST_F(MaskCommands, anEditThatChangesNothingLeavesEveryCellOfTheMask) {
    const DocumentState same = masked(PixelEdit{.edit = [](PixelLayer&) {}});
    EXPECT_EQ(same, document_.state());
}

TEST_F(MaskCommands, anEditOfPixelsBecomesValuesOfTheMask) {
    const LayerMask before = maskOf(document_.state(), "A");
    const PixelRect filled{100, 100, 256, 256}; // of the mask's raster
    const DocumentState state = masked(PixelEdit{.edit = [&](PixelLayer& layer) {
        EXPECT_EQ(layer.properties.opacity, 1);
        layer.pixels.fill(filled, {0.5f, 0.5f, 0.5f, 1}, document_.store());
        layer.pixels.set({1, 1}, std::nullopt); // nothing: the background
    }});
    const LayerMask& after = maskOf(state, "A");
    EXPECT_EQ(after.offset, before.offset);
    for (std::int64_t y = 0; y < 400; y += 7) {
        for (std::int64_t x = 0; x < 512; x += 5) {
            const std::int64_t maskX = x - before.offset.dx;
            const std::int64_t maskY = y - before.offset.dy;
            const bool isCleared = maskX >= 256 && maskY >= 256;
            const int expected = isCleared                       ? 0
                                 : filled.contains(maskX, maskY) ? 128
                                                                 : valueAt(before, x, y);
            ASSERT_EQ(valueAt(after, x, y), expected) << x << " " << y;
        }
    }
    // The layer itself is as it was.
    EXPECT_EQ(state.find(document_.id("A"))->pixelLayer()->pixels,
              document_.layerNamed("A").pixels);
    EXPECT_FALSE(state.paintsMaskValues);
}

TEST_F(MaskCommands, movingTheTargetMovesTheMaskAlone) {
    const LayerID id = document_.id("A");
    const DocumentState state = masked(TranslateLayersCommand{{id}, 5, -9});
    EXPECT_EQ(maskOf(state, "A").offset, (PixelOffset{18, 20}));
    EXPECT_EQ(maskOf(state, "A").pixels, maskOf(document_.state(), "A").pixels);
    EXPECT_EQ(state.find(id)->pixelLayer()->offset, (PixelOffset{7, -5}));
}

TEST_F(MaskCommands, aMaskMovesToAGroupAndStaysOnTheCanvas) {
    const LayerID a = document_.id("A");
    const LayerID group = document_.id("G");
    const LayerMask mask = maskOf(document_.state(), "A");
    const DocumentState copied =
        run_.after(document_.state(), MoveLayerMaskCommand{a, group, true});
    EXPECT_EQ(copied.find(a)->mask(), mask);
    EXPECT_EQ(copied.find(group)->mask(), mask);
    const DocumentState moved = run_.after(document_.state(), MoveLayerMaskCommand{a, group});
    EXPECT_FALSE(moved.find(a)->mask());
    EXPECT_EQ(moved.find(group)->mask(), mask);
    // A group's mask is edited like a layer's.
    DocumentState state = moved;
    state.activeLayerID = group;
    state = run_.after(state, MaskTargetCommand{PixelEdit{.edit =
                                                              [&](PixelLayer& layer) {
                                                                  layer.pixels.fill(
                                                                      {0, 0, 256, 256},
                                                                      PremultipliedColor::white(),
                                                                      document_.store());
                                                              }},
                                                group});
    EXPECT_EQ(valueAt(*state.find(group)->mask(), 20, 40), 255);
    EXPECT_EQ(state.find(group)->group()->children.size(), 1u);
}

TEST_F(MaskCommands, aPictureThatFollowsAMaskEqualsANewOne) {
    LayerMask mask = maskOf(document_.state(), "A");
    MaskPicture picture(mask, {512, 400}, document_.store());
    const auto check = [&](PixelSize canvas) {
        picture.update(mask, canvas, document_.store());
        const MaskPicture fresh(mask, canvas, document_.store());
        const TileRange all{-2, -2, 3, 3};
        for (const TileCoord coord : all) {
            const TileCell one = picture.pixels().cell(coord);
            const TileCell other = fresh.pixels().cell(coord);
            ASSERT_EQ(one.isAbsent(), other.isAbsent()) << coord.text();
            ASSERT_EQ(one.isSolid(), other.isSolid()) << coord.text();
            if (one.isSolid()) {
                ASSERT_EQ(one.color(), other.color());
            }
            if (!one.isPixels()) continue;
            const TilePin a(one.tile());
            const TilePin b(other.tile());
            ASSERT_EQ(std::memcmp(a.bytes(), b.bytes(), bytesPerTile(TileFormat::rgba16Float)), 0);
        }
    };
    mask.pixels.set({1, 1}, PremultipliedColor{0.25f, 0.25f, 0.25f, 1});
    mask.pixels.set({-1, 0}, mask.pixels[{0, 0}]); // beyond the canvas
    check({512, 400});
    mask.pixels.set({0, 0}, std::nullopt);
    mask.pixels.set({-1, 0}, std::nullopt);
    check({512, 400});
    mask.background = 1;
    check({512, 400});
    check({900, 300});
}

} // namespace ombrel
