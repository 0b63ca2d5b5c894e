#include "Editor/HitTest.h"
#include "support/TestDocument.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

constexpr PremultipliedColor gray{0.5f, 0.5f, 0.5f, 1};

std::string hitName(const TestDocument& document, RealPoint point, HitKind kind = HitKind::layer) {
    const auto hit = hitLayer(document.state(), kind, point);
    return hit ? document.state().find(hit->layer)->properties().name : "";
}

} // namespace

TEST(HitTest, findsTheTopmostLayerThatShowsSomething) {
    TestDocument document({100, 100});
    document.layer("low").filled(gray);
    document.layer("moved").filled({0, 0, 20, 20}, gray).offset(30, 30);
    document.layer("masked").filled({60, 0, 20, 40}, gray).mask(0).maskFilled({60, 0, 20, 20}, 255);
    document.layer("unseen").filled(gray).opacity(0);
    document.layer("hidden").filled(gray).hidden();
    document.layer("locked").filled(gray).locked();
    document.layer("clipped").filled(gray).clipped();
    EXPECT_EQ(hitName(document, {35, 35}), "clipped") << "what it clips to shows, locked or not";

    TestDocument other({100, 100});
    other.layer("low").filled(gray);
    other.layer("moved").filled({0, 0, 20, 20}, gray).offset(30, 30);
    other.layer("over").filled(gray).clipped();
    other.layer("masked").filled({60, 0, 20, 40}, gray).mask(0).maskFilled({60, 0, 20, 20}, 255);
    other.layer("unseen").filled(gray).opacity(0);
    other.layer("hidden").filled(gray).hidden();
    other.layer("locked").filled(gray).locked();
    EXPECT_EQ(hitName(other, {35.9, 49.5}), "over");
    EXPECT_EQ(hitName(other, {29.9, 35}), "low") << "the clipped layer ends with its base";
    EXPECT_EQ(hitName(other, {65, 5}), "masked");
    EXPECT_EQ(hitName(other, {65, 25}), "low");
    EXPECT_EQ(hitName(other, {100, 5}), "") << "beyond the canvas";
    EXPECT_EQ(hitName(other, {-0.1, 5}), "");
}

TEST(HitTest, findsTheOutermostGroup) {
    TestDocument document({100, 100});
    document.layer("low").filled(gray);
    document.group("outer").group("inner").layer("deep").filled({0, 0, 10, 10}, gray);
    EXPECT_EQ(hitName(document, {5, 5}), "deep");
    EXPECT_EQ(hitName(document, {5, 5}, HitKind::group), "outer");
    EXPECT_EQ(hitName(document, {50, 5}, HitKind::group), "low");
}

} // namespace ombrel
