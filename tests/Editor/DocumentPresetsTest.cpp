#include "Editor/DocumentPresets.h"
#include "Editor/RecentFiles.h"

#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <map>

namespace ombrel {

TEST(DocumentPresets, paperIsMeasuredInPixelsOfItsResolution) {
    const std::map<std::string_view, PixelSize> expected{
        {"A4", {2480, 3508}}, {"Letter", {2550, 3300}}, {"4K UHD", {3840, 2160}}};
    std::size_t found = 0;
    for (const DocumentPreset& preset : documentPresets()) {
        const auto wanted = expected.find(preset.name);
        if (wanted == expected.end()) continue;
        EXPECT_EQ(preset.pixelSize(), wanted->second) << preset.name;
        ++found;
    }
    EXPECT_EQ(found, expected.size());
    EXPECT_EQ(wholePixelsOf(36, LengthUnit::points, 300), 150);
    EXPECT_EQ(wholePixelsOf(0, LengthUnit::millimeters, 300), 1);
    EXPECT_EQ(wholePixelsOf(1e9, LengthUnit::centimeters, 300), largestCanvasSide);
    for (const LengthUnitTraits& unit : lengthUnits())
        EXPECT_NEAR(pixelsOf(lengthOf(1234, unit.unit, 96), unit.unit, 96), 1234, 1e-9);
}

TEST(RecentFiles, theNewestComesFirstAndTheOldestGoes) {
    const test::TemporaryFolder folder;
    {
        Settings settings(folder / "settings.json");
        RecentFiles recent(settings);
        int changes = 0;
        const auto connection = recent.onChange([&] { ++changes; });
        for (int i = 0; i < 25; ++i)
            recent.note("/a ö/" + std::to_string(i));
        recent.note("/a ö/20");
        recent.forget("/a ö/24");
        EXPECT_EQ(changes, 27);
    }
    Settings settings(folder / "settings.json");
    const auto paths = RecentFiles(settings).paths();
    ASSERT_EQ(paths.size(), RecentFiles::maximumCount - 1);
    EXPECT_EQ(paths[0], "/a ö/20");
    EXPECT_EQ(paths[1], "/a ö/23");
    EXPECT_EQ(paths.back(), "/a ö/5");
}

} // namespace ombrel
