#include "Editor/BrushPresetStore.h"
#include "Base/AtomicFile.h"
#include "Base/Log.h"
#include "Base/MainExecutor.h"
#include "Editor/BrushTipFile.h"
#include "Editor/BrushTipImport.h"
#include "Tools/BuiltInBrushes.h"
#include "support/SmallDisk.h"
#include "support/TemporaryFolder.h"
#include "support/TestStore.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace ombrel {

namespace {

using Names = std::vector<std::string>;

struct BrushPresetStoreTest : ::testing::Test {
    BrushPresetStoreTest() { open(); }

    void open() {
        store.reset();
        store = std::make_unique<BrushPresetStore>(folder / "presets", main);
    }
    Uuid add(const std::string& name, double size = 10) {
        BrushPreset preset;
        preset.name = name;
        preset.size = size;
        return store->add(preset);
    }
    Names names() const {
        Names names;
        for (const BrushPreset& preset : *store->_userPresets)
            names.push_back(preset.name);
        return names;
    }
    void writeFile(const std::string& name, std::string_view text) {
        store.reset();
        std::filesystem::create_directories(folder / "presets");
        ASSERT_TRUE(writeFileAtomically(folder / "presets" / name, text));
    }

    MainExecutor main;
    test::TemporaryFolder folder;
    std::unique_ptr<BrushPresetStore> store;
    Names warnings;
    LogCapture log{LogLevel::warning, [this](LogLevel /*level*/, std::string_view message) {
                       warnings.emplace_back(message);
                   }};
};

BrushTipImage someTip(std::uint8_t value = 200) {
    return {Uuid::make(), 3, 2, {value, 1, 2, 3, 4, 255}};
}

} // namespace

TEST_F(BrushPresetStoreTest, brushesOfTheUserOutliveTheProgramInTheirOrder) {
    EXPECT_EQ(store->presets(), BuiltInBrushes::presets());
    EXPECT_FALSE(std::filesystem::exists(folder / "presets")) << "nothing is written by looking";
    int changes = 0;
    const Connection heard = store->_userPresets.onChange([&](const auto&) { ++changes; });
    const Uuid first = add("Ink");
    const Uuid second = add("  Ink\n", 5000);
    const Uuid third = add("");
    store->rename(first, "Chalk");
    store->move(third, 0);
    EXPECT_EQ(names(), (Names{"Brush", "Chalk 2", "Ink 2"})) << "no name twice";
    EXPECT_EQ(store->find(second)->size, 2000);
    BrushPreset soft = BuiltInBrushes::presets()[0];
    store->replace(second, soft);
    EXPECT_EQ(store->find(second)->hardness, 0);
    EXPECT_EQ(store->find(second)->name, "Ink 2");
    store->remove(third);
    EXPECT_EQ(changes, 7);
    store->remove(third);
    store->remove(soft.id);
    store->rename(soft.id, "Mine");
    store->move(first, 99);
    EXPECT_EQ(changes, 8) << "built-in ones stay, and what is gone is gone";
    const std::vector<BrushPreset> before = *store->_userPresets;
    open();
    EXPECT_EQ(*store->_userPresets, before);
    EXPECT_EQ(names(), (Names{"Ink 2", "Chalk 2"}));
    EXPECT_TRUE(warnings.empty());
}

TEST_F(BrushPresetStoreTest, tipsAreKeptAndShared) {
    const BrushTipImage image = someTip();
    const SharedBrushTip tip = store->addTip(image, "Leaf");
    EXPECT_EQ(store->addTip({Uuid::make(), 3, 2, image.bytes}, "Leaf again"), tip);
    EXPECT_EQ(store->_userTips->size(), 1U);
    store->addTip(someTip(7), "Other");
    open();
    EXPECT_EQ(*store->tip(image.id), image);
    EXPECT_EQ(store->tip(image.id), store->tip(image.id));
    EXPECT_EQ(store->_userTips->front(), (BrushPresetStore::TipName{image.id, "Leaf"}));
    EXPECT_NE(store->tip(BuiltInBrushes::tipIDs()[2]), nullptr);
    EXPECT_EQ(store->tip(Uuid::make()), nullptr);
    writeFile("tips/" + image.id.text() + ".pgm", "P5 9 9 255 cut");
    open();
    EXPECT_EQ(store->tip(image.id), nullptr);
    EXPECT_EQ(store->tip(image.id), nullptr);
    EXPECT_EQ(warnings.size(), 1U);
}

TEST_F(BrushPresetStoreTest, aDamagedFileIsKeptAsideWithAWarning) {
    for (const std::string_view text : {"{\"presets\": [", "[1]", "\xFF"}) {
        writeFile("brushes.json", text);
        open();
        EXPECT_TRUE(store->_userPresets->empty());
        add("New");
        ASSERT_TRUE(store->flush());
    }
    store.reset();
    EXPECT_EQ(warnings.size(), 3U);
    EXPECT_TRUE(warnings.front().starts_with("Brush presets unreadable: ")) << warnings.front();
    EXPECT_TRUE(std::filesystem::exists(folder / "presets" / "brushes.json.damaged-3"));
    EXPECT_EQ(readSmallFile(folder / "presets" / "brushes.json.damaged", 99), "{\"presets\": [");
    // What is odd within a sound file is read as far as it goes.
    const std::string id = Uuid::make().text();
    writeFile("brushes.json", R"({"presets": [7, {"name": "A", "id": ")" + id + R"("}, {"id": ")" +
                                  id + R"(", "size": "x"}], "tips": [{}, 3]})");
    open();
    EXPECT_EQ(names(), (Names{"A", "Brush"}));
    EXPECT_NE(store->_userPresets->front().id, store->_userPresets->back().id);
    EXPECT_EQ(warnings.size(), 3U);
}

TEST_F(BrushPresetStoreTest, aFullDiskIsToldAndTheOldFileStays) {
    const test::SmallDisk disk(1);
    if (!disk.isMounted()) GTEST_SKIP() << "may not mount";
    store = std::make_unique<BrushPresetStore>(disk.folder() / "presets", main);
    add("Kept");
    ASSERT_TRUE(store->flush());
    {
        std::ofstream filler(disk.folder() / "filler");
        filler << std::string(2 << 20, 'x');
    }
    const SharedBrushTip tip = store->addTip(someTip(), "Tip");
    add("Lost for now");
    EXPECT_FALSE(store->flush());
    main.runPending();
    EXPECT_TRUE(store->_problem->starts_with("Couldn't save presets: ")) << *store->_problem;
    EXPECT_FALSE(warnings.empty());
    EXPECT_EQ(store->_userPresets->size(), 2U) << "the window still has it";
    {
        const BrushPresetStore other(disk.folder() / "presets", main);
        EXPECT_EQ(other._userPresets->size(), 1U);
    }
    std::filesystem::remove(disk.folder() / "filler");
    add("Third");
    EXPECT_TRUE(store->flush());
    main.runPending();
    EXPECT_EQ(*store->_problem, "");
    BrushPresetStore other(disk.folder() / "presets", main);
    EXPECT_EQ(other._userPresets->size(), 3U);
    EXPECT_EQ(*other.tip(tip->id), *tip) << "written when there was room again";
    store.reset();
}

TEST(BrushTipFile, refusesWhatIsNoTip) {
    const BrushTipImage tip = someTip();
    const std::string text = BrushTipFile::textOf(tip);
    EXPECT_EQ(BrushTipFile::parse(text, tip.id), tip);
    for (std::size_t length = 0; length < text.size(); ++length)
        EXPECT_FALSE(BrushTipFile::parse(text.substr(0, length), tip.id)) << length;
    for (const std::string_view bad :
         {"P5\n3 2\n65535\n123456", "P5 -3 -2 255\n123456", "P5 99999999999999999999 1 255\n",
          "P5 4294967296 4294967296 255\n", "P2 3 2 255\n123456", "P5 3 2 255\n1234567"})
        EXPECT_FALSE(BrushTipFile::parse(bad, tip.id)) << bad;
}

TEST(BrushTipImport, darkPaintsAndMarginsAreCutOff) {
    const auto tiles = makeTestStore();
    ImportedImage image;
    image.size = {300, 40};
    image.pixels.fill({0, 0, 300, 40}, PremultipliedColor::white(), *tiles);
    image.pixels.fill({250, 10, 20, 5}, PremultipliedColor::black(), *tiles);
    image.pixels.fill({270, 10, 1, 5}, {0.2140F, 0.2140F, 0.2140F, 1}, *tiles);
    const auto tip = brushTipOf(image, *tiles);
    ASSERT_TRUE(tip);
    EXPECT_EQ(tip->width, 21);
    EXPECT_EQ(tip->height, 5);
    EXPECT_EQ(tip->bytes.front(), 255);
    EXPECT_NEAR(tip->bytes[20], 128, 1) << "half as dark to the eye";
    // With transparency the colour does not matter.
    image.pixels.fill({0, 0, 300, 40}, PremultipliedColor::transparent(), *tiles);
    image.pixels.fill({20, 20, 8, 8}, PremultipliedColor{0.5F, 0.5F, 0.5F, 0.5F}, *tiles);
    const auto byOpacity = brushTipOf(image, *tiles);
    ASSERT_TRUE(byOpacity);
    EXPECT_EQ(byOpacity->bytes, std::vector<std::uint8_t>(64, 128));
    image.pixels = TileGrid(TileFormat::rgba16Float);
    EXPECT_FALSE(brushTipOf(image, *tiles)) << "nothing would paint";
}

TEST(BrushTipImport, aLargePictureComesDownToTheLargestSide) {
    const auto tiles = makeTestStore();
    ImportedImage image;
    image.size = {6000, 1500};
    image.pixels.fill({0, 0, 6000, 1500}, PremultipliedColor::white(), *tiles);
    image.pixels.fill({0, 0, 3000, 1500}, PremultipliedColor::black(), *tiles);
    image.pixels.fill({5999, 1499, 1, 1}, PremultipliedColor::black(), *tiles);
    const auto tip = brushTipOf(image, *tiles);
    ASSERT_TRUE(tip);
    EXPECT_EQ(tip->width, 1024);
    EXPECT_EQ(tip->height, 256);
    EXPECT_EQ(tip->bytes[100 * 1024 + 500], 255);
    EXPECT_EQ(tip->bytes[100 * 1024 + 524], 0);
    const auto missing = importBrushTip("/nowhere/tip.png", *tiles);
    ASSERT_FALSE(missing);
    EXPECT_FALSE(missing.error().empty());
}

} // namespace ombrel
