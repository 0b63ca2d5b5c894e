#include "Core/Stored/BoardForms.h"
#include "Core/Stored/EffectForms.h"
#include "Core/Stored/ShapeForms.h"
#include "Core/Stored/TextForms.h"

#include "TestSeed.h"
#include "support/RandomValues.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace ombrel {
namespace {

using Numbers = RandomValues::Numbers;

constexpr int rounds = 300;

Json json(std::string_view text) {
    return parseJson(text).value();
}

/// Calls visit(value) with a value of every kind that files hold.
template <typename Visit>
void visitOneOfEach(RandomValues& make, Visit&& visit) {
    visit(make.gradient());
    visit(make.effect());
    visit(make.path());
    visit(make.shape());
    visit(make.textContent());
    visit(make.instance());
    visit(make.properties());
}

/// What reading a file gives back for what was written into it.
template <typename T>
Stored::Result<T> throughText(const T& value) {
    return Stored::decode<T>(json(compactText(Stored::encode(value))));
}

TEST(StoredValues, whatIsWrittenIsReadBack) {
    SCOPED_TRACE(fmt::format("OMBREL_TEST_SEED={}", testSeed()));
    RandomValues make(testSeed());
    for (int round = 0; round < rounds; ++round) {
        visitOneOfEach(make, []<typename T>(const T& value) {
            const Stored::Result<T> back = throughText(value);
            ASSERT_TRUE(back) << back.error().text();
            ASSERT_EQ(*back == value, true) << compactText(Stored::encode(value));
        });
    }
}

TEST(StoredValues, numbersThatAreNotFiniteSurviveAnywhere) {
    SCOPED_TRACE(fmt::format("OMBREL_TEST_SEED={}", testSeed()));
    RandomValues make(testSeed(), Numbers::any);
    std::string all;
    for (int round = 0; round < rounds; ++round) {
        visitOneOfEach(make, [&]<typename T>(const T& value) {
            const Json written = Stored::encode(value);
            const Stored::Result<T> back = throughText(value);
            ASSERT_TRUE(back) << back.error().text() << " in " << compactText(written);
            ASSERT_EQ(compactText(Stored::encode(*back)), compactText(written));
            all += compactText(written);
        });
    }
    for (const std::string_view word : {"\"inf\"", "\"-inf\"", "\"nan\""})
        EXPECT_NE(all.find(word), std::string::npos) << word;
}

TEST(StoredValues, everyKindOfEffectIsReadBack) {
    RandomValues make(testSeed());
    for (std::size_t kind = 0; kind < effectKindNames.size(); ++kind) {
        const Effect effect = make.effect(static_cast<EffectKind>(kind));
        EXPECT_EQ(Stored::encode(effect)["kind"], effectKindNames[kind]);
        EXPECT_EQ(throughText(effect).value(), effect);
    }
}

Json& anyPlaceIn(Json& whole, RandomValues& make) {
    Json* place = &whole;
    while (place->is_structured() && !place->empty() && !make.chance(15)) {
        auto next = place->begin();
        std::advance(next, make.below(place->size()));
        place = &*next;
    }
    return *place;
}

void damage(Json& whole, RandomValues& make) {
    static const std::vector<Json> others = {nullptr,
                                             true,
                                             -1,
                                             1e300,
                                             UINT64_MAX,
                                             INT64_MIN,
                                             "",
                                             "nan",
                                             "foreground",
                                             Json::array(),
                                             Json::object(),
                                             json(R"({"_0": []})"),
                                             json(R"({"foreground": {}, "background": {}})"),
                                             json("[1, 2]"),
                                             json(R"({"custom": {"_0": {}}})")};
    Json& place = anyPlaceIn(whole, make);
    if (place.is_object() && !place.empty() && make.chance(50)) {
        auto field = place.begin();
        std::advance(field, make.below(place.size()));
        place.erase(field);
    } else {
        place = others[make.below(others.size())];
    }
}

TEST(StoredValues, damagedJsonIsAnErrorOrAnotherValue) {
    SCOPED_TRACE(fmt::format("OMBREL_TEST_SEED={}", testSeed()));
    RandomValues make(testSeed(), Numbers::any);
    int refused = 0;
    for (int round = 0; round < 4 * rounds; ++round) {
        visitOneOfEach(make, [&]<typename T>(const T& value) {
            Json written = Stored::encode(value);
            damage(written, make);
            const Stored::Result<T> back = Stored::decode<T>(written);
            refused += back ? 0 : 1;
            if (!back) {
                EXPECT_FALSE(back.error().words.empty());
                return;
            }
            const std::string rewritten = compactText(Stored::encode(*back));
            EXPECT_EQ(compactText(Stored::encode(throughText(*back).value())), rewritten);
        });
    }
    EXPECT_GT(refused, rounds);
}

TEST(StoredValues, damagedTextNeverGetsPastAsMoreThanAnError) {
    SCOPED_TRACE(fmt::format("OMBREL_TEST_SEED={}", testSeed()));
    RandomValues make(testSeed(), Numbers::any);
    static constexpr std::string_view bytes = "{}[]\",:0123456789eE+-.ntfu_\\ \x80\xFF";
    for (int round = 0; round < 4 * rounds; ++round) {
        visitOneOfEach(make, [&]<typename T>(const T& value) {
            std::string text = compactText(Stored::encode(value));
            for (std::size_t count = 1 + make.below(3); count > 0; --count)
                text[make.below(text.size())] = bytes[make.below(bytes.size())];
            const auto parsed = parseJson(text);
            if (!parsed) return;
            const Stored::Result<T> back = Stored::decode<T>(*parsed);
            EXPECT_TRUE(back || !back.error().words.empty());
        });
    }
}

TEST(StoredValues, unionsLookAsFilesHaveThem) {
    EXPECT_EQ(Stored::encode(EffectValue{12.0}), json(R"({"number": {"_0": 12}})"));
    EXPECT_EQ(Stored::encode(EffectValue{EffectChoice{"Dots"}}),
              json(R"({"choice": {"_0": "Dots"}})"));
    EXPECT_EQ(Stored::encode(EffectValue{std::string("a")}), json(R"({"text": {"_0": "a"}})"));
    EXPECT_EQ(Stored::encode(EffectValue{EffectPoint{0.5, 1}}),
              json(R"({"point": {"_0": {"x": 0.5, "y": 1}}})"));
    EXPECT_EQ(
        Stored::encode(GradientDefinition::StopColor{GradientDefinition::StopColor::Background{}}),
        json(R"({"background": {}})"));
    EXPECT_EQ(Stored::encode(TextContent::Kind{}), json(R"({"point": {}})"));
    EXPECT_EQ(Stored::encode(TextContent::Kind{TextContent::Paragraph{{3, 4}}}),
              json(R"({"paragraph": {"_0": [3, 4]}})"));
    EXPECT_EQ(Stored::encode(ShapeContent::Geometry{ShapeContent::Rectangle{{{1, 2}, {3, 4}}, 5}}),
              json(R"({"rectangle": {"_0": [[1, 2], [3, 4]], "cornerRadius": 5}})"));
    EXPECT_EQ(Stored::encode(ShapeContent::Geometry{ShapeContent::Ellipse{{{1, 2}, {3, 4}}}}),
              json(R"({"ellipse": {"_0": [[1, 2], [3, 4]]}})"));
    EXPECT_EQ(Stored::encode(ShapeContent::Geometry{VectorPath{}}),
              json(R"({"path": {"_0": {"subpaths": []}}})"));
    EXPECT_EQ(Stored::encode(ShapeContent::Geometry{ShapeContent::Line{{1, 2}, {3, 4}, 5, {}}}),
              json(R"({"line": {"from": [1, 2], "to": [3, 4], "weight": 5, "arrows":
                      {"start": false, "end": false, "width": 5, "length": 10}}})"));
    EXPECT_EQ(Stored::encode(ShapeContent::Geometry{ShapeContent::Polygon{{1, 2}, 3, 5, 0, 0.5}}),
              json(R"({"polygon": {"center": [1, 2], "radius": 3, "sides": 5, "rotation": 0,
                      "starInset": 0.5}})"));
    EXPECT_EQ(Stored::encode(ShapeGradient::Geometry{ShapeGradient::Radial{{1, 2}, 3, {4, 5}, 6}}),
              json(R"({"radial": {"center": [1, 2], "radius": 3, "focus": [4, 5],
                      "focusRadius": 6}})"));
}

TEST(StoredValues, whatIsAbsentIsLeftOut) {
    EXPECT_EQ(compactText(Stored::encode(ShapeContent{})),
              R"({"antiAlias":true,"geometry":{"rectangle":{"_0":[[0,0],[0,0]],)"
              R"("cornerRadius":0}}})");
    InstanceContent instance{.source = {}, .transform = {}, .sourceSize = {1, 2}};
    instance.composite = TileGrid(TileFormat::rgba16Float);
    const Json written = Stored::encode(instance);
    EXPECT_EQ(written.size(), 3u);
    EXPECT_EQ(written["transform"], json(R"({"matrix": [1, 0, 0, 0, 1, 0, 0, 0, 1]})"));
    EXPECT_FALSE(Stored::decode<InstanceContent>(written).value().composite);
}

TEST(StoredValues, aUnionHasExactlyOneKey) {
    constexpr std::string_view words = "Invalid number of keys found, expected one.";
    using StopColor = GradientDefinition::StopColor;
    for (const Json& wrong : {json("{}"), json(R"({"foreground": {}, "background": {}})")}) {
        EXPECT_EQ(Stored::decode<StopColor>(wrong).error().text(), words);
        EXPECT_EQ(Stored::decode<EffectValue>(wrong).error().text(), words);
        EXPECT_EQ(Stored::decode<ShapeContent::Geometry>(wrong).error().text(), words);
        EXPECT_EQ(Stored::decode<TextContent::Kind>(wrong).error().text(), words);
    }
    Effect effect = Effect::make(EffectKind::blur, 0);
    Json written = Stored::encode(effect);
    written["params"]["values"]["radius"] = json(R"({"number": {"_0": "x"}})");
    EXPECT_EQ(Stored::decode<Effect>(written).error().text(),
              "params.values.radius.number._0: a number was expected");
    written["kind"] = "swirl";
    EXPECT_EQ(Stored::decode<Effect>(written).error().text(), "kind: \"swirl\" is not known here");
}

TEST(StoredValues, otherWritingsAreRead) {
    const EffectPath path{{1, 2}, {3, 4}, 2};
    for (const std::string_view text :
         {R"({"x": [1, 2], "y": [3, 4], "drawnCount": 2})", R"({"samples": [[1, 3], [2, 4]]})",
          R"({"samples": [{"x": 1, "y": 3}, {"x": 2, "y": 4}], "drawnCount": 2})"})
        EXPECT_EQ(Stored::decode<EffectPath>(json(text)).value(), path) << text;
    EXPECT_EQ(
        Stored::decode<Homography>(json(R"({"matrix": [[1, 2, 3], [4, 5, 6], [7, 8, "inf"]]})"))
            .value()
            .matrix[5],
        6);
    Json stop = Stored::encode(GradientDefinition::ColorStop{});
    stop.erase("midpoint");
    stop["of a later time"] = 1;
    EXPECT_EQ(Stored::decode<GradientDefinition::ColorStop>(stop).value().midpoint, 0.5);
}

} // namespace
} // namespace ombrel
