#include "Base/AtomicFile.h"
#include "IO/ImageFormat.h"
#include "support/TestPlaces.h"

#include <fmt/core.h>
#include <gtest/gtest.h>

#include <string>

namespace ombrel {
namespace {

TEST(DesktopEntry, listsEveryFormatThatIsOpened) {
    const auto entry = readSmallFile(TestPlaces::packaging() / "ombrel.desktop", 1 << 20);
    ASSERT_TRUE(entry);
    const std::size_t begin = entry->find("\nMimeType=");
    ASSERT_NE(begin, std::string::npos);
    const std::string types =
        fmt::format(";{}", entry->substr(begin + 10, entry->find('\n', begin + 1) - begin - 10));
    EXPECT_NE(types.find(";application/x-ombrel;"), std::string::npos);
    for (const ImageFormatTraits& traits : imageFormats) {
        EXPECT_NE(types.find(fmt::format(";{};", traits.mimeType)), std::string::npos)
            << traits.displayName;
    }
}

} // namespace
} // namespace ombrel
