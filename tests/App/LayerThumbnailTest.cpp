#include "App/Panels/LayerThumbnail.h"

#include "Core/TileStore.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

LayerThumbnail thumbnailOf(const TestDocument& document, int side) {
    return layerThumbnail(*document.state().find(document.lastID()), document.state().canvas, side);
}

} // namespace

TEST(LayerThumbnail, showsTheLayerWhereItLiesOnTheCanvas) {
    TestDocument document({1000, 500});
    document.layer("A").filled({0, 0, 250, 250}, {1, 0, 0, 1}).offset(500, 250);
    const QImage picture = thumbnailOf(document, 40).picture;
    ASSERT_EQ(picture.size(), QSize(40, 20));
    for (int y = 0; y < 20; ++y) {
        for (int x = 0; x < 40; ++x) {
            const bool isInside = x >= 20 && x < 30 && y >= 10;
            EXPECT_EQ(picture.pixel(x, y), isInside ? 0xFFFF0000 : 0) << x << ", " << y;
        }
    }
}

TEST(LayerThumbnail, takesTheMeanOfLightAndTheDocumentsProfile) {
    TestDocument document({64, 64});
    document.layer("A").painted({0, 0, 64, 64}, [](int x, int) {
        return x % 2 == 0 ? PremultipliedColor::white() : PremultipliedColor::black();
    });
    EXPECT_NEAR(qRed(thumbnailOf(document, 16).picture.pixel(8, 8)), 188, 1) << "half the light";
    document.layer("B").filled({0.4f, 0, 0, 0.5f});
    const QRgb half = thumbnailOf(document, 16).picture.pixel(8, 8);
    EXPECT_EQ(qAlpha(half), 128);
    EXPECT_NEAR(qRed(qUnpremultiply(half)), 231, 2) << "0.8 of the light";

    DocumentState wide = document.state();
    wide.canvas.profile = ColorProfile::displayP3();
    const QImage picture = layerThumbnail(*wide.find(document.lastID()), wide.canvas, 16).picture;
    EXPECT_GT(qRed(qUnpremultiply(picture.pixel(8, 8))), 240) << "a stronger red";
}

TEST(LayerThumbnail, masksAreGrayAndLieWhereTheirOwnOffsetSays) {
    TestDocument document({512, 512});
    document.layer("A").offset(300, 300).mask(0.5f).maskFilled({0, 0, 256, 256}, 255);
    document.maskOffset(256, 0);
    const QImage mask = thumbnailOf(document, 16).mask;
    EXPECT_EQ(qRed(mask.pixel(12, 4)), 255);
    EXPECT_NEAR(qRed(mask.pixel(4, 4)), 128, 1) << "the background";
    EXPECT_NEAR(qRed(mask.pixel(12, 12)), 128, 1);
}

TEST(LayerThumbnail, leavesTilesWhereTheyAreAndCostsByItsSizeNotTheCanvas) {
    TestDocument document({300'000, 300'000});
    document.layer("A").painted({0, 0, 512, 512},
                                [](int, int) { return PremultipliedColor{0, 0, 1, 1}; });
    document.offset(149'700, 149'700).group("G"); // around the middle
    document.store().evict(0, std::int64_t{1} << 40, true);
    ASSERT_EQ(document.store().statistics().residentTiles, 0);
    const LayerNode& layer = *document.state().find(document.id("A"));
    Canvas canvas = document.state().canvas;
    EXPECT_EQ(layerThumbnail(layer, canvas, 28).picture.size(), QSize(28, 28));
    canvas.size = {512, 512};
    PixelLayer near = *layer.pixelLayer();
    near.offset = {};
    const QImage picture = layerThumbnail(LayerNode(near), canvas, 28).picture;
    EXPECT_EQ(picture.pixel(14, 14), 0xFF0000FF);
    EXPECT_EQ(document.store().statistics().residentTiles, 0);
    EXPECT_TRUE(
        layerThumbnail(*document.state().find(document.id("G")), canvas, 28).picture.isNull());
}

} // namespace ombrel
