// Palette files by hand: each format, and what is wrong with them.
#include "IO/SwatchReader.h"

#include "TestSeed.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace ombrel {

namespace {

using Kind = SwatchError::Kind;

/// Bytes as big-endian formats have them.
class Bytes {
public:
    Bytes& word(int value) { return number(static_cast<std::uint32_t>(value), 2); }
    Bytes& words(std::initializer_list<int> values) {
        for (const int value : values)
            word(value);
        return *this;
    }
    Bytes& longWord(std::uint32_t value) { return number(value, 4); }
    Bytes& real(float value) { return longWord(std::bit_cast<std::uint32_t>(value)); }
    Bytes& text(std::string_view text) {
        for (const char c : text)
            bytes_.push_back(static_cast<std::byte>(c));
        return *this;
    }
    Bytes& utf16(std::u16string_view text) {
        for (const char16_t unit : text)
            word(unit);
        return word(0);
    }
    Bytes& append(const Bytes& other) {
        bytes_.insert(bytes_.end(), other.bytes_.begin(), other.bytes_.end());
        return *this;
    }
    const std::vector<std::byte>& all() const { return bytes_; }

private:
    Bytes& number(std::uint32_t value, int count) {
        for (int shift = 8 * (count - 1); shift >= 0; shift -= 8)
            bytes_.push_back(static_cast<std::byte>(value >> shift));
        return *this;
    }

    std::vector<std::byte> bytes_;
};

SwatchReader::Result readText(std::string_view text) {
    return SwatchReader::read(std::as_bytes(std::span(text)), "File");
}

std::string codeOf(const Swatch& swatch) {
    std::string code;
    for (const double channel : {swatch.color.red, swatch.color.green, swatch.color.blue}) {
        const long byte = std::lround(255 * channel);
        for (const long digit : {byte / 16, byte % 16})
            code.push_back("0123456789ABCDEF"[digit]);
    }
    return code;
}

/// "FF0000 Red, 00FF00"
std::string listOf(const SwatchSet& set) {
    std::string list;
    for (const Swatch& swatch : set.swatches) {
        list += list.empty() ? "" : ", ";
        list += codeOf(swatch);
        if (swatch.name.empty()) continue;
        list += ' ';
        list += swatch.name;
    }
    return list;
}

void expectError(const SwatchReader::Result& result, Kind kind) {
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, kind) << result.error().text();
}

const std::initializer_list<std::initializer_list<int>> adobeColors{
    {0, 65535, 0, 0, 0},      {1, 21845, 65535, 65535, 0}, {2, 0, 65535, 65535, 65535},
    {7, 10000, 0, 0, 0},      {8, 5000, 0, 0, 0},          {9, 0, 10000, 10000, 0},
    {7, 5429, 8081, 6989, 0}, // red in Lab under D50
};
constexpr const char* adobeCodes = "FF0000, 00FF00, 00FFFF, FFFFFF, 808080, FF0000, FF0000";

Bytes adobeSection(int version, bool hasNames) {
    Bytes bytes;
    bytes.words({version, static_cast<int>(adobeColors.size())});
    for (const auto& color : adobeColors) {
        bytes.words(color);
        if (hasNames) bytes.longWord(4).utf16(u"Gr\u00FC");
    }
    return bytes;
}

Bytes exchangeFile() {
    const auto block = [](int kind, const Bytes& content) {
        return Bytes()
            .word(kind)
            .longWord(static_cast<std::uint32_t>(content.all().size()))
            .append(content);
    };
    Bytes file;
    file.text("ASEF").words({1, 0}).longWord(5);
    file.append(block(
        1, Bytes().word(4).utf16(u"Ink").text("CMYK").real(0).real(1).real(1).real(0).word(0)));
    file.append(block(0xC001, Bytes().word(3).utf16(u"Up")));
    file.append(block(
        1, Bytes().word(3).utf16(u"\U0001F600").text("RGB ").real(0).real(0.5f).real(NAN).word(2)));
    file.append(block(0xC002, {}));
    file.append(block(1, Bytes().word(1).utf16(u"").text("Gray").real(0.25f).word(0)));
    return file;
}

} // namespace

TEST(SwatchReader, adobeColorFilesOfBothVersions) {
    const Bytes first = adobeSection(1, false);
    auto sets = SwatchReader::read(first.all(), "File");
    ASSERT_TRUE(sets);
    EXPECT_EQ(listOf((*sets)[0]), adobeCodes);
    EXPECT_EQ((*sets)[0].name, "File");
    // With names in a second section; and with that alone.
    const Bytes second = adobeSection(2, true);
    for (const Bytes& file : {Bytes(first).append(second), second}) {
        sets = SwatchReader::read(file.all(), "File");
        ASSERT_TRUE(sets);
        ASSERT_EQ((*sets)[0].swatches.size(), 7u);
        EXPECT_EQ((*sets)[0].swatches[1].name, "Grü");
        EXPECT_EQ(codeOf((*sets)[0].swatches[6]), "FF0000");
    }
    // A damaged second section leaves the first.
    Bytes half = Bytes(first).append(second);
    const auto cut = std::span(half.all()).first(half.all().size() - 9);
    sets = SwatchReader::read(cut, "File");
    ASSERT_TRUE(sets);
    EXPECT_EQ(listOf((*sets)[0]), adobeCodes);
    expectError(SwatchReader::read(std::span(first.all()).first(20), "File"), Kind::truncated);
    expectError(SwatchReader::read(Bytes().words({1, 1, 3, 0, 0, 0, 0}).all(), "F"), Kind::empty);
    expectError(
        SwatchReader::read(Bytes().words({2, 1, 0, 0, 0, 0, 0}).longWord(0xFFFFFFFF).all(), "F"),
        Kind::truncated);
}

TEST(SwatchReader, swatchExchangeFilesAndTheirGroups) {
    const Bytes file = exchangeFile();
    const auto sets = SwatchReader::read(file.all(), "File");
    ASSERT_TRUE(sets);
    ASSERT_EQ(sets->size(), 2u);
    EXPECT_EQ((*sets)[0].name, "File");
    EXPECT_EQ(listOf((*sets)[0]), "FF0000 Ink, 404040");
    EXPECT_EQ((*sets)[1].name, "Up");
    EXPECT_EQ(listOf((*sets)[1]), "008000 \U0001F600");
    for (std::size_t length = 0; length < file.all().size(); ++length) {
        const auto cut = SwatchReader::read(std::span(file.all()).first(length), "File");
        EXPECT_FALSE(cut) << length;
    }
}

TEST(SwatchReader, colorTables) {
    std::vector<std::byte> table(768, std::byte{255});
    table[3] = std::byte{0};
    auto sets = SwatchReader::read(table, "Web");
    ASSERT_TRUE(sets);
    EXPECT_EQ((*sets)[0].swatches.size(), 256u);
    EXPECT_EQ(codeOf((*sets)[0].swatches[1]), "00FFFF");
    const auto ending = [&](int count) {
        auto ended = table;
        const Bytes end = Bytes().words({count, 0xFFFF});
        ended.insert(ended.end(), end.all().begin(), end.all().end());
        return SwatchReader::read(ended, "Web");
    };
    EXPECT_EQ(ending(2)->front().swatches.size(), 2u);
    EXPECT_EQ(ending(0)->front().swatches.size(), 256u);
    expectError(ending(257), Kind::damaged);
}

TEST(SwatchReader, palettesThatAreText) {
    const auto listed = [](std::string_view text) {
        const auto sets = readText(text);
        return sets ? sets->front().name + ": " + listOf(sets->front())
                    : "error " + sets.error().text();
    };
    EXPECT_EQ(listed("GIMP Palette\r\nName: My Colors\r\nColumns: 4\r\n# note\r\n\r\n"
                     "255   0   0\tFire red\r\n  0 128 255 Untitled\r\n1 2 3\r\n"),
              "My Colors: FF0000 Fire red, 0080FF, 010203");
    EXPECT_EQ(listed("\xEF\xBB\xBFGIMP Palette\n1 2 3 Gr\xFCn"), "File: 010203 Grün");
    EXPECT_EQ(listed("JASC-PAL\n0100\n2\n255 0 0\n0 0 255\nmore\n"), "File: FF0000, 0000FF");
    EXPECT_EQ(listed("; mine\n#ff8000 Orange\n0x00ff00\n\n  FF102030,\nabcdef;\n"),
              "File: FF8000 Orange, 00FF00, 102030, ABCDEF");
    for (const char* wrong : {"GIMP Palette\n1 2\n", "GIMP Palette\n1 2 256\n", "GIMP Palette\nx\n",
                              "JASC-PAL\n0100\n-1\n", "JASC-PAL\n0100\n1\n1 2 x\n"})
        expectError(readText(wrong), Kind::damaged);
    expectError(readText("JASC-PAL\n0100\n3\n1 2 3\n"), Kind::truncated);
    expectError(readText("JASC-PAL\n0100\n99999999\n"), Kind::damaged);
    expectError(readText("GIMP Palette\nName: none\n"), Kind::empty);
    for (const char* other : {"", "\n\n", "words", "#12345", "12345G", "<html>", "\x89PNG\r\n"})
        expectError(readText(other), Kind::unknownFormat);
}

TEST(SwatchReader, whatIsWrittenComesBack) {
    std::mt19937 random(static_cast<unsigned>(testSeed()));
    SwatchSet set{"Two\nlines", {}};
    for (int i = 0; i < 300; ++i) {
        const auto byte = [&] { return static_cast<double>(random() % 256) / 255; };
        set.swatches.push_back({i % 2 == 0 ? "" : "Name # 1 2 3", {byte(), byte(), byte()}});
    }
    const auto sets = readText(SwatchWriter::gimpPalette(set));
    ASSERT_TRUE(sets);
    EXPECT_EQ((*sets)[0].name, "Two lines");
    EXPECT_EQ((*sets)[0].swatches, set.swatches);
}

TEST(SwatchReader, changedBytesNeverDoHarm) {
    std::mt19937 random(static_cast<unsigned>(testSeed()));
    const std::vector<std::vector<std::byte>> files{
        exchangeFile().all(), adobeSection(1, false).append(adobeSection(2, true)).all()};
    for (int round = 0; round < 4000; ++round) {
        auto bytes = files[random() % files.size()];
        for (unsigned i = random() % 6; i > 0; --i)
            bytes[random() % bytes.size()] = static_cast<std::byte>(random());
        bytes.resize(random() % (bytes.size() + 1));
        const auto sets = SwatchReader::read(bytes, "File");
        if (!sets) continue;
        for (const SwatchSet& read : *sets)
            for (const Swatch& swatch : read.swatches)
                ASSERT_TRUE(swatch.color.red >= 0 && swatch.color.blue <= 1);
    }
}

} // namespace ombrel
