#include "Core/Stored/DocumentForms.h"

#include "TestSeed.h"

#include <bit>
#include <cmath>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace ombrel {
namespace {

Json json(std::string_view text) {
    return parseJson(text).value();
}

template <typename T>
std::string errorOf(std::string_view text) {
    const Stored::Result<T> value = Stored::decode<T>(json(text));
    return value ? "no error" : value.error().text();
}

TEST(StoredForm, numbersTakeTheFewestDigits) {
    EXPECT_EQ(compactText(Stored::encode(12.0)), "12");
    EXPECT_EQ(compactText(Stored::encode(0.1)), "0.1");
    EXPECT_EQ(compactText(Stored::encode(0.1f)), "0.1");
    EXPECT_EQ(compactText(Stored::encode(1.0f / 3)), "0.33333334");
    EXPECT_EQ(compactText(Stored::encode(-0.0)), "-0.0");
}

TEST(StoredForm, everyFloatReadsBackToItself) {
    SCOPED_TRACE(fmt::format("OMBREL_TEST_SEED={}", testSeed()));
    std::mt19937_64 random(testSeed());
    for (int i = 0; i < 20000; ++i) {
        const auto value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        const Json written = json(compactText(Stored::encode(value)));
        const float back = Stored::decode<float>(written).value();
        if (std::isnan(value))
            EXPECT_TRUE(std::isnan(back));
        else
            ASSERT_EQ(std::bit_cast<std::uint32_t>(back), std::bit_cast<std::uint32_t>(value));
    }
    constexpr float largest = std::numeric_limits<float>::max();
    EXPECT_EQ(Stored::decode<float>(Stored::encode(largest)).value(), largest);
}

TEST(StoredForm, everyDoubleReadsBackToItself) {
    SCOPED_TRACE(fmt::format("OMBREL_TEST_SEED={}", testSeed()));
    std::mt19937_64 random(testSeed());
    for (int i = 0; i < 20000; ++i) {
        const auto value = std::bit_cast<double>(random());
        const Json written = json(compactText(Stored::encode(value)));
        const double back = Stored::decode<double>(written).value();
        if (std::isnan(value))
            EXPECT_TRUE(std::isnan(back));
        else
            ASSERT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(value));
    }
}

TEST(StoredForm, numbersThatJsonHasNotAreWords) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(Stored::encode(infinity), "inf");
    EXPECT_EQ(Stored::encode(-infinity), "-inf");
    EXPECT_EQ(Stored::encode(std::nanf("")), "nan");
    EXPECT_EQ(Stored::decode<float>("-inf").value(), -std::numeric_limits<float>::infinity());
    EXPECT_EQ(Stored::decode<RealPoint>(json(R"(["inf", 2])")).value(), (RealPoint{infinity, 2}));
    EXPECT_EQ(errorOf<double>(R"("Infinity")"), "a number was expected");
}

TEST(StoredForm, numbersOutOfRangeAreErrors) {
    constexpr std::string_view outOfRange = "the number is out of range";
    EXPECT_EQ(errorOf<std::int64_t>("9223372036854775807"), "no error");
    for (const std::string_view number : {"9223372036854775808", "1e300", "-1e19", "1e19"})
        EXPECT_EQ(errorOf<std::int64_t>(number), outOfRange) << number;
    EXPECT_EQ(errorOf<std::int64_t>("1.5"), "a whole number was expected");
    EXPECT_EQ(errorOf<std::int64_t>("\"inf\""), "a whole number was expected");
    for (const std::string_view number : {"-1", "4294967296", "1e10"})
        EXPECT_EQ(errorOf<std::uint32_t>(number), outOfRange) << number;
    EXPECT_EQ(errorOf<float>("3.5e38"), outOfRange);
    EXPECT_EQ(errorOf<float>("-1e300"), outOfRange);
    EXPECT_EQ(errorOf<double>("1e300"), "no error");
}

TEST(StoredForm, whatEveryDocumentHasLooksAsFilesHaveIt) {
    const Uuid uuid = Uuid::parse("0f8fad5b-d9cb-469f-a165-70867728950e").value();
    EXPECT_EQ(Stored::encode(LayerID{uuid}),
              json(R"({"rawValue": "0F8FAD5B-D9CB-469F-A165-70867728950E"})"));
    EXPECT_EQ(Stored::encode(RealRect{{1, 2}, {3.5, 4}}), json("[[1, 2], [3.5, 4]]"));
    EXPECT_EQ(Stored::encode(AffineTransform{1, 2, 3, 4, 5, 6}), json("[1, 2, 3, 4, 5, 6]"));
    EXPECT_EQ(Stored::encode(PremultipliedColor{0.5f, 0, 0.25f, 1}),
              json(R"({"red": 0.5, "green": 0, "blue": 0.25, "alpha": 1})"));

    Canvas canvas;
    canvas.size = {640, 480};
    canvas.profile = ColorProfile("Mine", {std::byte{1}, std::byte{2}});
    EXPECT_EQ(compactText(Stored::encode(canvas)),
              R"({"bitDepth":"eight","blendUsingGamma1":false,)"
              R"("profile":{"iccData":"AQI=","name":"Mine"},"resolution":72,)"
              R"("size":{"height":480,"width":640}})");
    EXPECT_EQ(Stored::decode<Canvas>(Stored::encode(canvas)).value(), canvas);

    LayerProperties properties{.name = "Ä", .locks = LayerLocks::all, .opacity = 0.3f};
    properties.blendMode = BlendMode::linearBurn;
    EXPECT_EQ(compactText(Stored::encode(properties)),
              R"({"blendMode":"linearBurn","clipsToBelow":false,"isVisible":true,"locks":7,)"
              R"("name":"Ä","opacity":0.3})");
    EXPECT_EQ(Stored::decode<LayerProperties>(Stored::encode(properties)).value(), properties);
}

TEST(StoredForm, otherWaysToWriteDepthAndLocksAreRead) {
    for (const std::string_view text : {"32", "\"thirtyTwo\"", R"({"thirtyTwo": {}})"})
        EXPECT_EQ(Stored::decode<BitDepth>(json(text)).value(), BitDepth::thirtyTwo) << text;
    EXPECT_EQ(errorOf<BitDepth>("24"), "8, 16 or 32 was expected");
    EXPECT_EQ(Stored::decode<LayerLocks>(json(R"({"rawValue": 5})")).value(), LayerLocks{5});
    EXPECT_EQ(errorOf<LayerLocks>("256"), "the number is out of range");
}

TEST(StoredForm, errorsSayWhereAndWhat) {
    EXPECT_EQ(errorOf<Canvas>("[]"), "an object was expected");
    EXPECT_EQ(errorOf<Canvas>("{}"), "size: a value is missing");
    EXPECT_EQ(errorOf<Canvas>(R"({"size": {"width": 1, "height": true}})"),
              "size.height: a whole number was expected");
    EXPECT_EQ(errorOf<std::vector<RealRect>>("[[[1, 2], [3, 4]], [[1, 2], [3]]]"),
              "[1][1]: a list of 2 was expected");
    EXPECT_EQ(errorOf<BlendMode>("\"darker\""), "\"darker\" is not known here");
    EXPECT_EQ(errorOf<LayerID>(R"({"rawValue": "12"})"), "rawValue: a UUID was expected");
    EXPECT_EQ(errorOf<ColorProfile>(R"({"name": "", "iccData": "***"})"),
              "iccData: bytes in base64 was expected");
}

} // namespace
} // namespace ombrel
