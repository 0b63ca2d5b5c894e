#include "Tools/BrushForms.h"
#include "Tools/BuiltInBrushes.h"
#include "Tools/BuiltInTips.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <set>

namespace ombrel {

namespace {

BrushPreset roundTrip(const BrushPreset& preset) {
    return brushPresetFrom(*parseJson(compactText(storedBrushPreset(preset))));
}

} // namespace

TEST(BrushPreset, comesBackFromItsStoredForm) {
    for (BrushPreset preset : BuiltInBrushes::presets()) {
        EXPECT_EQ(roundTrip(preset), preset) << preset.name;
        preset.spray = SprayDynamics{.spread = 0.125, .drips = false};
        preset.shape.roundnessControl = DynamicsControl::initialDirection;
        EXPECT_EQ(roundTrip(preset), preset);
    }
    const Json json = storedBrushPreset(BuiltInBrushes::presets()[3]);
    EXPECT_EQ(json["shape"]["angleControl"], "direction");
    EXPECT_EQ(json["tipID"], "6B1E0C59-0A0B-4C1E-9D0A-000000000002");
    EXPECT_FALSE(json.contains("spray"));
}

TEST(BrushPreset, whatIsMissingOrWrongHasItsDefault) {
    const auto read = [](std::string_view text) { return brushPresetFrom(*parseJson(text)); };
    const BrushPreset defaults;
    for (const std::string_view text :
         {"{}", "[]", "null", R"({"size": "large", "shape": 7, "tipID": "none", "spray": null})",
          R"({"shape": {"sizeControl": "wind", "fadeSteps": 2.5}, "scattering": {"count": []}})"}) {
        const BrushPreset preset = read(text);
        EXPECT_TRUE(preset.paintsAs(defaults)) << text;
        EXPECT_NE(preset.id, Uuid{}) << text;
    }
    const BrushPreset wild = read(R"({"name": "Wild", "size": 1e9, "hardness": -4, "angle": 720,
        "roundness": 0, "spacing": -1, "flow": "nan", "smoothing": "inf",
        "shape": {"enabled": true, "fadeSteps": 0, "minimumRoundness": 9},
        "scattering": {"count": 100000000, "amount": "inf"}})");
    EXPECT_EQ(wild.name, "Wild");
    EXPECT_EQ(wild.size, 2000);
    EXPECT_EQ(wild.hardness, 0);
    EXPECT_EQ(wild.angle, 360);
    EXPECT_EQ(wild.roundness, 0.01);
    EXPECT_EQ(wild.spacing, 0.01);
    EXPECT_EQ(wild.flow, 1);
    EXPECT_EQ(wild.smoothing, 1);
    EXPECT_TRUE(wild.shape.enabled);
    EXPECT_EQ(wild.shape.fadeSteps, 1);
    EXPECT_EQ(wild.shape.minimumRoundness, 1);
    EXPECT_EQ(wild.scattering.count, 16);
}

TEST(PaintBlend, isOneWordInFiles) {
    std::set<std::string> words;
    std::vector<PaintBlend> all{{PaintBlend::Behind{}}, {PaintBlend::Clear{}}};
    for (const BlendModeName& name : blendModeNames)
        if (name.mode != BlendMode::passThrough) all.push_back({PaintBlend::Blend{name.mode}});
    for (const PaintBlend& blend : all) {
        const Json json = storedPaintBlend(blend);
        EXPECT_EQ(paintBlendFrom(json), blend);
        words.insert(json["value"].get<std::string>());
    }
    EXPECT_EQ(words.size(), all.size());
    EXPECT_FALSE(paintBlendFrom(Json{{"value", "passThrough"}}));
    EXPECT_FALSE(paintBlendFrom(Json("behind")));
}

TEST(BrushPreset, keepsHowABrushIsUsedWhenItIsPutOn) {
    BrushSettings settings;
    settings.opacity = 0.3;
    settings.blend = PaintBlend{PaintBlend::Clear{}};
    const BrushPreset& preset = BuiltInBrushes::presets()[7];
    preset.applyTo(settings, BuiltInBrushes::tip(*preset.tipID));
    EXPECT_EQ(settings.opacity, 0.3);
    EXPECT_EQ(settings.blend, PaintBlend{PaintBlend::Clear{}});
    EXPECT_EQ(settings.presetID, preset.id);
    EXPECT_TRUE(BrushPreset::of(settings, "Other name").paintsAs(preset));
}

TEST(BuiltInBrushes, tipsAreDrawnAlikeAndPaintNothingAtTheirRim) {
    for (std::size_t i = 0; i < BuiltInBrushes::tipCount; ++i) {
        const SharedBrushTip tip = BuiltInBrushes::tip(BuiltInBrushes::tipIDs().at(i));
        ASSERT_NE(tip, nullptr);
        ASSERT_EQ(tip->bytes.size(), 256U * 256U);
        EXPECT_EQ(tip->bytes, BuiltInTips::coverage(i, 256)) << "the same at each drawing";
        EXPECT_EQ(tip, BuiltInBrushes::tip(tip->id)) << "drawn once";
        for (std::size_t at = 0; at < 256; ++at)
            for (const std::size_t rim : {at, 255 * 256 + at, 256 * at, 256 * at + 255})
                ASSERT_EQ(tip->bytes[rim], 0) << i;
        EXPECT_GT(*std::ranges::max_element(tip->bytes), 200) << i;
        const double mean =
            std::accumulate(tip->bytes.begin(), tip->bytes.end(), 0.0) / (256 * 256);
        EXPECT_GT(mean, 5) << i;
        EXPECT_LT(mean, 140) << i;
    }
    EXPECT_EQ(BuiltInBrushes::tip(Uuid{}), nullptr);
}

} // namespace ombrel
