#include "Engine/TileClassification.h"

#include "Core/TileStore.h"
#include "Engine/RandomDocument.h"
#include "TestSeed.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>

namespace ombrel {

TEST(TileClassification, tellsEmptySolidAliasAndWorkApart) {
    const auto store = TileStore::create({std::int64_t{64} << 20, 1 << 20, 1 << 20},
                                         std::filesystem::temp_directory_path());
    RandomDocument random(testSeed(), *store, {256, 256});
    const Tile tile = random.tile();
    const PremultipliedColor red{1, 0, 0, 1};
    const TileClass work = NeedsComposite{};

    struct Case {
        const char* what;
        std::function<void(PixelLayer&)> change;
        TileClass expected;
    };
    const std::vector<Case> cases{
        {"a stored tile", [](PixelLayer&) {}, tile},
        {"a colour", [&](PixelLayer& layer) { layer.pixels.set({0, 0}, red); }, red},
        {"nothing", [](PixelLayer& layer) { layer.pixels.set({0, 0}, std::nullopt); }, EmptyTile{}},
        {"less than opaque", [](PixelLayer& layer) { layer.properties.opacity = 0.999f; }, work},
        {"another mode",
         [](PixelLayer& layer) { layer.properties.blendMode = BlendMode::multiply; }, work},
        {"an offset of whole tiles",
         [&](PixelLayer& layer) {
             layer.offset = {256, 0};
             layer.pixels.set({-1, 0}, tile);
         },
         work},
        {"a mask", [](PixelLayer& layer) { layer.mask = LayerMask{}; }, work},
        {"a mask that is off",
         [](PixelLayer& layer) {
             layer.mask = LayerMask{};
             layer.mask->isEnabled = false;
         },
         tile},
        {"an offset that moves it away", [](PixelLayer& layer) { layer.offset = {0, 256}; },
         EmptyTile{}},
        {"a neighbour's edge, by one pixel", [](PixelLayer& layer) { layer.offset = {-1, 255}; },
         work},
    };
    for (const Case& item : cases) {
        PixelLayer layer;
        layer.pixels.set({0, 0}, tile);
        item.change(layer);
        const CompositeProgram alone{{LayerStep{layer}}};
        EXPECT_EQ(TileClassifier(alone).classify({0, 0}), item.expected) << item.what;
        const CompositeProgram grouped{
            {BeginStep{true}}, {LayerStep{layer}}, {EndStep{true, 1, BlendMode::normal, {}}}};
        EXPECT_EQ(TileClassifier(grouped).classify({0, 0}),
                  std::holds_alternative<EmptyTile>(item.expected) ? item.expected : work)
            << item.what << " in a group";
    }
    PixelLayer opaque;
    opaque.pixels.set({0, 0}, red);
    const CompositeProgram two{{LayerStep{opaque}}, {LayerStep{opaque}}};
    EXPECT_EQ(TileClassifier(two).classify({0, 0}), work) << "alpha is not looked at";
}

} // namespace ombrel
