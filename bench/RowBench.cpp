// Import's and export's colour conversion over rows in memory, one thread, beside memcpy of the
// same bytes in and out. Items are pixels.
#include "IO/SampleRows.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace ombrel {

namespace {

constexpr std::size_t pixelCount = 1 << 16; // some rows: what one call gets

struct NamedLayout {
    const char* name;
    SampleLayout layout;
};

constexpr auto rgb = SampleModel::rgb;
constexpr NamedLayout lineariserLayouts[] = {
    {"gray8", {SampleModel::gray, SampleType::unsigned8, AlphaKind::none}},
    {"rgb8", {rgb, SampleType::unsigned8, AlphaKind::none}},
    {"rgba8", {rgb, SampleType::unsigned8, AlphaKind::straight}},
    {"rgba8premultiplied", {rgb, SampleType::unsigned8, AlphaKind::premultiplied}},
    {"rgb16", {rgb, SampleType::unsigned16, AlphaKind::none}},
    {"rgba16", {rgb, SampleType::unsigned16, AlphaKind::straight}},
    {"rgbHalf", {rgb, SampleType::half, AlphaKind::none}},
    {"rgbFloat", {rgb, SampleType::float32, AlphaKind::none}},
    {"cmyk8", {SampleModel::cmyk, SampleType::unsigned8, AlphaKind::none}},
    {"lab", {SampleModel::lab, SampleType::float32, AlphaKind::none}},
};
constexpr NamedLayout encoderLayouts[] = {
    {"rgb8", {rgb, SampleType::unsigned8, AlphaKind::none}},
    {"rgba8", {rgb, SampleType::unsigned8, AlphaKind::straight}},
    {"rgb16", {rgb, SampleType::unsigned16, AlphaKind::none}},
    {"rgba16", {rgb, SampleType::unsigned16, AlphaKind::straight}},
    {"rgbHalf", {rgb, SampleType::half, AlphaKind::none}},
    {"rgbFloat", {rgb, SampleType::float32, AlphaKind::none}},
};

enum class Alpha { opaque, mixed };

float alphaAt(std::size_t pixel, Alpha alpha) {
    return alpha == Alpha::opaque ? 1.0f : static_cast<float>(pixel * 37 % 256) / 255.0f;
}

// A photograph's neighbourhood: values drift instead of jumping.
std::vector<std::byte> makeSamples(const SampleLayout& layout, Alpha alpha) {
    std::mt19937 random(7);
    std::vector<std::byte> bytes(pixelCount * layout.bytesPerPixel());
    const auto channels = static_cast<std::size_t>(layout.channelCount());
    float value = 0.5f;
    for (std::size_t i = 0; i < pixelCount * channels; ++i) {
        value = std::min(0.98f,
                         std::max(0.02f, value + static_cast<float>(random() % 65) / 640 - 0.05f));
        const bool isAlpha = layout.alpha != AlphaKind::none && i % channels == channels - 1;
        const float sample = isAlpha ? alphaAt(i / channels, alpha) : value;
        const std::size_t size = layout.bytesPerSample();
        const auto put = [&](const auto& stored) {
            std::memcpy(bytes.data() + i * size, &stored, sizeof stored);
        };
        if (layout.type == SampleType::unsigned8) put(static_cast<std::uint8_t>(sample * 255));
        if (layout.type == SampleType::unsigned16) put(static_cast<std::uint16_t>(sample * 65535));
        if (layout.type == SampleType::half) put(toHalf(sample));
        if (layout.type == SampleType::float32) put(sample);
    }
    return bytes;
}

std::vector<Half> makePixels(Alpha alpha) {
    std::mt19937 random(7);
    std::vector<Half> pixels(pixelCount * 4);
    float value = 0.3f;
    for (std::size_t i = 0; i < pixelCount; ++i) {
        const float a = alphaAt(i, alpha);
        for (std::size_t channel = 0; channel < 3; ++channel) {
            value = std::min(
                0.98f, std::max(0.02f, value + static_cast<float>(random() % 65) / 640 - 0.05f));
            pixels[4 * i + channel] = toHalf(value * a);
        }
        pixels[4 * i + 3] = toHalf(a);
    }
    return pixels;
}

void countPixels(benchmark::State& state, std::size_t bytesPerPixel) {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pixelCount));
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(pixelCount * (bytesPerPixel + 8)));
}

void linearise(benchmark::State& state, SampleLayout layout, Alpha alpha) {
    const std::vector<std::byte> samples = makeSamples(layout, alpha);
    std::vector<Half> pixels(pixelCount * 4);
    const RowLineariser lineariser(layout, {});
    for (auto _ : state) {
        lineariser.convert(samples, pixels);
        benchmark::DoNotOptimize(pixels.data());
        benchmark::ClobberMemory();
    }
    countPixels(state, layout.bytesPerPixel());
}

void encode(benchmark::State& state, SampleLayout layout, Alpha alpha) {
    const std::vector<Half> pixels = makePixels(alpha);
    std::vector<std::byte> samples(pixelCount * layout.bytesPerPixel());
    const RowEncoder encoder(ColorProfile::sRGB(), layout);
    for (auto _ : state) {
        encoder.convert(pixels, samples);
        benchmark::DoNotOptimize(samples.data());
        benchmark::ClobberMemory();
    }
    countPixels(state, layout.bytesPerPixel());
}

void makeLineariser(benchmark::State& state, SampleLayout layout) {
    for (auto _ : state) {
        const RowLineariser lineariser(layout, ColorProfile::adobeRGB().iccData());
        benchmark::DoNotOptimize(&lineariser);
    }
}

void makeEncoder(benchmark::State& state, SampleLayout layout) {
    for (auto _ : state) {
        const RowEncoder encoder(ColorProfile::adobeRGB(), layout);
        benchmark::DoNotOptimize(&encoder);
    }
}

// The limit: a pixel's halves copied, its samples read or written besides.
void copyPixels(benchmark::State& state) {
    const std::vector<Half> source = makePixels(Alpha::opaque);
    std::vector<Half> target(source.size());
    for (auto _ : state) {
        std::memcpy(static_cast<void*>(target.data()), source.data(), source.size() * sizeof(Half));
        benchmark::DoNotOptimize(target.data());
        benchmark::ClobberMemory();
    }
    countPixels(state, 8);
}

const int registered = [] {
    for (const NamedLayout& named : lineariserLayouts) {
        const std::string name = std::string("Rows/linearise/") + named.name;
        benchmark::RegisterBenchmark(name.c_str(), linearise, named.layout, Alpha::opaque);
        if (named.layout.alpha != AlphaKind::none) {
            benchmark::RegisterBenchmark((name + "/translucent").c_str(), linearise, named.layout,
                                         Alpha::mixed);
        }
    }
    for (const NamedLayout& named : encoderLayouts) {
        const std::string name = std::string("Rows/encode/") + named.name;
        benchmark::RegisterBenchmark(name.c_str(), encode, named.layout, Alpha::opaque);
        benchmark::RegisterBenchmark((name + "/translucent").c_str(), encode, named.layout,
                                     Alpha::mixed);
    }
    for (const std::size_t i : {1u, 4u}) {
        const NamedLayout& named = lineariserLayouts[i];
        benchmark::RegisterBenchmark((std::string("Rows/make/linearise/") + named.name).c_str(),
                                     makeLineariser, named.layout);
        benchmark::RegisterBenchmark((std::string("Rows/make/encode/") + named.name).c_str(),
                                     makeEncoder, named.layout);
    }
    benchmark::RegisterBenchmark("Rows/memcpy", copyPixels);
    return 0;
}();

} // namespace

} // namespace ombrel
