#include "Core/Geometry.h"
#include "Core/PremultipliedColor.h"

#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace ombrel {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(Geometry, tilesAreFoundByFloorDivision) {
    struct Case {
        PixelRect rect;
        TileRange range;
    };
    const Case cases[] = {
        {{0, 0, 256, 256}, {0, 0, 0, 0}},
        {{0, 0, 257, 1}, {0, 0, 1, 0}},
        {{-1, 0, 1, 1}, {-1, 0, -1, 0}},
        {{-257, -256, 2, 257}, {-2, -1, -1, 0}},
        {{5, 5, 0, 10}, {0, 0, -1, -1}},
        {{5, 5, 10, -3}, {0, 0, -1, -1}},
        {{-300000, 299999, 1, 1}, {-1172, 1171, -1172, 1171}},
    };
    for (const Case& each : cases)
        EXPECT_EQ(each.rect.tileRange(), each.range) << each.rect.text();
}

TEST(Geometry, aRangeIteratesRowByRow) {
    const TileRange range{-1, 2, 1, 3};
    const std::vector<TileCoord> expected{{-1, 2}, {0, 2}, {1, 2}, {-1, 3}, {0, 3}, {1, 3}};
    EXPECT_EQ(std::vector<TileCoord>(range.begin(), range.end()), expected);
    EXPECT_EQ(range.count(), 6);
    for (const TileRange& empty : {TileRange{}, TileRange{0, 5, 3, 4}, TileRange{4, 0, 3, 9}}) {
        EXPECT_EQ(empty.begin(), empty.end());
        EXPECT_EQ(empty.count(), 0);
    }
}

TEST(Geometry, coordinatesOrderByRowFirst) {
    EXPECT_LT((TileCoord{9, 0}), (TileCoord{-9, 1}));
    EXPECT_LT((TileCoord{-9, 1}), (TileCoord{9, 1}));
}

TEST(GeometryDeathTest, aCoordinateBeyond32BitsStopsTheProcess) {
    EXPECT_DEATH(TileCoord::checked(2147483648LL, 0), "32 bits");
    EXPECT_DEATH(TileCoord::checked(0, -2147483649LL), "32 bits");
    EXPECT_EQ(TileCoord::checked(-2147483648LL, 2147483647LL),
              (TileCoord{std::numeric_limits<std::int32_t>::min(),
                         std::numeric_limits<std::int32_t>::max()}));
}

TEST(Geometry, rectanglesAroundRealEdgesRoundOutward) {
    EXPECT_EQ(PixelRect::enclosing(0.5, -0.5, 1, 1), (PixelRect{0, -1, 2, 2}));
    EXPECT_EQ(PixelRect::enclosing(2, 3, 4, 5), (PixelRect{2, 3, 4, 5}));
    EXPECT_EQ(PixelRect::enclosing(2, 3, -4, -5), (PixelRect{2, 3, 0, 0}));
    const PixelRect everything = PixelRect::enclosing(-infinity, -1e300, infinity, 2e300);
    EXPECT_LT(everything.y, -1'000'000'000'000);
    EXPECT_GT(everything.height, 1'000'000'000'000);
    EXPECT_EQ(PixelRect::ofSize({-3, 7}), (PixelRect{0, 0, 0, 7}));
}

TEST(Geometry, unionAndIntersectionTreatEmptyRectanglesAsNothing) {
    const PixelRect a{0, 0, 10, 10};
    const PixelRect b{-5, 20, 10, 10};
    const PixelRect empty{100, 100, 0, 5};
    EXPECT_EQ(unionOf(a, b), (PixelRect{-5, 0, 15, 30}));
    EXPECT_EQ(unionOf(a, empty), a);
    EXPECT_EQ(unionOf(empty, a), a);
    EXPECT_EQ(unionOf(empty, PixelRect{}), empty);
    EXPECT_EQ(intersectionOf(a, PixelRect(5, -5, 10, 10)), (PixelRect{5, 0, 5, 5}));
    EXPECT_EQ(intersectionOf(a, b), PixelRect{});
    EXPECT_EQ(intersectionOf(a, PixelRect(10, 0, 5, 5)), PixelRect{});
}

TEST(Geometry, containmentIsHalfOpen) {
    const PixelRect rect{-2, -2, 4, 4};
    EXPECT_TRUE(rect.contains(-2, -2));
    EXPECT_TRUE(rect.contains(1, 1));
    EXPECT_FALSE(rect.contains(2, 0));
    EXPECT_FALSE(rect.contains(0, -3));
    EXPECT_TRUE(rect.contains(rect));
    EXPECT_FALSE(rect.contains(PixelRect{-2, -2, 5, 4}));
}

TEST(Geometry, valuesHaveATextForm) {
    EXPECT_EQ((PixelSize{640, 480}.text()), "640×480");
    EXPECT_EQ((PixelRect{-1, 2, 640, 480}.text()), "(-1, 2, 640×480)");
    EXPECT_EQ((TileCoord{3, -1}.text()), "(3, -1)");
    EXPECT_EQ((PremultipliedColor{0.25f, 0.5f, 0, 1}.text()),
              "rgba(0.2500, 0.5000, 0.0000, 1.0000)");
}

} // namespace
} // namespace ombrel
