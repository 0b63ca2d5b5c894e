// What a step of a script says that uses a tool or a key: its values, and their fields in JSON with
// the words of the reference. Values; read on the main thread.
#pragma once

#include "Commands/Coding/FieldCodecs.h"
#include "Editor/EditRouting.h"
#include "Tools/BrushForms.h"
#include "Tools/PointerSample.h"
#include "Tools/ToolKey.h"
#include "Tools/ToolKind.h"

#include <array>
#include <optional>
#include <string>
#include <vector>

namespace ombrel {

enum class ScriptEventType : std::uint8_t { down, drag, up, move };

struct ScriptEvent {
    ScriptEventType type = ScriptEventType::down;
    double x = 0; ///< of the document
    double y = 0;
    std::optional<PointerDevice> device;
    std::optional<float> pressure;
    std::optional<RealPoint> tilt;
    std::optional<double> time;
    ToolModifiers modifiers;

    PointerDevice deviceUsed() const;
};

/// As text, in the document's profile once it is read.
struct ScriptColor {
    PremultipliedColor value;
};

/// What is said of a brush, read over the settings that it has.
struct ScriptBrush {
    std::optional<std::string> preset;
    std::optional<std::string> tip;
    BrushSettings settings;

    static Decoded<ScriptBrush> decode(const Json& json, Decoder& in, const BrushSettings& present);
};

/// Left as it stands until the tool is known.
struct ScriptOptions {
    Json json;
};

struct ScriptToolStep {
    ToolKind tool = ToolKind::brush;
    std::optional<LayerID> layer;
    EditTarget target = EditTarget::pixels;
    std::optional<ScriptOptions> options;
    std::optional<ScriptColor> foreground;
    std::optional<ScriptColor> background;
    std::int64_t seed = 0;
    std::vector<ScriptEvent> events;
};

struct ScriptKeyStep {
    std::optional<std::int64_t> digit;
    std::optional<std::string> character;
    std::optional<ToolKey::Named> name;
    ToolModifiers modifiers;
};

template <>
struct EnumNames<ScriptEventType> {
    static constexpr std::string_view name = "type of event";
    static constexpr auto cases =
        std::to_array<EnumCase<ScriptEventType>>({{ScriptEventType::down, "down"},
                                                  {ScriptEventType::drag, "drag"},
                                                  {ScriptEventType::up, "up"},
                                                  {ScriptEventType::move, "move"}});
};

template <>
struct EnumNames<PointerDevice> {
    static constexpr std::string_view name = "device";
    static constexpr auto cases =
        std::to_array<EnumCase<PointerDevice>>({{PointerDevice::mouse, "mouse"},
                                                {PointerDevice::pen, "pen"},
                                                {PointerDevice::eraser, "eraser"}});
};

template <>
struct EnumNames<EditTarget> {
    static constexpr std::string_view name = "edit target";
    static constexpr auto cases = std::to_array<EnumCase<EditTarget>>(
        {{EditTarget::pixels, "pixels"}, {EditTarget::mask, "mask"}});
};

template <>
struct EnumNames<ToolKey::Named> {
    static constexpr std::string_view name = "named key";
    static constexpr auto cases =
        std::to_array<EnumCase<ToolKey::Named>>({{ToolKey::Named::enter, "enter"},
                                                 {ToolKey::Named::escape, "escape"},
                                                 {ToolKey::Named::remove, "delete"},
                                                 {ToolKey::Named::left, "left"},
                                                 {ToolKey::Named::right, "right"},
                                                 {ToolKey::Named::up, "up"},
                                                 {ToolKey::Named::down, "down"},
                                                 {ToolKey::Named::bracketLeft, "bracketLeft"},
                                                 {ToolKey::Named::bracketRight, "bracketRight"}});
};

template <>
struct EnumNames<ToolKind> {
    static constexpr std::string_view name = "tool";
    static constexpr auto cases = [] {
        std::array<EnumCase<ToolKind>, toolDescriptions.size()> all{};
        std::ranges::transform(toolDescriptions, all.begin(), [](const ToolDescription& each) {
            return EnumCase<ToolKind>{each.kind, each.identifier};
        });
        return all;
    }();
};

template <>
struct EnumNames<DynamicsControl> {
    static constexpr std::string_view name = "brush control";
    static constexpr auto cases = [] {
        std::array<EnumCase<DynamicsControl>, dynamicsControlNames.size()> all{};
        std::ranges::transform(dynamicsControlNames, all.begin(),
                               [](const DynamicsControlName& each) {
                                   return EnumCase<DynamicsControl>{each.control, each.rawValue};
                               });
        return all;
    }();
};

template <>
struct FieldCodec<ToolModifiers> {
    static Json encode(const ToolModifiers& modifiers);
    static Decoded<ToolModifiers> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds& kinds);
};

template <>
struct FieldCodec<PaintBlend> {
    static Json encode(const PaintBlend& blend) { return rawValueOf(blend); }
    static Decoded<PaintBlend> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds& kinds);
};

template <>
struct FieldCodec<ScriptColor> {
    static Json encode(const ScriptColor& color);
    static Decoded<ScriptColor> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds&) { return "`\"#RRGGBB\"`"; }
};

template <>
struct FieldCodec<ScriptOptions> {
    static Json encode(const ScriptOptions& options) { return options.json; }
    static Decoded<ScriptOptions> decode(const Json& json, Decoder&) { return ScriptOptions{json}; }
    static std::string describe(ValueKinds& kinds);
};

template <>
struct Record<ShapeDynamics> {
    static constexpr std::string_view name = "shape dynamics";
    static constexpr std::string_view description = "How the dabs of a stroke vary in shape.";
    static constexpr auto fields() {
        using Shape = ShapeDynamics;
        return std::tuple(
            field("enabled", &Shape::enabled, "false: nothing varies").orDefault(),
            field("sizeJitter", &Shape::sizeJitter, "by chance").between(0, 1).orDefault(),
            field("sizeControl", &Shape::sizeControl, "what the size follows").orDefault(),
            field("minimumDiameter", &Shape::minimumDiameter, "of the size, at least")
                .between(0, 1)
                .orDefault(),
            field("angleJitter", &Shape::angleJitter, "by chance, of half a turn")
                .between(0, 1)
                .orDefault(),
            field("angleControl", &Shape::angleControl, "what the angle follows").orDefault(),
            field("roundnessJitter", &Shape::roundnessJitter, "by chance")
                .between(0, 1)
                .orDefault(),
            field("roundnessControl", &Shape::roundnessControl, "what the roundness follows")
                .orDefault(),
            field("minimumRoundness", &Shape::minimumRoundness, "of the roundness, at least")
                .between(0, 1)
                .orDefault(),
            field("fadeSteps", &Shape::fadeSteps, "dabs until a fade has ended")
                .between(1, BrushRanges::mostFadeSteps)
                .orDefault());
    }
};

template <>
struct Record<Scattering> {
    static constexpr std::string_view name = "scattering";
    static constexpr std::string_view description = "Dabs that land beside the way of the stroke.";
    static constexpr auto fields() {
        return std::tuple(
            field("enabled", &Scattering::enabled, "false: all land on it").orDefault(),
            field("amount", &Scattering::amount, "how far, in diameters")
                .between(BrushRanges::scatter.minimum, BrushRanges::scatter.maximum)
                .orDefault(),
            field("bothAxes", &Scattering::bothAxes, "along the stroke, too").orDefault(),
            field("count", &Scattering::count, "dabs in place of one")
                .between(1, BrushRanges::mostDabs)
                .orDefault(),
            field("countJitter", &Scattering::countJitter, "fewer by chance")
                .between(0, 1)
                .orDefault());
    }
};

template <>
struct Record<Transfer> {
    static constexpr std::string_view name = "transfer";
    static constexpr std::string_view description = "How the paint of a dab varies.";
    static constexpr auto fields() {
        return std::tuple(
            field("enabled", &Transfer::enabled, "false: nothing varies").orDefault(),
            field("opacityJitter", &Transfer::opacityJitter, "by chance").between(0, 1).orDefault(),
            field("flowJitter", &Transfer::flowJitter, "by chance").between(0, 1).orDefault(),
            field("flowControl", &Transfer::flowControl, "what the flow follows").orDefault());
    }
};

template <>
struct Record<BrushSettings> {
    static constexpr std::string_view name = "brush settings";
    static constexpr std::string_view description{};
    static constexpr auto fields() {
        using Brush = BrushSettings;
        return std::tuple(
            field("size", &Brush::size, "the diameter in pixels")
                .between(BrushRanges::size.minimum, BrushRanges::size.maximum)
                .orDefault(),
            field("hardness", &Brush::hardness, "how much of it is solid")
                .between(0, 1)
                .orDefault(),
            field("opacity", &Brush::opacity, "what no place of a stroke gets more of")
                .between(0, 1)
                .orDefault(),
            field("flow", &Brush::flow, "the paint of one dab").between(0, 1).orDefault(),
            field("spacing", &Brush::spacing, "from dab to dab, in diameters")
                .between(BrushRanges::spacing.minimum, BrushRanges::spacing.maximum)
                .orDefault(),
            field("smoothing", &Brush::smoothing, "how far the brush lags behind")
                .between(0, 1)
                .orDefault(),
            field("angle", &Brush::angle, "degrees, counterclockwise")
                .between(BrushRanges::angle.minimum, BrushRanges::angle.maximum)
                .orDefault(),
            field("roundness", &Brush::roundness, "the short axis by the long one")
                .between(BrushRanges::roundness.minimum, BrushRanges::roundness.maximum)
                .orDefault(),
            field("pressureControlsSize", &Brush::pressureControlsSize, "of a pen").orDefault(),
            field("pressureControlsOpacity", &Brush::pressureControlsOpacity, "of a pen")
                .orDefault(),
            field("blend", &Brush::blend, "how paint lies on what is there").orDefault(),
            field("shape", &Brush::shape, "what is left out of it has its default").orDefault(),
            field("scattering", &Brush::scattering, "the same").orDefault(),
            field("transfer", &Brush::transfer, "the same").orDefault());
    }
};

template <>
struct Record<ScriptBrush> {
    static constexpr std::string_view name = "brush options";
    static constexpr std::string_view description =
        "What is left out is as it is at first in a new document, or as the preset has it.";
    static constexpr auto fields() {
        return std::tuple(
            field("preset", &ScriptBrush::preset, "the name of a brush to begin with"),
            field("tip", &ScriptBrush::tip,
                  "the name of a brush that has it, its identifier, or \"round\""),
            embedded(&ScriptBrush::settings));
    }
};

template <>
struct Record<ScriptEvent> {
    static constexpr std::string_view name = "pointer event";
    static constexpr std::string_view description =
        "A button goes down, drags follow, and it goes up where the last drag was; `move` is "
        "without a button.";
    static constexpr auto fields() {
        using Event = ScriptEvent;
        return std::tuple(
            field("type", &Event::type, "what happens"),
            field("x", &Event::x, "where, in pixels of the document").between(-1e6, 1e6),
            field("y", &Event::y, "where").between(-1e6, 1e6),
            field("device", &Event::device,
                  "a pen where pressure or tilt is given, else a mouse, unless said"),
            field("pressure", &Event::pressure, "0 to 1; 1 unless given"),
            field("tilt", &Event::tilt, "of a pen, -1 to 1 to the right and downward"),
            field("time", &Event::time, "seconds; that of the event before unless given"),
            field("modifiers", &Event::modifiers, "keys that are held").orDefault());
    }
};

template <>
struct Record<ScriptToolStep> {
    static constexpr std::string_view name = "tool step";
    static constexpr std::string_view description{};
    static constexpr auto fields() {
        using Step = ScriptToolStep;
        return std::tuple(
            field("tool", &Step::tool, "which"),
            field("layer", &Step::layer, "is made the active one first"),
            field("target", &Step::target, "whether it edits the layer or its mask").orDefault(),
            field("options", &Step::options,
                  "of brush, pencil and eraser; what is not named is as it is at first. "
                  "Without any the tool keeps what it had"),
            field("foreground", &Step::foreground, "the color that is painted with from now on"),
            field("background", &Step::background, "the other one"),
            field("seed", &Step::seed, "of all chance in the stroke").orDefault(),
            field("events", &Step::events, "what the hand does"));
    }
};

template <>
struct Record<ScriptKeyStep> {
    static constexpr std::string_view name = "key";
    static constexpr std::string_view description = "One of digit, character and name.";
    static constexpr auto fields() {
        using Step = ScriptKeyStep;
        return std::tuple(field("digit", &Step::digit, "0 to 9"),
                          field("character", &Step::character, "what it types"),
                          field("name", &Step::name, "a key that types nothing"),
                          field("modifiers", &Step::modifiers, "keys that are held").orDefault());
    }
};

} // namespace ombrel
