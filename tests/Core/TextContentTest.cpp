#include "Core/TextContent.h"

#include "Base/Utf8.h"
#include "TestSeed.h"
#include "support/RandomValues.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace ombrel {
namespace {

TextContent textOf(std::string string) {
    TextContent text;
    text.string = std::move(string);
    return text;
}

TEST(TextContent, theLayersNameComesFromItsFirstLine) {
    const std::string thirty(30, 'x');
    const std::string family = "👩‍👩‍👧"; // one character, of five code points
    std::string families;
    for (int i = 0; i < 31; ++i)
        families += family;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"Title\nmore", "Title"},
        {" \t spaced out \t", "spaced out"},
        {"\u00A0\u3000wide\u2003", "wide"},
        {"one\u2028two", "one"},
        {"one\u0085two", "one"},
        {"", "Text"},
        {"   ", "Text"},
        {"\nbelow", "Text"},
        {thirty, thirty},
        {"  " + thirty + " ", thirty},
        {thirty + "y", thirty + "…"},
        {families, families.substr(0, 30 * family.size()) + "…"},
        {std::string(29, 'e') + "e\u0301", std::string(29, 'e') + "e\u0301"},
    };
    for (const auto& [string, name] : cases)
        EXPECT_EQ(textOf(string).defaultName(), name) << string;
}

TEST(TextContent, effectiveRunsCoverTheWholeStringInOrder) {
    SCOPED_TRACE(fmt::format("OMBREL_TEST_SEED={}", testSeed()));
    RandomValues make(testSeed());
    for (int round = 0; round < 2000; ++round) {
        TextContent text = make.textContent();
        if (text.runs && !text.runs->empty() && make.chance(5))
            text.runs->front().length = INT64_MAX;
        std::int64_t covered = 0;
        for (const TextRun& run : text.effectiveRuns()) {
            ASSERT_EQ(run.location, covered);
            ASSERT_GT(run.length, 0);
            covered += run.length;
            // A unit shows the style of a run over it, or the text's own where there is none.
            bool isOver = false;
            bool isStyle = run.style == text.style;
            for (const TextRun& each : text.runs.value_or(std::vector<TextRun>())) {
                const bool covers =
                    each.location <= run.location && run.location - each.location < each.length;
                isOver = isOver || covers;
                isStyle = isStyle || (covers && each.style == run.style);
            }
            ASSERT_TRUE(isStyle);
            ASSERT_TRUE(isOver || run.style == text.style);
        }
        ASSERT_EQ(covered, Utf8::utf16Length(text.string));
    }
}

TEST(TextContent, gapsHaveTheTextsOwnStyle) {
    TextContent text = textOf("a🙂bcd"); // six units
    TextStyle large = text.style;
    large.size = 40;
    TextStyle larger = text.style;
    larger.size = 50;
    text.runs = {{3, 2, larger}, {1, 3, large}};
    const std::vector<TextRun> expected = {
        {0, 1, text.style}, {1, 3, large}, {4, 1, larger}, {5, 1, text.style}};
    EXPECT_EQ(text.effectiveRuns(), expected);
    EXPECT_EQ(text.maximumSize(), 50);
    EXPECT_EQ(textOf("").maximumSize(), 12);
    EXPECT_TRUE(textOf("").effectiveRuns().empty());
}

TEST(Utf8, anyBytesAreWalkedOver) {
    EXPECT_EQ(Utf8::utf16Length("aé漢🙂"), 5);
    EXPECT_EQ(Utf8::first("\xF0\x9F\x99\x82").value, U'🙂');
    for (const std::string_view broken :
         {"\x80", "\xC0\xAF", "\xED\xA0\x80", "\xF5\x80\x80\x80", "\xE2\x82", "\xC3("}) {
        EXPECT_EQ(Utf8::first(broken).value, 0xFFFDu) << broken;
        EXPECT_EQ(Utf8::first(broken).bytes, 1u) << broken;
    }
    EXPECT_EQ(Utf8::prefixLength("🇩🇪🇫🇷x", 1), 8u);
}

} // namespace
} // namespace ombrel
