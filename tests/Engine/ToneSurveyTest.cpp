// Small pictures and counts of tones, against the flattened picture.
#include "Engine/ToneSurvey.h"

#include "Engine/CpuDevice.h"
#include "Engine/Flattener.h"
#include "Engine/Kernels/CountTones.h"
#include "Engine/SmallPicture.h"
#include "RandomDocument.h"
#include "TestSeed.h"
#include "support/TestDocument.h"
#include "support/TestStore.h"

#include <gtest/gtest.h>

namespace ombrel {

namespace {

constexpr std::chrono::nanoseconds noTime{0};

/// Slice by slice, each as short as it can be.
int finish(auto& work) {
    for (int slices = 1; slices < 10'000; ++slices) {
        const auto result = work.advance(noTime);
        EXPECT_TRUE(result.has_value());
        if (!result || *result) return slices;
    }
    ADD_FAILURE() << "it does not come to an end";
    return 0;
}

const std::uint16_t* halvesOf(const FlatImage& image) {
    return reinterpret_cast<const std::uint16_t*>(image.bytes().data());
}

struct ToneSurveyTest : testing::Test {
    CpuDevice device;
    std::shared_ptr<TileStore> store = makeTestStore();
};

} // namespace

TEST_F(ToneSurveyTest, everyPixelIsCountedOnceWhateverTheSlices) {
    for (std::uint64_t round = 0; round < 4; ++round) {
        RandomDocument random(testSeed() + round, *store, {700, 333});
        const DocumentState state = random.make();
        const auto flat = Flattener::flatten(state, device, *store);
        ASSERT_TRUE(flat);
        ToneCounts expected;
        const PixelSize size = state.canvas.size;
        Kernels::countTones(halvesOf(*flat), static_cast<std::size_t>(size.width * size.height),
                            nullptr, luminanceWeightsOf(state.canvas.profile), expected);
        ToneSurvey survey(device, *store);
        for (const auto detail : {ToneSurvey::Detail::everyPixel, ToneSurvey::Detail::samples}) {
            survey.begin(ToneSurvey::merged(state), detail);
            finish(survey);
            EXPECT_EQ(survey.counts(), expected) << "so small, it is sampled as a whole";
            EXPECT_EQ(survey.pixelsOfSample(), 1);
        }
    }
}

TEST_F(ToneSurveyTest, aLargePictureIsSampledAndALayerIsCountedByItself) {
    const PremultipliedColor half{0.25f, 0.25f, 0.25f, 0.5f};
    DocumentState state = TestDocument({3000, 2000})
                              .layer("White")
                              .filled(PremultipliedColor::white())
                              .layer("Veil")
                              .filled(half)
                              .active()
                              .state();
    ToneSurvey survey(device, *store);
    survey.begin(ToneSurvey::merged(state), ToneSurvey::Detail::samples);
    finish(survey);
    EXPECT_EQ(survey.pixelsOfSample(), 16);
    EXPECT_EQ(survey.counts().pixelCount(), 750u * 500u);
    EXPECT_EQ(survey.counts().highlights(ToneChannel::red), 0u);
    survey.begin(ToneSurvey::layer(*state.activePixelLayer(), state.canvas),
                 ToneSurvey::Detail::everyPixel);
    finish(survey);
    EXPECT_EQ(survey.counts().pixelCount(), 6'000'000u);
    const auto figures = survey.counts().figuresOf(ToneChannel::luminance, ToneScale::linear);
    EXPECT_NEAR(figures.mean, 127.5, 0.1);
    EXPECT_NEAR(figures.median, 127.5, 0.1);
    EXPECT_LT(figures.deviation, 0.1);
}

TEST_F(ToneSurveyTest, aSmallPictureFollowsTheDocument) {
    DocumentState state = TestDocument({4000, 1000})
                              .layer("White")
                              .filled(PremultipliedColor::white())
                              .layer("A")
                              .active()
                              .state();
    SmallPicture small(device, *store);
    small.follow(state, 200);
    finish(small);
    auto picture = small.picture();
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->size(), (PixelSize{250, 62}));
    EXPECT_EQ(picture->pixel(200, 30), PremultipliedColor::white());
    // The left half becomes red, and only then does the picture.
    PixelLayer red = *state.activePixelLayer();
    red.pixels.fill({0, 0, 2000, 1000}, {1, 0, 0, 1}, *store);
    state.update(red.id, [&](LayerNode& node) { node = LayerNode(red); });
    EXPECT_EQ(small.picture()->pixel(20, 30), PremultipliedColor::white());
    small.follow(state, 200);
    finish(small);
    EXPECT_EQ(small.picture()->pixel(20, 30), (PremultipliedColor{1, 0, 0, 1}));
    EXPECT_EQ(small.picture()->pixel(200, 30), PremultipliedColor::white());
    small.follow(TestDocument({30, 3}).state(), 200);
    finish(small);
    EXPECT_EQ(small.picture()->size(), (PixelSize{30, 3}));
    small.follow(TestDocument({0, 0}).state(), 200);
    finish(small);
    EXPECT_FALSE(small.picture());
}

} // namespace ombrel
