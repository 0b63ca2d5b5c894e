#include "Editor/SwatchLibrary.h"

#include "Base/AtomicFile.h"
#include "Base/Log.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace ombrel {

TEST(SwatchLibrary, whatCannotBeReadIsNeverWrittenOver) {
    const test::TemporaryFolder folder;
    const std::filesystem::path file = folder / "swatches.json";
    std::vector<std::string> warnings;
    const LogCapture capture(LogLevel::warning, [&](LogLevel, std::string_view message) {
        warnings.emplace_back(message);
    });
    const auto changedAfterwards = [&] {
        SwatchLibrary library(file);
        EXPECT_EQ(library.sets().front().name, "Basics");
        library.setSets({{"Mine", {}}});
        library.finish();
        return SwatchLibrary(file).sets().front().name == "Mine";
    };
    ASSERT_TRUE(writeFileAtomically(file, "{\"sets\": 3}"));
    EXPECT_TRUE(changedAfterwards());
    ASSERT_TRUE(writeFileAtomically(file, "{\"sets\": ["));
    EXPECT_TRUE(changedAfterwards());
    std::filesystem::resize_file(file, 65 << 20); // more than is read
    EXPECT_TRUE(changedAfterwards());
    EXPECT_EQ(readSmallFile(folder / "swatches.json.damaged", 99), "{\"sets\": 3}");
    EXPECT_EQ(readSmallFile(folder / "swatches.json.damaged-2", 99), "{\"sets\": [");
    EXPECT_EQ(std::filesystem::file_size(folder / "swatches.json.damaged-3"), 65U << 20);
    ASSERT_EQ(warnings.size(), 3U);
    EXPECT_TRUE(warnings[0].starts_with("Swatches unreadable: ")) << warnings[0];
}

} // namespace ombrel
