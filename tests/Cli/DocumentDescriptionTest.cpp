#include "Cli/DocumentDescription.h"

#include "Core/TileStore.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace ombrel {
namespace {

constexpr std::int64_t memory = 64 << 20;

PixelLayer filledLayer(const char* name, const PixelRect& rect, TileStore& store) {
    PixelLayer layer;
    layer.properties.name = name;
    layer.pixels.fill(rect, PremultipliedColor::white(), store);
    return layer;
}

/// A group of two layers, one of them moved, with a mask, below an empty layer.
OpenedDocument nestedDocument(TileStore& store) {
    PixelLayer moved = filledLayer("Moved", {0, 0, 10, 20}, store);
    moved.offset = {-5, 300};
    moved.properties.opacity = 0.3f;
    moved.properties.isVisible = false;
    moved.properties.locks = LayerLocks::pixels | LayerLocks::position;
    moved.mask.emplace();
    moved.mask->background = 0;
    moved.mask->isEnabled = false;
    moved.mask->isLinked = false;
    moved.mask->offset = {100, 100};
    moved.mask->pixels.set({0, 1}, PremultipliedColor::white());

    GroupLayer group;
    group.properties.name = "Group \"x\"";
    group.properties.blendMode = BlendMode::passThrough;
    group.children.emplace_back(filledLayer("Low", {40, 40, 2, 2}, store));
    group.children.emplace_back(std::move(moved));

    PixelLayer empty;
    empty.properties.name = "Empty";
    empty.properties.clipsToBelow = true;

    OpenedDocument document{.board = Board(DocumentState(), "Node 1")};
    document.format = "png";
    document.report = {"One thing was left out."};
    document.board.nodes.front().state.canvas.size = {300, 400};
    document.board.nodes.front().state.root.write().children.emplace_back(std::move(group));
    document.board.nodes.front().state.root.write().children.emplace_back(std::move(empty));
    return document;
}

TEST(DocumentDescription, tellsGroupsMasksAndBoundsOnTheCanvas) {
    const auto store =
        TileStore::create({memory, memory, memory}, std::filesystem::temp_directory_path());
    const Json info = describeAsJson(nestedDocument(*store));
    const Json& layers = info["nodes"][0]["layers"];
    ASSERT_EQ(layers.size(), 2u);
    const Json& group = layers[0];
    EXPECT_EQ(group["kind"], "group");
    EXPECT_EQ(group["blendMode"], "passThrough");
    EXPECT_EQ(group["bounds"], Json({-5, 40, 47, 280})) << "those of its children";
    ASSERT_EQ(group["children"].size(), 2u);
    EXPECT_EQ(group["children"][0]["name"], "Low");
    const Json& moved = group["children"][1];
    EXPECT_EQ(moved["bounds"], Json({-5, 300, 10, 20}));
    EXPECT_EQ(moved["opacity"].dump(), "0.3");
    EXPECT_EQ(moved["visible"], false);
    EXPECT_EQ(moved["locks"], 6);
    EXPECT_EQ(moved["mask"], (Json{{"background", 0.0},
                                   {"enabled", false},
                                   {"linked", false},
                                   {"bounds", {100, 356, 256, 256}}}));
    EXPECT_EQ(layers[1]["clipsToBelow"], true);
    EXPECT_TRUE(layers[1]["bounds"].is_null());
    EXPECT_FALSE(layers[1].contains("children"));
    EXPECT_EQ(info["report"], Json({"One thing was left out."}));
}

TEST(DocumentDescription, tellsWhatLayersShowAndTheirEffects) {
    PixelLayer layer = PixelLayer::named("Sign");
    layer.text = TextContent{};
    layer.effects.write().push_back(Effect::make(EffectKind::glow, 1));
    layer.effects.write().back().params.values["radius"] = {12.0};
    OpenedDocument document{.board = Board(DocumentState(), "Node 1")};
    document.board.nodes.front().state.root.write().children.emplace_back(layer);
    const Json info = describeAsJson(document);
    const Json& described = info["nodes"][0]["layers"][0];
    EXPECT_EQ(described["kind"], "text");
    EXPECT_EQ(described["effects"].dump(),
              R"([{"kind":"glow","name":"Glow","params":{"radius":{"number":{"_0":12}}},)"
              R"("visible":true}])");
    EXPECT_NE(textOfDescription(info).find("text \"Sign\": empty, effect \"Glow\"\n"),
              std::string::npos);
}

TEST(DocumentDescription, asTextListsLayersFromTheTop) {
    const auto store =
        TileStore::create({memory, memory, memory}, std::filesystem::temp_directory_path());
    EXPECT_EQ(textOfDescription(describeAsJson(nestedDocument(*store))),
              "Node 1: png, 300×400 pixels, 72 pixels/inch, 8 bits/channel, sRGB IEC61966-2.1\n"
              "  pixel \"Empty\": empty, clipped to the layer below\n"
              "  group \"Group \"x\"\": 47×280 at (-5, 40), Pass Through\n"
              "    pixel \"Moved\": 10×20 at (-5, 300), hidden, 30%, locked, with a mask\n"
              "    pixel \"Low\": 2×2 at (40, 40)\n"
              "note: One thing was left out.\n");
}

} // namespace
} // namespace ombrel
