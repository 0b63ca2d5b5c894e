#include "Base/Settings.h"

#include "Base/AtomicFile.h"
#include "Base/Log.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <thread>
#include <vector>

namespace ombrel {
namespace {

using test::TemporaryFolder;

std::string contents(const std::filesystem::path& path) {
    return readSmallFile(path, 1 << 20).value_or("(unreadable)");
}

TEST(Settings, readingBringsValuesIntoRangeAndOtherKindsCountAsAbsent) {
    const TemporaryFolder folder;
    const struct {
        const char* text;
        std::int64_t historyStates;
        double memoryFraction;
        std::string colorScheme;
    } cases[]{
        {R"({})", 50, 0.5, "system"},
        {R"({"historyStates": 77.9, "memoryFraction": 0.25, "colorScheme": "dark"})", 77, 0.25,
         "dark"},
        {R"({"historyStates": 1, "memoryFraction": 0.9, "colorScheme": "pink"})", 2, 0.8, "system"},
        {R"({"historyStates": 1e300, "memoryFraction": -1, "colorScheme": ""})", 1000, 0.2,
         "system"},
        {R"({"historyStates": "9", "memoryFraction": null, "colorScheme": 3})", 50, 0.5, "system"},
    };
    for (const auto& each : cases) {
        ASSERT_TRUE(writeFileAtomically(folder / "s.json", each.text));
        const Settings settings(folder / "s.json");
        EXPECT_EQ(settings.get(SettingKeys::historyStates), each.historyStates) << each.text;
        EXPECT_EQ(settings.get(SettingKeys::memoryFraction), each.memoryFraction) << each.text;
        EXPECT_EQ(settings.get(SettingKeys::colorScheme), each.colorScheme) << each.text;
        EXPECT_FALSE(settings.get(SettingKeys::zoomLocked));
        EXPECT_TRUE(settings.get(SettingKeys::trustedCodeEffects).empty());
    }
}

TEST(Settings, areWrittenSortedAndKeepKeysNobodyKnows) {
    const TemporaryFolder folder;
    const std::filesystem::path file = folder / "made/s.json";
    {
        Settings settings(file);
        settings.set(SettingKeys::zoomLocked, true);
        settings.set(SettingKeys::historyStates, 5000);
        settings.setJson("future", Json{{"b", 1}, {"a", 2}});
        EXPECT_FALSE(std::filesystem::exists(file)) << "written a moment later";
        ASSERT_TRUE(settings.save());
        // Another process adds a key; ours stay ours, its stay its.
        Json other = parseJson(contents(file)).value();
        other["theirs"] = 1;
        ASSERT_TRUE(writeFileAtomically(file, compactText(other)));
        settings.set(SettingKeys::zoomLocked, false);
        settings.setJson("future", Json());
    }
    EXPECT_EQ(contents(file),
              "{\n  \"historyStates\": 1000,\n  \"theirs\": 1,\n  \"zoomLocked\": false\n}\n");
    struct stat status{};
    ASSERT_EQ(::stat(file.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0700u);
}

TEST(Settings, areSavedByThemselvesAfterChanges) {
    const TemporaryFolder folder;
    Settings settings(folder / "s.json");
    for (int i = 0; i < 100; ++i)
        settings.set(SettingKeys::jpegQuality, i / 100.0);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!std::filesystem::exists(folder / "s.json")) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(Settings(folder / "s.json").get(SettingKeys::jpegQuality), 0.99);
}

TEST(Settings, aDamagedFileIsKeptAside) {
    const TemporaryFolder folder;
    std::vector<std::string> warnings;
    const LogCapture capture(LogLevel::warning, [&](LogLevel, std::string_view message) {
        warnings.emplace_back(message);
    });
    for (const char* text : {"{\"historyStates\": 9", "[]", ""}) {
        ASSERT_TRUE(writeFileAtomically(folder / "s.json", text));
        Settings settings(folder / "s.json");
        EXPECT_EQ(settings.get(SettingKeys::historyStates), 50);
        settings.set(SettingKeys::historyStates, 60);
        ASSERT_TRUE(settings.save());
        EXPECT_EQ(Settings(folder / "s.json").get(SettingKeys::historyStates), 60);
    }
    EXPECT_EQ(folder.names(), (std::vector<std::string>{"s.json", "s.json.damaged",
                                                        "s.json.damaged-2", "s.json.damaged-3"}));
    EXPECT_EQ(contents(folder / "s.json.damaged"), "{\"historyStates\": 9");
    ASSERT_EQ(warnings.size(), 3u);
    EXPECT_TRUE(warnings[0].starts_with("Settings unreadable: ")) << warnings[0];
}

TEST(Settings, aFileDamagedMeanwhileIsReplacedByEverythingKnown) {
    const TemporaryFolder folder;
    const LogCapture quiet(LogLevel::error, [](LogLevel, std::string_view) {});
    ASSERT_TRUE(writeFileAtomically(folder / "s.json", "{\"unknown\": 3, \"zoomLocked\": true}"));
    Settings settings(folder / "s.json");
    ASSERT_TRUE(writeFileAtomically(folder / "s.json", "\x01"));
    settings.set(SettingKeys::historyStates, 60);
    ASSERT_TRUE(settings.save());
    EXPECT_EQ(parseJson(contents(folder / "s.json")),
              parseJson(R"({"unknown": 3, "zoomLocked": true, "historyStates": 60})"));
}

TEST(Settings, whatCouldNotBeWrittenIsWrittenNextTime) {
    const TemporaryFolder folder;
    const LogCapture quiet(LogLevel::error, [](LogLevel, std::string_view) {});
    ASSERT_TRUE(writeFileAtomically(folder / "in the way", "x"));
    Settings settings(folder / "in the way/s.json");
    settings.set(SettingKeys::historyStates, 60);
    EXPECT_FALSE(settings.save());
    std::filesystem::remove(folder / "in the way");
    EXPECT_TRUE(settings.save());
    EXPECT_EQ(Settings(folder / "in the way/s.json").get(SettingKeys::historyStates), 60);
}

TEST(Settings, tellWhoeverWatchesAKey) {
    const TemporaryFolder folder;
    Settings settings(folder / "s.json");
    std::vector<Json> seen;
    const Connection connection = settings.onChange(
        "toolSettings.v1.brush", [&](const Json& value) { seen.push_back(value); });
    settings.setJson("toolSettings.v1.brush", Json{{"size", 3}});
    settings.setJson("toolSettings.v1.brush", Json{{"size", 3}}); // no change
    settings.setJson("toolSettings.v1.eraser", 1);
    settings.setJson("toolSettings.v1.brush", Json());
    settings.setJson("toolSettings.v1.brush", Json()); // no change
    EXPECT_EQ(seen, (std::vector<Json>{Json{{"size", 3}}, Json()}));
}

TEST(Settings, listsKeepTheirLastEntries) {
    const TemporaryFolder folder;
    Settings settings(folder / "s.json");
    std::vector<std::string> digests;
    for (int i = 0; i < 510; ++i)
        digests.push_back(std::to_string(i));
    settings.set(SettingKeys::trustedCodeEffects, digests);
    const std::vector<std::string> kept = settings.get(SettingKeys::trustedCodeEffects);
    ASSERT_EQ(kept.size(), 500u);
    EXPECT_EQ(kept.front(), "10");
    EXPECT_EQ(kept.back(), "509");
}

TEST(Settings, takeChangesFromManyThreads) {
    const TemporaryFolder folder;
    {
        Settings settings(folder / "s.json");
        std::vector<std::jthread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&settings, t] {
                for (int i = 0; i < 50; ++i) {
                    settings.setJson("key" + std::to_string(t), i);
                    if (i % 20 != 0) continue;
                    EXPECT_TRUE(settings.save());
                }
            });
        }
    }
    const Settings settings(folder / "s.json");
    for (int t = 0; t < 4; ++t)
        EXPECT_EQ(settings.json("key" + std::to_string(t)), 49);
}

} // namespace
} // namespace ombrel
