#include "Core/ColorProfileReading.h"
#include "Core/LittleCms.h"
#include "IO/RowLanes.h"
#include "IO/RowLineariserPath.h"

#include <lcms2_plugin.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

// The colour engine runs a press profile at 1 to 2 million pixels a second in floats. Nearly all of
// them are the same three steps, curves, a table over four inks and curves, which this file runs
// on the profile's own numbers some ten times faster and to the same result.

namespace ombrel {

namespace {

using RowLanes::Floats;

// A sampled curve over 0 to 1; values between samples lie on lines.
class SampledCurve {
public:
    /// Multiplies what the curve gives by `gain`.
    SampledCurve(const cmsToneCurve* curve, float gain) {
        const cmsUInt16Number* samples = cmsGetToneCurveEstimatedTable(curve);
        const std::size_t count = cmsGetToneCurveEstimatedTableEntries(curve);
        values_.resize(std::max<std::size_t>(count, 2));
        for (std::size_t i = 0; i < count; ++i)
            values_[i] = static_cast<float>(samples[i]) / 65535.0f * gain;
        values_.push_back(values_.back()); // so that 1 has a right neighbour too
    }

    float operator()(float x) const {
        const float inUnit = x > 0 ? (x < 1 ? x : 1.0f) : 0.0f;
        const float position = inUnit * static_cast<float>(values_.size() - 2);
        const auto index = static_cast<std::size_t>(position);
        const float share = position - static_cast<float>(index);
        return values_[index] + (values_[index + 1] - values_[index]) * share;
    }

private:
    std::vector<float> values_;
};

struct Ink {
    SampledCurve curve; ///< to grid units
    std::size_t lastCell = 0;
    std::size_t stride = 0;
};

/// How the table's numbers, 0 to 1, stand for L*, a* and b*.
struct LabScale {
    Floats gain{};
    Floats offset{};
};

constexpr std::size_t inkCount = 4;
constexpr float v2Excess = 65535.0f / 65280.0f; // 16-bit Lab of version 2 ends at 0xFF00
const LabScale labOfVersion4{{100, 255, 255, 0}, {0, -128, -128, 0}};
const LabScale labOfVersion2{{100 * v2Excess, 255 * v2Excess, 255 * v2Excess, 0},
                             {0, -128, -128, 0}};

struct PressTable {
    std::vector<Ink> inks;
    std::vector<Floats> nodes;
    std::vector<SampledCurve> outputs; ///< empty when they change nothing
    LabScale scale;

    Floats labOf(const std::array<float, inkCount>& amounts) const;
};

struct Step {
    float share = 0;
    std::size_t stride = 0;
};

// Tetrahedral: from the cell's corner along its axes, the largest share first.
Floats tetrahedral(const Floats* corner, const std::array<Step, 3>& steps) {
    const Floats* at = corner;
    Floats sum = *at;
    for (const Step& step : steps) {
        const Floats* next = at + step.stride;
        sum += (*next - *at) * step.share;
        at = next;
    }
    return sum;
}

// Cells of four inks are cut as the colour engine cuts them: linear along the first ink,
// tetrahedral along the others.
Floats PressTable::labOf(const std::array<float, inkCount>& amounts) const {
    std::array<Step, inkCount> steps;
    std::size_t corner = 0;
    for (std::size_t i = 0; i < inkCount; ++i) {
        const Ink& ink = inks[i];
        const float position = ink.curve(amounts[i]);
        const std::size_t cell = std::min(static_cast<std::size_t>(position), ink.lastCell);
        corner += cell * ink.stride;
        steps[i] = {position - static_cast<float>(cell), ink.stride};
    }
    std::array<Step, 3> others{steps[1], steps[2], steps[3]};
    const auto order = [&others](std::size_t a, std::size_t b) {
        if (others[a].share < others[b].share) std::swap(others[a], others[b]);
    };
    order(0, 1);
    order(1, 2);
    order(0, 1);
    const Floats low = tetrahedral(nodes.data() + corner, others);
    const Floats high = tetrahedral(nodes.data() + corner + steps[0].stride, others);
    Floats value = low + (high - low) * steps[0].share;
    for (std::size_t i = 0; i < outputs.size(); ++i)
        value[i] = outputs[i](value[i]);
    return value * scale.gain + scale.offset;
}

class PressStep final : public ColorStep {
public:
    explicit PressStep(PressTable table) : table_(std::move(table)) {}

    void run(SampleBlock& block) const override {
        std::array<float, inkCount> last{-1, -1, -1, -1};
        std::array<float, 3> light{};
        for (std::size_t i = 0; i < block.count; ++i) {
            std::array<float, inkCount> amounts;
            for (std::size_t ink = 0; ink < inkCount; ++ink)
                amounts[ink] = block.planes[ink][i];
            if (amounts != last) {
                const Floats lab = table_.labOf(amounts);
                light = linearSRGBOfLab(lab[0], lab[1], lab[2]);
                last = amounts;
            }
            block.linear[i] = light;
        }
    }

private:
    PressTable table_;
};

struct Stages {
    std::span<cmsToneCurve*> inputs;
    const _cmsStageCLutData* table = nullptr;
    std::span<cmsToneCurve*> outputs;
};

std::span<cmsToneCurve*> curvesOf(const cmsStage* stage, std::size_t count) {
    if (stage == nullptr || cmsStageType(stage) != cmsSigCurveSetElemType) return {};
    const auto* data = static_cast<const _cmsStageToneCurvesData*>(cmsStageData(stage));
    if (data->nCurves != count) return {};
    return {data->TheCurves, count};
}

// Curves, a 16-bit table of four inks and curves, and nothing else.
std::optional<Stages> stagesOf(const cmsPipeline* pipeline) {
    if (pipeline == nullptr || cmsPipelineStageCount(pipeline) != 3) return std::nullopt;
    const cmsStage* first = cmsPipelineGetPtrToFirstStage(pipeline);
    const cmsStage* second = cmsStageNext(first);
    if (cmsStageType(second) != cmsSigCLutElemType) return std::nullopt;
    Stages stages;
    stages.inputs = curvesOf(first, inkCount);
    stages.outputs = curvesOf(cmsStageNext(second), 3);
    stages.table = static_cast<const _cmsStageCLutData*>(cmsStageData(second));
    const bool isWhole = !stages.inputs.empty() && !stages.outputs.empty();
    const bool fits = cmsStageInputChannels(second) == inkCount &&
                      cmsStageOutputChannels(second) == 3 && !stages.table->HasFloatValues;
    if (!isWhole || !fits) return std::nullopt;
    return stages;
}

std::optional<PressTable> tableOf(const Stages& stages, LabScale scale) {
    PressTable table;
    table.scale = scale;
    std::size_t stride = 1;
    for (std::size_t i = 0; i < inkCount; ++i)
        stride *= stages.table->Params->nSamples[i];
    if (stride * 3 != stages.table->nEntries) return std::nullopt;
    const std::span<const cmsUInt16Number> entries(stages.table->Tab.T, stride * 3);
    table.nodes.reserve(stride);
    const auto unit = [&entries](std::size_t i) { return static_cast<float>(entries[i]) / 65535; };
    for (std::size_t i = 0; i < entries.size(); i += 3)
        table.nodes.push_back(Floats{unit(i), unit(i + 1), unit(i + 2), 0});
    for (std::size_t i = 0; i < inkCount; ++i) { // the first ink varies slowest
        const std::size_t count = stages.table->Params->nSamples[i];
        if (count < 2) return std::nullopt;
        stride /= count;
        table.inks.push_back(
            {SampledCurve(stages.inputs[i], static_cast<float>(count - 1)), count - 2, stride});
    }
    const bool changeNothing = std::ranges::all_of(
        stages.outputs, [](const cmsToneCurve* curve) { return cmsIsToneCurveLinear(curve) != 0; });
    for (std::size_t i = 0; i < 3 && !changeNothing; ++i)
        table.outputs.emplace_back(stages.outputs[i], 1.0f);
    return table;
}

} // namespace

std::unique_ptr<ColorStep> makePressStep(std::span<const std::byte> iccData) {
    const LittleCms::Context context = LittleCms::makeContext();
    const LittleCms::Profile profile = LittleCms::openProfile(context, iccData);
    using LittleCms::HeaderField;
    if (profile == nullptr ||
        LittleCms::signatureOf(iccData, HeaderField::connectionSpace) != cmsSigLabData ||
        LittleCms::signatureOf(iccData, HeaderField::colorSpace) != cmsSigCmykData) {
        return nullptr;
    }
    if (cmsIsTag(profile.get(), cmsSigDToB1Tag)) return nullptr; // would go before
    const cmsTagSignature tag =
        cmsIsTag(profile.get(), cmsSigAToB1Tag) ? cmsSigAToB1Tag : cmsSigAToB0Tag;
    std::array<char, 4> type{};
    if (cmsReadRawTag(profile.get(), tag, type.data(), type.size()) == 0) return nullptr;
    const bool isVersion2 = std::string_view(type.data(), type.size()) == "mft2";
    const auto stages = stagesOf(static_cast<const cmsPipeline*>(cmsReadTag(profile.get(), tag)));
    if (!stages) return nullptr;
    std::optional<PressTable> table = tableOf(*stages, isVersion2 ? labOfVersion2 : labOfVersion4);
    if (!table) return nullptr;
    return std::make_unique<PressStep>(std::move(*table));
}

} // namespace ombrel
