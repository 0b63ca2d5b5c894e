#include "Core/Stored/EffectForms.h"

namespace ombrel::Stored {

namespace {

struct Sample {
    float x = 0;
    float y = 0;
};

struct SampledPath {
    std::vector<Sample> samples;
    std::optional<std::int64_t> drawnCount;
};

} // namespace

template <>
struct Fields<Sample> {
    static constexpr std::tuple list{field("x", &Sample::x), field("y", &Sample::y)};
};

template <>
struct Form<Sample> {
    static Result<Sample> decode(const Json& json) {
        if (json.is_object()) return RecordForm<Sample>::decode(json);
        if (!json.is_array()) {
            const Result<float> x = Stored::decode<float>(json);
            if (!x) return std::unexpected(x.error());
            return Sample{*x, 0};
        }
        const auto pair = Stored::decode<std::array<float, 2>>(json);
        if (!pair) return std::unexpected(pair.error());
        return Sample{(*pair)[0], (*pair)[1]};
    }
};

template <>
struct Fields<SampledPath> {
    static constexpr std::tuple list{field("samples", &SampledPath::samples),
                                     field("drawnCount", &SampledPath::drawnCount)};
};

Result<EffectPath> Form<EffectPath>::decode(const Json& json) {
    const bool isSampled = json.is_object() && json.contains("samples");
    if (!isSampled) return RecordForm<EffectPath>::decode(json);
    const Result<SampledPath> sampled = Stored::decode<SampledPath>(json);
    if (!sampled) return std::unexpected(sampled.error());
    EffectPath path;
    for (const Sample& sample : sampled->samples) {
        path.x.push_back(sample.x);
        path.y.push_back(sample.y);
    }
    path.drawnCount = sampled->drawnCount.value_or(std::ssize(sampled->samples));
    return path;
}

Result<EffectChoice> Form<EffectChoice>::decode(const Json& json) {
    Result<std::string> label = Stored::decode<std::string>(json);
    if (!label) return std::unexpected(std::move(label.error()));
    return EffectChoice{std::move(*label)};
}

} // namespace ombrel::Stored
