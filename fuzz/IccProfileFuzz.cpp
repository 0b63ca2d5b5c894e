// Any bytes as the ICC profile of an image: reading it, making converters for every kind of
// samples and running a few pixels must neither crash nor leave the finite numbers.
#include "Base/Check.h"
#include "Core/ColorProfileReading.h"
#include "IO/SampleRows.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

using namespace ombrel;

namespace {

constexpr std::size_t pixelCount = 5;

std::vector<Half> linearised(SampleLayout layout, std::span<const std::byte> iccData) {
    const RowLineariser lineariser(layout, iccData);
    std::vector<std::byte> samples(pixelCount * layout.bytesPerPixel());
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::byte>(i * 73);
    std::vector<Half> pixels(4 * pixelCount);
    lineariser.convert(samples, pixels);
    for (const Half half : pixels)
        OMBREL_CHECK(std::isfinite(toFloat(half)), "converted pixels are finite");
    return pixels;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::span<const std::byte> iccData = std::as_bytes(std::span(data, size));
    const std::optional<ColorProfileReading> reading = readColorProfile(iccData);
    if (!reading) return 0;
    constexpr std::array models{SampleModel::gray, SampleModel::rgb, SampleModel::cmyk};
    const auto index = static_cast<std::size_t>(reading->model);
    if (index >= models.size()) return 0;
    const std::vector<Half> pixels =
        linearised({models[index], SampleType::unsigned8, AlphaKind::straight}, iccData);
    linearised({models[index], SampleType::float32, AlphaKind::none}, iccData);
    if (!reading->shaper) return 0;
    constexpr SampleLayout layout{SampleModel::rgb, SampleType::unsigned8, AlphaKind::none};
    std::vector<std::byte> samples(pixelCount * layout.bytesPerPixel());
    RowEncoder(ColorProfile("fuzzed", {iccData.begin(), iccData.end()}), layout)
        .convert(pixels, samples);
    return 0;
}
