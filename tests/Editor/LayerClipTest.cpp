#include "Editor/LayerClip.h"

#include "Core/ProfileConversion.h"
#include "Engine/CpuDevice.h"
#include "IO/ImageImporter.h"
#include "support/TemporaryFolder.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ombrel {
namespace {

constexpr PremultipliedColor red{1, 0, 0, 1};
constexpr PremultipliedColor glass{0.1f, 0.2f, 0.05f, 0.4f};

class LayerClipTest : public testing::Test {
protected:
    CommandContext in() { return {*store, device, &progress}; }

    LayerClip clipOf(const TestDocument& document, const std::vector<std::string>& names) {
        std::vector<LayerID> ids;
        for (const std::string& name : names)
            ids.push_back(document.id(name));
        auto clip = LayerClip::ofLayers(document.state(), ids);
        EXPECT_TRUE(clip);
        return *std::move(clip);
    }
    static PasteTarget whole(const DocumentState& state) {
        const PixelSize size = state.canvas.size;
        return {.canvas = state.canvas,
                .visible = {{0, 0},
                            {static_cast<double>(size.width), static_cast<double>(size.height)}}};
    }
    DocumentState pasted(const LayerClip& clip, DocumentState into, const PasteTarget& target) {
        const auto command = clip.pasting(target, in());
        EXPECT_TRUE(command);
        EXPECT_TRUE(command->apply(into, in()));
        return into;
    }
    /// On the canvas.
    static PremultipliedColor colorAt(const DocumentState& state, std::int64_t x, std::int64_t y) {
        const PixelLayer& layer = *state.activePixelLayer();
        return layer.pixels.color(x - layer.offset.dx, y - layer.offset.dy);
    }

    std::shared_ptr<TileStore> store = makeTestStore();
    CpuDevice device;
    Progress progress;
};

float difference(const PremultipliedColor& a, const PremultipliedColor& b) {
    return std::max({std::abs(a.red - b.red), std::abs(a.green - b.green),
                     std::abs(a.blue - b.blue), std::abs(a.alpha - b.alpha)});
}

TEST_F(LayerClipTest, layersComeBackWhereTheyWereAsTheyWereAndAsOthers) {
    TestDocument document({1000, 800}, store);
    document.layer("Ground").filled(red).group("Group").layer("A").filled({300, 300, 50, 40},
                                                                          glass);
    document.opacity(0.5f).blend(BlendMode::multiply).layer("B").hidden().end();
    const LayerClip clip = clipOf(document, {"A", "Group"}); // A is in the group
    const DocumentState after = pasted(clip, document.state(), whole(document.state()));
    ASSERT_EQ(after.root->children.size(), 3u);
    const LayerNode& copy = after.root->children[2];
    EXPECT_EQ(after.activeLayerID, copy.id());
    ASSERT_NE(copy.group(), nullptr);
    const LayerNode& original = document.state().root->children[1];
    EXPECT_NE(copy.id(), original.id());
    for (std::size_t i = 0; i < 2; ++i) {
        PixelLayer layer = *copy.group()->children.at(i).pixelLayer();
        const PixelLayer& was = *original.group()->children.at(i).pixelLayer();
        EXPECT_NE(layer.id, was.id);
        layer.id = was.id;
        EXPECT_EQ(layer, was);
    }
}

TEST_F(LayerClipTest, whatIsOutOfViewComesToItsMiddleUnlessItIsPastedInPlace) {
    TestDocument document({2000, 2000}, store);
    document.layer("A").filled({100, 120, 40, 20}, red);
    const LayerClip clip = clipOf(document, {"A"});
    PasteTarget target = whole(document.state());
    const auto cornerOf = [&](const DocumentState& state) {
        const PixelLayer& layer = *state.activePixelLayer();
        return PixelOffset{100 + layer.offset.dx, 120 + layer.offset.dy};
    };
    const auto corner = [&] { return cornerOf(pasted(clip, document.state(), target)); };
    EXPECT_EQ(corner(), (PixelOffset{100, 120}));
    target.visible = {{1000, 1000}, {500, 300}};
    EXPECT_EQ(corner(), (PixelOffset{1230, 1140}));
    target.place = PasteTarget::Place::inPlace;
    EXPECT_EQ(corner(), (PixelOffset{100, 120}));
    target.center = RealPoint{1999, 10}; // brought onto the canvas
    EXPECT_EQ(corner(), (PixelOffset{1960, 0}));

    TestDocument small({30, 300}, store);
    small.layer("B");
    const DocumentState inSmall = pasted(clip, small.state(), whole(small.state()));
    EXPECT_EQ(cornerOf(inSmall), (PixelOffset{-5, 140}))
        << "around the middle where it is too wide";
}

TEST_F(LayerClipTest, anUnlinkedMaskGoesWithItsLayer) {
    TestDocument document({1000, 1000}, store);
    document.layer("A").filled({0, 0, 100, 100}, red);
    DocumentState state = document.state();
    state.update(document.id("A"), [](LayerNode& node) {
        node.writeMask() = LayerMask{.background = 0.5f, .offset = {3, 4}, .isLinked = false};
    });
    const LayerID ids[] = {document.id("A")};
    const LayerClip clip = *LayerClip::ofLayers(state, ids);
    PasteTarget target = whole(state);
    target.center = RealPoint{550, 650};
    const DocumentState after = pasted(clip, state, target);
    EXPECT_EQ(after.activePixelLayer()->offset, (PixelOffset{500, 600}));
    EXPECT_EQ(after.activePixelLayer()->mask->offset, (PixelOffset{503, 604}));
}

TEST_F(LayerClipTest, aMergedCopyIsWhatTheCanvasShows) {
    TestDocument document({300, 200}, store);
    document.layer("A")
        .filled({-50, -50, 1000, 1000}, red)
        .layer("B")
        .filled({0, 0, 30, 30}, glass);
    document.layer("C").filled({1, 0, 0, 1}).hidden();
    const LayerClip clip = LayerClip::merged(document.state(), "Merged Copy");
    const DocumentState after = pasted(clip, document.state(), whole(document.state()));
    EXPECT_EQ(after.activePixelLayer()->properties.name, "Merged Copy");
    EXPECT_EQ(colorAt(after, 100, 100), red);
    EXPECT_EQ(colorAt(after, 299, 199), red);
    EXPECT_EQ(colorAt(after, 300, 100).alpha, 0) << "beyond the canvas";
    EXPECT_NEAR(colorAt(after, 10, 10).alpha, 1, 1e-3);
    EXPECT_GT(colorAt(after, 10, 10).green, 0.05f);
}

TEST_F(LayerClipTest, anotherProfileKeepsTheColoursAndNotTheNumbers) {
    TestDocument document({64, 64}, store);
    document.layer("A").filled(glass);
    DocumentState wide = document.state();
    wide.canvas.profile = ColorProfile::displayP3();
    const LayerClip clip = clipOf(document, {"A"});
    const DocumentState after = pasted(clip, wide, whole(wide));
    const auto conversion = *ProfileConversion::between(ColorProfile::sRGB(), wide.canvas.profile);
    const auto expected = conversion.apply(glass.red, glass.green, glass.blue, glass.alpha);
    EXPECT_LT(difference(colorAt(after, 5, 5), expected), 1e-3f);
    EXPECT_GT(difference(colorAt(after, 5, 5), glass), 1e-3f);
}

TEST_F(LayerClipTest, otherProgramsGetAPictureWithAlphaProfileAndSixteenBits) {
    TestDocument document({400, 400}, store);
    const auto ramp = [](std::int64_t x, std::int64_t y) {
        const float alpha = static_cast<float>(y - 20) / 50;
        return PremultipliedColor{alpha * static_cast<float>(x - 10) / 100, alpha * 0.25f, 0,
                                  alpha};
    };
    document.layer("A").painted({10, 20, 101, 51}, ramp).opacity(0.3f).hidden().clipped();
    DocumentState state = document.state();
    state.canvas.profile = ColorProfile::adobeRGB();
    const LayerID ids[] = {document.id("A")};
    const auto bytes = LayerClip::ofLayers(state, ids)->png(in());
    ASSERT_TRUE(bytes) << bytes.error();
    const auto image = ImageImporter::read(*bytes, *store);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->profile.name(), "Adobe RGB (1998)");
    EXPECT_EQ(image->bitDepth, BitDepth::sixteen);
    // The first row has no alpha, and so nothing begins there.
    ASSERT_EQ(image->size, (PixelSize{101, 50}));
    for (std::int64_t y = 0; y < 50; y += 7) {
        for (std::int64_t x = 0; x < 101; x += 9) {
            ASSERT_LT(difference(image->pixels.color(x, y), ramp(x + 10, y + 21)), 1e-3f)
                << x << ", " << y;
        }
    }
}

TEST_F(LayerClipTest, layersGoThroughBytesToAnotherProcess) {
    TestDocument document({900, 700}, store);
    document.group("G").layer("A").filled({600, 300, 77, 33}, glass).opacity(0.25f).end();
    const auto bytes = clipOf(document, {"G"}).native(in());
    ASSERT_TRUE(bytes);
    const auto read = LayerClip::ofNative(*bytes, *store, progress);
    ASSERT_TRUE(read) << read.error();
    const DocumentState after = pasted(*read, document.state(), whole(document.state()));
    ASSERT_EQ(after.root->children.size(), 2u);
    const PixelLayer& layer = *after.root->children[1].group()->children.at(0).pixelLayer();
    EXPECT_EQ(layer.properties.opacity, 0.25f);
    EXPECT_NEAR(layer.pixels.color(610 - layer.offset.dx, 310 - layer.offset.dy).alpha, 0.4f, 1e-3);

    std::vector<std::byte> damaged(bytes->begin(), bytes->begin() + 100);
    EXPECT_FALSE(LayerClip::ofNative(damaged, *store, progress));
    EXPECT_FALSE(LayerClip::ofImage(damaged, *store, progress));
}

TEST_F(LayerClipTest, whatIsTooLargeIsNotOfferedToOthers) {
    TestDocument document({200'000, 200'000}, store);
    document.layer("Small").filled({100, 100, 50, 50}, red).layer("Huge").filled(red);
    EXPECT_TRUE(clipOf(document, {"Small"}).fitsPicture());
    EXPECT_FALSE(clipOf(document, {"Huge"}).fitsPicture());
    EXPECT_TRUE(clipOf(document, {"Huge"}).fitsNative()) << "one colour takes no room";
    EXPECT_FALSE(LayerClip::merged(document.state(), "M").fitsPicture());
}

TEST_F(LayerClipTest, cuttingTakesLayersAwayAndEmptiesTheLastOnes) {
    TestDocument document({64, 64}, store);
    document.layer("A").filled(red).layer("B").filled(glass);
    DocumentState state = document.state();
    ASSERT_TRUE(CutLayersCommand{{document.id("B")}}.apply(state, in()));
    EXPECT_EQ(state.root->children.size(), 1u);
    ASSERT_TRUE(CutLayersCommand{{document.id("A")}}.apply(state, in()));
    ASSERT_EQ(state.root->children.size(), 1u);
    EXPECT_TRUE(state.root->children[0].pixelLayer()->pixels.isEmpty());

    state = document.state();
    state.update(document.id("A"),
                 [](LayerNode& node) { node.writeProperties().locks = LayerLocks::pixels; });
    const auto refused = CutLayersCommand{{document.id("A")}}.apply(state, in());
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().kind, CommandError::Kind::layerLocked);
}

} // namespace
} // namespace ombrel
