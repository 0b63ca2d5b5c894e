#include "Core/ColorProfileText.h"

#include "TestSeed.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace ombrel {

namespace {

using Bytes = std::vector<std::byte>;

struct Words {
    std::string language; ///< "enUS"
    std::u16string text;
};

void append(Bytes& bytes, std::string_view text) {
    for (const char c : text)
        bytes.push_back(static_cast<std::byte>(c));
}

void append(Bytes& bytes, std::uint32_t value, int count) {
    for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::byte>(value >> shift));
}

Bytes manyLanguages(const std::vector<Words>& all) {
    Bytes tag;
    append(tag, "mluc");
    append(tag, 0, 4);
    append(tag, static_cast<std::uint32_t>(all.size()), 4);
    append(tag, 12, 4);
    auto offset = static_cast<std::uint32_t>(16 + 12 * all.size());
    for (const Words& words : all) {
        append(tag, words.language);
        const auto length = static_cast<std::uint32_t>(2 * words.text.size());
        append(tag, length, 4);
        append(tag, offset, 4);
        offset += length;
    }
    for (const Words& words : all) {
        for (const char16_t unit : words.text)
            append(tag, unit, 2);
    }
    return tag;
}

Bytes singleLine(std::string_view text, std::uint32_t claimedLength) {
    Bytes tag;
    append(tag, "desc");
    append(tag, 0, 4);
    append(tag, claimedLength, 4);
    append(tag, text);
    append(tag, 0, 4);
    return tag;
}

} // namespace

TEST(ColorProfileText, takesAmericanThenAnyEnglishThenTheFirst) {
    const Words german{"deDE", u"Bildschirm"};
    const Words british{"enGB", u"Colour screen"};
    const Words american{"enUS", u"Color screen"};
    EXPECT_EQ(textOfProfileTag(manyLanguages({german, british, american})), "Color screen");
    EXPECT_EQ(textOfProfileTag(manyLanguages({german, british})), "Colour screen");
    EXPECT_EQ(textOfProfileTag(manyLanguages({german, {"frFR", u"Écran"}})), "Bildschirm");
    EXPECT_EQ(textOfProfileTag(manyLanguages({german, {"enUS", u" "}})), "Bildschirm");
    EXPECT_EQ(textOfProfileTag(manyLanguages({})), "");
}

TEST(ColorProfileText, readsTheSingleLineOfVersionTwo) {
    EXPECT_EQ(textOfProfileTag(singleLine("Adobe RGB (1998)", 17)), "Adobe RGB (1998)");
    EXPECT_EQ(textOfProfileTag(singleLine("caf\xE9", 4)), "café");
    EXPECT_EQ(textOfProfileTag(singleLine("claims more", 4000000000u)), "claims more");
    EXPECT_EQ(textOfProfileTag(singleLine("claims less", 6)), "claims");
}

TEST(ColorProfileText, anyDamageGivesSomeText) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::mt19937_64 random(seed);
    const Bytes whole = manyLanguages({{"deDE", u"Farbe \xD83C\xDF08"}, {"enUS", u"Colour"}});
    for (int round = 0; round < 20000; ++round) {
        Bytes tag = whole;
        tag.resize(random() % (whole.size() + 1));
        for (std::size_t i = 0; i < random() % 8 && !tag.empty(); ++i)
            tag[random() % tag.size()] =
                static_cast<std::byte>(random() % 4 == 0 ? random() : 0xFF);
        ASSERT_LE(textOfProfileTag(tag).size(), 4u * 255);
    }
}

} // namespace ombrel
