#include "Tools/BrushForms.h"

#include "Core/Stored/DocumentForms.h"

#include <algorithm>
#include <array>

namespace ombrel::Stored {

template <>
struct Form<DynamicsControl> {
    static Json encode(DynamicsControl control) {
        return dynamicsControlNames[static_cast<std::size_t>(control)].rawValue;
    }
    static Result<DynamicsControl> decode(const Json& json) {
        if (json.is_string())
            for (const DynamicsControlName& name : dynamicsControlNames)
                if (json.get_ref<const std::string&>() == name.rawValue) return name.control;
        return expected("the name of a control");
    }
};

template <>
struct Fields<ShapeDynamics> {
    using Shape = ShapeDynamics;
    static constexpr std::tuple list{field("enabled", &Shape::enabled),
                                     field("sizeJitter", &Shape::sizeJitter),
                                     field("sizeControl", &Shape::sizeControl),
                                     field("minimumDiameter", &Shape::minimumDiameter),
                                     field("angleJitter", &Shape::angleJitter),
                                     field("angleControl", &Shape::angleControl),
                                     field("roundnessJitter", &Shape::roundnessJitter),
                                     field("roundnessControl", &Shape::roundnessControl),
                                     field("minimumRoundness", &Shape::minimumRoundness),
                                     field("fadeSteps", &Shape::fadeSteps)};
};

template <>
struct Fields<Scattering> {
    static constexpr std::tuple list{
        field("enabled", &Scattering::enabled), field("amount", &Scattering::amount),
        field("bothAxes", &Scattering::bothAxes), field("count", &Scattering::count),
        field("countJitter", &Scattering::countJitter)};
};

template <>
struct Fields<Transfer> {
    static constexpr std::tuple list{
        field("enabled", &Transfer::enabled), field("opacityJitter", &Transfer::opacityJitter),
        field("flowJitter", &Transfer::flowJitter), field("flowControl", &Transfer::flowControl)};
};

template <>
struct Fields<SprayDynamics> {
    using Spray = SprayDynamics;
    static constexpr std::tuple list{
        field("spread", &Spray::spread),      field("grain", &Spray::grain),
        field("spatter", &Spray::spatter),    field("dropSize", &Spray::dropSize),
        field("drips", &Spray::drips),        field("dripThreshold", &Spray::dripThreshold),
        field("runniness", &Spray::runniness)};
};

template <>
struct Fields<BrushPreset> {
    using Preset = BrushPreset;
    static constexpr std::tuple list{
        field("id", &Preset::id),
        field("name", &Preset::name),
        field("tipID", &Preset::tipID),
        field("size", &Preset::size),
        field("hardness", &Preset::hardness),
        field("angle", &Preset::angle),
        field("roundness", &Preset::roundness),
        field("spacing", &Preset::spacing),
        field("flow", &Preset::flow),
        field("smoothing", &Preset::smoothing),
        field("pressureControlsSize", &Preset::pressureControlsSize),
        field("pressureControlsOpacity", &Preset::pressureControlsOpacity),
        field("shape", &Preset::shape),
        field("scattering", &Preset::scattering),
        field("transfer", &Preset::transfer),
        field("spray", &Preset::spray)};
};

} // namespace ombrel::Stored

namespace ombrel {

namespace {

constexpr std::string_view behindName = "behind";
constexpr std::string_view clearName = "clear";

template <Stored::HasFields T>
T read(const Json& json);

template <typename Value>
void readInto(Value& value, const Json& json) {
    if constexpr (Stored::isOptional<Value>) {
        if (json.is_null()) return;
        if constexpr (Stored::HasFields<typename Value::value_type>) {
            if (json.is_object()) value = read<typename Value::value_type>(json);
        } else if (auto decoded = Stored::decode<typename Value::value_type>(json)) {
            value = std::move(*decoded);
        }
    } else if constexpr (Stored::HasFields<Value>) {
        value = read<Value>(json);
    } else if (auto decoded = Stored::decode<Value>(json)) {
        value = std::move(*decoded);
    }
}

/// Field by field, each by itself.
template <Stored::HasFields T>
T read(const Json& json) {
    T value{};
    if (!json.is_object()) return value;
    const auto readField = [&](const auto& field) {
        const auto found = json.find(field.key);
        if (found != json.end()) readInto(value.*field.member, *found);
    };
    std::apply([&](const auto&... fields) { (readField(fields), ...); }, Stored::Fields<T>::list);
    return value;
}

template <typename T>
std::optional<T> fieldOf(const Json& json, std::string_view key) {
    if (!json.is_object()) return std::nullopt;
    const auto found = json.find(key);
    if (found == json.end()) return std::nullopt;
    auto decoded = Stored::decode<T>(*found);
    return decoded ? std::optional(std::move(*decoded)) : std::nullopt;
}

} // namespace

BrushPreset brushPresetFrom(const Json& json) {
    BrushPreset preset = read<BrushPreset>(json).clamped();
    if (preset.id == Uuid{}) preset.id = Uuid::make();
    return preset;
}

Json storedBrushPreset(const BrushPreset& preset) {
    return Stored::encode(preset);
}

std::string_view rawValueOf(const PaintBlend& blend) {
    if (const auto* mode = std::get_if<PaintBlend::Blend>(&blend.value))
        return rawValueOf(mode->mode);
    return std::holds_alternative<PaintBlend::Behind>(blend.value) ? behindName : clearName;
}

std::optional<PaintBlend> paintBlendNamed(std::string_view rawValue) {
    if (rawValue == behindName) return PaintBlend{PaintBlend::Behind{}};
    if (rawValue == clearName) return PaintBlend{PaintBlend::Clear{}};
    for (const BlendModeName& name : blendModeNames)
        if (name.rawValue == rawValue && name.mode != BlendMode::passThrough)
            return PaintBlend{PaintBlend::Blend{name.mode}};
    return std::nullopt;
}

Json storedPaintBlend(const PaintBlend& blend) {
    return {{"value", rawValueOf(blend)}};
}

std::optional<PaintBlend> paintBlendFrom(const Json& json) {
    const auto value = fieldOf<std::string>(json, "value");
    return value ? paintBlendNamed(*value) : std::nullopt;
}

SavedBrushSettings SavedBrushSettings::from(const Json& json) {
    SavedBrushSettings saved;
    if (!json.is_object()) return saved;
    saved.preset = brushPresetFrom(json.value("preset", Json::object()));
    saved.opacity = std::clamp(fieldOf<double>(json, "opacity").value_or(1), 0.0, 1.0);
    saved.blend = paintBlendFrom(json.value("blend", Json())).value_or(PaintBlend{});
    saved.presetID = fieldOf<Uuid>(json, "presetID");
    return saved;
}

Json SavedBrushSettings::stored() const {
    Json json{{"preset", storedBrushPreset(preset)},
              {"opacity", Stored::encode(opacity)},
              {"blend", storedPaintBlend(blend)}};
    if (presetID) json["presetID"] = presetID->text();
    return json;
}

} // namespace ombrel
