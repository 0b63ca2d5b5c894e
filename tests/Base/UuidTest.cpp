#include "Base/Uuid.h"

#include <gtest/gtest.h>

#include <thread>
#include <unordered_set>
#include <vector>

namespace ombrel {
namespace {

TEST(Uuid, readsWhatItWritesInEitherCase) {
    const Uuid uuid = Uuid::parse("00112233-4455-6677-8899-aabbccddeeff").value();
    EXPECT_EQ(uuid.text(), "00112233-4455-6677-8899-AABBCCDDEEFF");
    EXPECT_EQ(Uuid::parse(uuid.text()), uuid);
    EXPECT_EQ(uuid.bytes[0], 0x00);
    EXPECT_EQ(uuid.bytes[15], 0xFF);
}

TEST(Uuid, refusesOtherTexts) {
    for (const char* text :
         {"", "00112233-4455-6677-8899-aabbccddeef", "00112233-4455-6677-8899-aabbccddeefff",
          "00112233445566778899aabbccddeeff", "00112233-4455-6677-8899-aabbccddeefg",
          "00112233-4455-6677-88990aabbccddeeff", "{0112233-4455-6677-8899-aabbccddeeff",
          "001122334-455-6677-8899-aabbccddeeff"}) {
        EXPECT_FALSE(Uuid::parse(text)) << text;
    }
}

TEST(Uuid, newOnesAreOfVersionFourAndDifferAcrossThreads) {
    std::vector<std::vector<Uuid>> made(4);
    {
        std::vector<std::jthread> threads;
        for (std::vector<Uuid>& list : made) {
            threads.emplace_back([&list] {
                for (int i = 0; i < 500; ++i)
                    list.push_back(Uuid::make());
            });
        }
    }
    std::unordered_set<Uuid> distinct;
    for (const std::vector<Uuid>& list : made) {
        for (const Uuid& uuid : list) {
            EXPECT_EQ(uuid.bytes[6] >> 4, 4);
            EXPECT_EQ(uuid.bytes[8] >> 6, 2);
            EXPECT_EQ(Uuid::parse(uuid.text()), uuid);
            distinct.insert(uuid);
        }
    }
    EXPECT_EQ(distinct.size(), 2000u);
}

} // namespace
} // namespace ombrel
