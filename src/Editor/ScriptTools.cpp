#include "Editor/ScriptTools.h"

#include "Commands/Coding/ColorCodecs.h"
#include "Core/ProfileConversion.h"
#include "Tools/BuiltInBrushes.h"

#include <algorithm>
#include <fmt/format.h>

namespace ombrel {

namespace {

struct ModifierName {
    ToolModifiers modifier;
    std::string_view name;
};

constexpr std::array<ModifierName, 5> modifierNames{{{ToolModifiers::shift, "shift"},
                                                     {ToolModifiers::option, "option"},
                                                     {ToolModifiers::command, "command"},
                                                     {ToolModifiers::control, "control"},
                                                     {ToolModifiers::capsLock, "capsLock"}}};

const BrushPreset* presetNamed(std::string_view name) {
    const auto& presets = BuiltInBrushes::presets();
    const auto found = std::ranges::find(presets, name, &BrushPreset::name);
    return found == presets.end() ? nullptr : &*found;
}

std::string namesOfPresets() {
    std::string names;
    for (const BrushPreset& preset : BuiltInBrushes::presets())
        names += fmt::format("{}\"{}\"", names.empty() ? "" : ", ", preset.name);
    return names;
}

SharedBrushTip tipOf(const BrushPreset& preset) {
    return preset.tipID ? BuiltInBrushes::tip(*preset.tipID) : nullptr;
}

Decoded<SharedBrushTip> tipNamed(const std::string& name, Decoder& in) {
    if (name == "round") return nullptr;
    if (const BrushPreset* preset = presetNamed(name)) return tipOf(*preset);
    const auto id = Uuid::parse(name);
    SharedBrushTip tip = id ? BuiltInBrushes::tip(*id) : nullptr;
    if (tip == nullptr)
        return in.mustBe("\"round\", the identifier of a tip or one of " + namesOfPresets());
    return tip;
}

} // namespace

PointerDevice ScriptEvent::deviceUsed() const {
    return device.value_or(pressure || tilt ? PointerDevice::pen : PointerDevice::mouse);
}

Decoded<ScriptBrush> ScriptBrush::decode(const Json& json, Decoder& in,
                                         const BrushSettings& present) {
    ScriptBrush brush{.preset = {}, .tip = {}, .settings = present};
    // A preset comes first, whatever the order of the fields.
    if (const Json* name = fieldOf(json, "preset"); name != nullptr && name->is_string()) {
        const BrushPreset* preset = presetNamed(name->get_ref<const std::string&>());
        const Decoder::Place place(in, "preset");
        if (preset == nullptr) return in.mustBe("one of " + namesOfPresets());
        preset->applyTo(brush.settings, tipOf(*preset));
    }
    auto read =
        RecordCodec<ScriptBrush>::decodeOnto(std::move(brush), json, in, Completion::allKept);
    if (!read || !read->tip) return read;
    const Decoder::Place place(in, "tip");
    auto tip = tipNamed(*read->tip, in);
    if (!tip) return std::unexpected(std::move(tip.error()));
    read->settings.tipImage = *std::move(tip);
    return read;
}

Json FieldCodec<ToolModifiers>::encode(const ToolModifiers& modifiers) {
    Json names = Json::array();
    for (const ModifierName& each : modifierNames)
        if (modifiers.contains(each.modifier)) names.push_back(each.name);
    return names;
}

Decoded<ToolModifiers> FieldCodec<ToolModifiers>::decode(const Json& json, Decoder& in) {
    if (!json.is_array()) return in.mustBe("a list of keys");
    ToolModifiers modifiers;
    for (std::size_t index = 0; index < json.size(); ++index) {
        const Decoder::Place place(in, index);
        const auto found = std::ranges::find_if(modifierNames, [&](const ModifierName& each) {
            return json[index].is_string() &&
                   json[index].get_ref<const std::string&>() == each.name;
        });
        if (found == modifierNames.end())
            return in.mustBe("\"shift\", \"option\", \"command\", \"control\" or \"capsLock\"");
        modifiers = modifiers | found->modifier;
    }
    return modifiers;
}

std::string FieldCodec<ToolModifiers>::describe(ValueKinds& kinds) {
    kinds["modifiers"].description =
        "A list of `\"shift\"`, `\"option\"` (Alt), `\"command\"` (Ctrl), `\"control\"` (Meta) and "
        "`\"capsLock\"`.";
    return "modifiers";
}

Decoded<PaintBlend> FieldCodec<PaintBlend>::decode(const Json& json, Decoder& in) {
    std::optional<PaintBlend> blend;
    if (json.is_string()) blend = paintBlendNamed(json.get_ref<const std::string&>());
    if (!blend) return in.mustBe("a blend mode, \"behind\" or \"clear\"");
    return *blend;
}

std::string FieldCodec<PaintBlend>::describe(ValueKinds& kinds) {
    FieldCodec<BlendMode>::describe(kinds);
    kinds["paint blend"].description =
        "A blend mode of layers but `\"passThrough\"`, `\"behind\"` (under what is there) or "
        "`\"clear\"` (takes away what is there).";
    return "paint blend";
}

Json FieldCodec<ScriptColor>::encode(const ScriptColor& color) {
    return FieldCodec<PremultipliedColor>::encode(color.value);
}

Decoded<ScriptColor> FieldCodec<ScriptColor>::decode(const Json& json, Decoder& in) {
    constexpr const char* form = "a color, \"#RRGGBB\"";
    if (!json.is_string() || json.get_ref<const std::string&>().size() != 7) return in.mustBe(form);
    const auto color = FieldCodec<PremultipliedColor>::decode(json, in);
    if (!color) return in.mustBe(form);
    const auto conversion =
        ProfileConversion::between(ColorProfile::sRGB(), in.state().canvas.profile);
    if (!conversion) return ScriptColor{*color};
    return ScriptColor{conversion->apply(color->red, color->green, color->blue, color->alpha)};
}

std::string FieldCodec<ScriptOptions>::describe(ValueKinds& kinds) {
    return RecordCodec<ScriptBrush>::describe(kinds);
}

} // namespace ombrel
