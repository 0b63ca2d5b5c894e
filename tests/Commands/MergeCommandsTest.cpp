#include "Commands/MergeCommands.h"

#include "Commands/CommandRun.h"
#include "Commands/RasterizeLayersCommand.h"

namespace ombrel {
namespace {

using test::CommandRun;
using test::mottled;

constexpr PixelRect whole{0, 0, 300, 280};
constexpr PixelRect part{-40, 30, 250, 300};

class MergeCommands : public testing::Test {
protected:
    TestDocument document_{{300, 280}};
    CommandRun run_{document_.store()};

    DocumentState after(const Command& command) { return run_.after(document_.state(), command); }
    int distanceAfter(const Command& command) {
        return run_.distance(document_.state(), after(command));
    }
    std::string refusal(const Command& command) { return run_.refusal(document_.state(), command); }
    LayerID id(std::string_view name) const { return document_.id(name); }
};

std::vector<std::string> namesOf(const DocumentState& state) {
    std::vector<std::string> names;
    for (const LayerNode& node : state.allNodes())
        names.push_back(node.properties().name);
    return names;
}

using Names = std::vector<std::string>;

} // namespace

TEST_F(MergeCommands, mergingDownOntoAnOpaqueLayerKeepsThePictureToTheLastBit) {
    for (const bool linear : {false, true}) {
        for (const BlendMode mode : {BlendMode::normal, BlendMode::multiply, BlendMode::overlay,
                                     BlendMode::luminosity, BlendMode::difference}) {
            TestDocument document({300, 280}, document_.sharedStore());
            document.blendUsingGamma1(linear).layer("Below").painted(whole, mottled(1));
            document.layer("Above").painted(part, mottled(2, 0)).blend(mode).opacity(0.7f);
            document.offset(17, -5).mask(1).maskFilled({20, 20, 200, 100}, 90).maskOffset(3, 9);
            const DocumentState merged =
                run_.after(document.state(), MergeDownCommand{document.id("Above")});
            EXPECT_EQ(run_.distance(document.state(), merged), 0) << displayNameOf(mode);
            ASSERT_EQ(namesOf(merged), Names{"Below"});
            EXPECT_EQ(merged.activeLayerID, document.id("Below"));
            EXPECT_FALSE(merged.activePixelLayer()->mask);
            // What lies beyond the canvas is kept.
            EXPECT_GT(merged.activePixelLayer()->pixels.color(-10, 100).alpha, 0);
        }
    }
}

TEST_F(MergeCommands, aBaseTakesInWhatClipsToItAndKeepsOpacityAndMode) {
    document_.layer("Paper").painted(whole, mottled(1));
    document_.layer("Base").painted(part, mottled(2, 0)).opacity(0.6f).blend(BlendMode::multiply);
    document_.mask(1).maskFilled({0, 0, 100, 280}, 60);
    document_.layer("Clipped").painted(whole, mottled(3, 0)).blend(BlendMode::screen).clipped();
    document_.layer("Next").painted(part, mottled(4, 0)).clipped();
    const DocumentState merged = after(MergeDownCommand{id("Clipped")});
    EXPECT_LE(run_.distance(document_.state(), merged), 2);
    const PixelLayer& base = *merged.find(id("Base"))->pixelLayer();
    EXPECT_EQ(base.properties, document_.layerNamed("Base").properties);
    EXPECT_FALSE(base.mask);
    // Of two clipped layers the lower one stays clipped.
    const DocumentState upper = after(MergeDownCommand{id("Next")});
    EXPECT_TRUE(upper.find(id("Clipped"))->properties().clipsToBelow);
    // A base that is merged takes along what clips to it.
    EXPECT_LE(distanceAfter(MergeDownCommand{id("Base")}), 2);
    EXPECT_EQ(namesOf(after(MergeDownCommand{id("Base")})), Names{"Paper"});
}

TEST_F(MergeCommands, refuseWhatCannotBeMerged) {
    document_.layer("Below").filled(PremultipliedColor::white());
    document_.layer("Above").filled({0.1f, 0, 0, 0.5f}).group("Group").layer("Inside").end();
    document_.layer("Over group").layer("Hidden").hidden();
    EXPECT_EQ(refusal(MergeDownCommand{id("Below")}), "There is no layer below to merge into.");
    EXPECT_EQ(refusal(MergeDownCommand{id("Inside")}), "There is no layer below to merge into.");
    EXPECT_EQ(refusal(MergeDownCommand{id("Over group")}),
              "There is no layer below to merge into.");
    EXPECT_EQ(refusal(MergeDownCommand{LayerID::make()}), "The layer no longer exists.");
    EXPECT_EQ(refusal(MergeDownCommand{id("Hidden")}),
              "Could not use the tool because the target layer is hidden.");
    EXPECT_EQ(refusal(MergeGroupCommand{id("Above")}), "The layer isn't a group.");
    EXPECT_EQ(refusal(MergeDownCommand{id("Above")}), "done");
    document_ = TestDocument({300, 280}, document_.sharedStore());
    document_.layer("Below").filled(PremultipliedColor::white()).locked(LayerLocks::pixels);
    document_.layer("Above").filled({0.1f, 0, 0, 0.5f});
    const std::string locked =
        "Could not complete your request because the layer “Below” is locked.";
    EXPECT_EQ(refusal(MergeDownCommand{id("Above")}), locked);
    EXPECT_EQ(refusal(MergeVisibleCommand{}), locked);
    EXPECT_EQ(refusal(MergeLayersCommand{{id("Above"), id("Below")}}), locked);
    EXPECT_EQ(refusal(FlattenImageCommand{}), "done");
    Progress progress;
    progress.cancel();
    for (const Command& command :
         {Command(FlattenImageCommand{}), Command(StampVisibleCommand{})}) {
        DocumentState state = document_.layer("Mixed").painted(part, mottled(1, 0)).state();
        const CommandResult result = run_.apply(state, command, &progress);
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error().kind, CommandError::Kind::cancelled);
    }
}

TEST_F(MergeCommands, mergingWhatIsVisibleKeepsThePictureAndWhatIsHidden) {
    document_.layer("Low").painted(part, mottled(1, 0)).offset(60, -20);
    document_.layer("Hidden").painted(whole, mottled(2)).hidden();
    document_.group("Group").opacity(0.5f).blend(BlendMode::multiply).layer("In");
    document_.painted(whole, mottled(3, 0)).layer("Hidden in").hidden().end();
    document_.layer("Empty group's neighbour").painted(part, mottled(5, 0));
    document_.layer("Clipped").painted(whole, mottled(4, 0)).clipped();
    EXPECT_EQ(distanceAfter(MergeVisibleCommand{}), 0);
    const DocumentState merged = after(MergeVisibleCommand{});
    EXPECT_EQ(namesOf(merged), (Names{"Low", "Hidden", "Hidden in", "Group"}));
    EXPECT_EQ(merged.activePixelLayer()->properties.name, "Low");

    const DocumentState stamped = after(StampVisibleCommand{LayerID::make(), "Stamp"});
    EXPECT_EQ(stamped.root->children.size(), document_.state().root->children.size() + 1);
    EXPECT_EQ(stamped.root->children.back().id(), stamped.activeLayerID);
    DocumentState alone = stamped;
    alone.root.write().children = {stamped.root->children.back()};
    EXPECT_EQ(run_.distance(document_.state(), alone), 0);
}

TEST_F(MergeCommands, anIsolatedGroupBecomesALayerWithItsPropertiesAndMask) {
    document_.layer("Paper").painted(whole, mottled(1)).group("Group").opacity(0.6f);
    document_.blend(BlendMode::overlay).mask(0).maskFilled({10, 10, 200, 200}, 200);
    document_.layer("A").painted(part, mottled(2, 0)).layer("B").painted(whole, mottled(3, 0));
    document_.blend(BlendMode::screen).end().layer("Top").painted(part, mottled(4, 0));
    for (const Command& command : {Command(MergeGroupCommand{id("Group")}),
                                   Command(MergeLayersCommand{{id("Group"), id("A")}})}) {
        const DocumentState merged = after(command);
        EXPECT_LE(run_.distance(document_.state(), merged), 2);
        EXPECT_EQ(namesOf(merged), (Names{"Paper", "Group", "Top"}));
        EXPECT_EQ(merged.find(id("Group"))->properties(),
                  document_.state().find(id("Group"))->properties());
    }
    const DocumentState all = after(MergeLayersCommand{{id("Top"), id("Paper"), id("Group")}});
    EXPECT_EQ(run_.distance(document_.state(), all), 0);
    EXPECT_EQ(namesOf(all), Names{"Top"});
}

TEST_F(MergeCommands, flatteningLaysThePictureOnWhiteAndCutsItAtTheCanvas) {
    document_.blendUsingGamma1();
    document_.layer("Hidden").painted(whole, mottled(9)).hidden();
    document_.layer("A").painted(part, mottled(2, 0)).blend(BlendMode::multiply);
    document_.layer("B").painted(part, mottled(3, 0)).opacity(0.4f);
    const FlattenImageCommand command{LayerID::make()};
    const DocumentState flat = after(command);
    ASSERT_EQ(namesOf(flat), Names{"Background"});
    const PixelLayer& layer = *flat.activePixelLayer();
    EXPECT_EQ(layer.id, command.layerID);
    EXPECT_EQ(layer.properties.locks.rawValue, 5);
    EXPECT_EQ(layer.pixels.color(-10, 100), PremultipliedColor::transparent());
    const FlatImage before = run_.flat(document_.state());
    const FlatImage found = run_.flat(flat);
    for (std::int64_t y = 0; y < 280; y += 3) {
        for (std::int64_t x = 0; x < 300; ++x) {
            const PremultipliedColor picture = before.pixel(x, y);
            const float paper = 1 - picture.alpha;
            ASSERT_NEAR(found.pixel(x, y).red, picture.red + paper, 0.001f);
            ASSERT_EQ(found.pixel(x, y).alpha, 1);
        }
    }
    EXPECT_EQ(run_.distance(flat, run_.after(flat, command)), 0);
}

TEST_F(MergeCommands, rasterizingKeepsThePixelsOfLiveLayersAndRefusesOthers) {
    document_.layer("Plain")
        .painted(part, mottled(1))
        .group("G")
        .layer("Text")
        .painted(part, mottled(2));
    document_.end();
    DocumentState live = document_.state();
    live.update(id("Text"), [](LayerNode& node) { node.writePixelLayer()->text = TextContent(); });
    const DocumentState plain = run_.after(live, RasterizeLayersCommand{{id("Plain"), id("G")}});
    EXPECT_FALSE(plain.find(id("Text"))->pixelLayer()->isLive());
    EXPECT_EQ(plain.find(id("Text"))->pixelLayer()->pixels,
              live.find(id("Text"))->pixelLayer()->pixels);
    EXPECT_EQ(run_.refusal(live, RasterizeLayersCommand{{id("Plain")}}),
              "The layer isn't a shape or type layer.");
    EXPECT_EQ(run_.refusal(live, RasterizeLayersCommand{{}}), "The layer no longer exists.");
}

} // namespace ombrel
