#include "Base/Base64.h"

#include "TestSeed.h"

#include <gtest/gtest.h>

#include <random>

namespace ombrel {
namespace {

std::vector<std::byte> bytesOf(std::string_view text) {
    std::vector<std::byte> bytes;
    for (const char c : text)
        bytes.push_back(static_cast<std::byte>(c));
    return bytes;
}

TEST(Base64, writesTheTextsOfItsStandard) {
    const std::pair<const char*, const char*> cases[] = {{"", ""},
                                                         {"f", "Zg=="},
                                                         {"fo", "Zm8="},
                                                         {"foo", "Zm9v"},
                                                         {"foob", "Zm9vYg=="},
                                                         {"fooba", "Zm9vYmE="},
                                                         {"foobar", "Zm9vYmFy"}};
    for (const auto& [plain, text] : cases) {
        EXPECT_EQ(base64Text(bytesOf(plain)), text);
        EXPECT_EQ(bytesOfBase64(text), bytesOf(plain));
    }
}

TEST(Base64, readsBackAnyBytes) {
    const std::uint64_t seed = testSeed();
    SCOPED_TRACE(seed);
    std::mt19937_64 random(seed);
    for (std::size_t size = 0; size < 200; ++size) {
        std::vector<std::byte> bytes(size);
        for (std::byte& byte : bytes)
            byte = static_cast<std::byte>(random());
        EXPECT_EQ(bytesOfBase64(base64Text(bytes)), bytes);
    }
}

TEST(Base64, refusesOtherTexts) {
    for (const char* text : {"Z", "Zg", "Zg=", "Zg===", "Zh==", "Zm9=", "Z===", "====", "Zg==Zg==",
                             "Zm 9", "Zm-_", "Zm9v\n", "Zm\xC3\xA9"}) {
        EXPECT_FALSE(bytesOfBase64(text)) << text;
    }
}

} // namespace
} // namespace ombrel
