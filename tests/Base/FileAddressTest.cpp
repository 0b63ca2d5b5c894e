#include "Base/FileAddress.h"

#include "TestSeed.h"

#include <gtest/gtest.h>

#include <random>

namespace ombrel {
namespace {

TEST(FileAddress, holdsAnyPathInPlainCharacters) {
    EXPECT_EQ(fileAddress("/home/é a%b.png"), "file:///home/%C3%A9%20a%25b.png");
    EXPECT_EQ(pathOfFileAddress("file://localhost/a%2fb"), "/a/b");
    std::mt19937_64 random(testSeed());
    for (int round = 0; round < 300; ++round) {
        std::string path = "/";
        for (std::uint64_t count = random() % 20; count > 0; --count)
            path += static_cast<char>(1 + random() % 255);
        const std::string address = fileAddress(path);
        for (const char c : address)
            EXPECT_TRUE(c > ' ' && c < 127);
        EXPECT_EQ(pathOfFileAddress(address), path);
    }
}

TEST(FileAddress, whatIsNoAddressOfALocalFileIsNone) {
    for (const char* text :
         {"", "/a", "file:", "file://", "file://host/a", "http:///a", "file:///%", "file:///%4",
          "file:///%4g", "file:///%00", "file:///% 1"})
        EXPECT_FALSE(pathOfFileAddress(text)) << text;
}

} // namespace
} // namespace ombrel
