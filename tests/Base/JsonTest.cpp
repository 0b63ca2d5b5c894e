#include "Base/Json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace ombrel {
namespace {

TEST(Json, isWrittenWithSortedKeys) {
    const Json json{{"zeta", 1}, {"alpha", {{"b", true}, {"a", nullptr}}}, {"name", "Ü\xFF"}};
    EXPECT_EQ(compactText(json), R"({"alpha":{"a":null,"b":true},"name":"Ü�","zeta":1})");
    EXPECT_EQ(indentedText(Json{{"b", 1}, {"a", 2}}), "{\n  \"a\": 2,\n  \"b\": 1\n}");
    EXPECT_EQ(compactText(Json(NAN)), "null");
}

TEST(Json, tellsWhereATextIsDamaged) {
    EXPECT_EQ(parseJson("{\"a\": [1, 2]}").value()["a"][1], 2);
    EXPECT_EQ(parseJson("{\n  \"a\": 1,\n  b\n}").error().message,
              "line 3, column 3: not valid JSON");
    for (const char* text :
         {"", "{", "[1,]", "{\"a\":1}}", "nul", "\"\xFF\"", "1e999999", "// x", "[\"\\ud800\"]"}) {
        EXPECT_FALSE(parseJson(text)) << text;
    }
}

TEST(Json, boundsTheDepth) {
    const auto nested = [](std::size_t depth) {
        return std::string(depth, '[') + "\"[[\\\"[[\"" + std::string(depth, ']');
    };
    EXPECT_TRUE(parseJson(nested(256)));
    EXPECT_FALSE(parseJson(nested(257)));
    EXPECT_FALSE(parseJson(nested(2000000)));
    EXPECT_FALSE(parseJson(std::string(2000000, '['))) << "unbalanced";
}

TEST(Json, gettersNameTheFieldThatIsWrong) {
    const Json json = parseJson(R"({"t": true, "i": 3, "w": 4.0, "f": 2.5, "s": "x", "l": [1],
        "o": {}, "n": null, "u": 18446744073709551615, "e": 1e300})")
                          .value();
    EXPECT_EQ(boolField(json, "t"), true);
    EXPECT_EQ(integerField(json, "i"), 3);
    EXPECT_EQ(integerField(json, "w"), 4);
    EXPECT_EQ(numberField(json, "i"), 3.0);
    EXPECT_EQ(numberField(json, "f"), 2.5);
    EXPECT_EQ(stringField(json, "s"), "x");
    EXPECT_EQ(arrayField(json, "l")->get().size(), 1u);
    EXPECT_TRUE(objectField(json, "o")->get().empty());
    EXPECT_TRUE(hasField(json, "o"));
    EXPECT_FALSE(hasField(json, "n"));

    EXPECT_EQ(boolField(json, "i").error().message, "field \"i\" is neither true nor false");
    EXPECT_EQ(integerField(json, "f").error().message, "field \"f\" is no whole number");
    EXPECT_EQ(integerField(json, "u").error().message, "field \"u\" is too large");
    EXPECT_EQ(integerField(json, "e").error().message, "field \"e\" is too large");
    EXPECT_EQ(integerField(json, "s").error().message, "field \"s\" is no number");
    EXPECT_EQ(numberField(json, "t").error().message, "field \"t\" is no number");
    EXPECT_EQ(stringField(json, "x").error().message, "field \"x\" is missing");
    EXPECT_EQ(arrayField(json, "o").error().message, "field \"o\" is no list");
    EXPECT_EQ(objectField(json, "l").error().message, "field \"l\" is no object");
    EXPECT_EQ(numberField(Json(3), "x").error().message, "field \"x\" is missing");
}

} // namespace
} // namespace ombrel
