#include "Base/IsoDate.h"

#include "TestSeed.h"

#include <gtest/gtest.h>

#include <random>

namespace ombrel {
namespace {

using std::chrono::milliseconds;

TEST(IsoDate, comesBackFromItsTextToTheMillisecond) {
    EXPECT_EQ(isoText(Date(milliseconds(0))), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(isoText(Date(milliseconds(-1))), "1969-12-31T23:59:59.999Z");
    EXPECT_EQ(isoText(Date(milliseconds(1709251199999))), "2024-02-29T23:59:59.999Z");
    EXPECT_EQ(isoText(Date::max()), "9999-12-31T23:59:59.999Z");
    EXPECT_EQ(isoText(Date::min()), "0000-01-01T00:00:00.000Z");
    std::mt19937_64 random(testSeed());
    std::uniform_int_distribution<std::int64_t> moments(-62'000'000'000'000, 253'000'000'000'000);
    for (int round = 0; round < 1000; ++round) {
        const Date date(milliseconds(moments(random)));
        EXPECT_EQ(parseIsoDate(isoText(date)), date) << isoText(date);
    }
    EXPECT_EQ(parseIsoDate(isoText(currentDate())).has_value(), true);
}

TEST(IsoDate, whatIsNoDateIsRefused) {
    for (const char* text :
         {"", "2024-02-29", "2024-02-29T23:59:59Z", "2023-02-29T00:00:00.000Z",
          "2024-13-01T00:00:00.000Z", "2024-01-00T00:00:00.000Z", "2024-01-01T24:00:00.000Z",
          "2024-01-01T00:60:00.000Z", "2024-01-01T00:00:60.000Z", "2024-01-01T00:00:00.000",
          "2024-01-01 00:00:00.000Z", "+024-01-01T00:00:00.000Z", "2024-01-01T00:00:00.000Z "})
        EXPECT_FALSE(parseIsoDate(text)) << text;
}

} // namespace
} // namespace ombrel
