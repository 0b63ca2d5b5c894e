// The whole image or some layers turned and mirrored. Quarter turns and mirroring move pixels and
// change none; other angles resample. Layers turn about the middle of their content; what is locked
// against moving or painting refuses, and masks that are not linked stay where they are.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Coding/LayerCodecs.h"
#include "Commands/Command.h"

#include <vector>

namespace ombrel {

enum class FlipAxis : std::uint8_t {
    horizontal, ///< left and right change places
    vertical,
};

template <>
struct EnumNames<FlipAxis> {
    static constexpr std::string_view name = "direction of flipping";
    static constexpr std::array<EnumCase<FlipAxis>, 2> cases{{
        {FlipAxis::horizontal, "horizontal"},
        {FlipAxis::vertical, "vertical"},
    }};
};

struct RotateCanvasCommand {
    double degrees = 90; ///< clockwise

    static constexpr const char* nothingDone = "The picture looks the same either way.";

    std::string name() const { return "Rotate Canvas"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const RotateCanvasCommand&) const = default;

    static constexpr auto schema() {
        using Self = RotateCanvasCommand;
        return commandSchema("RotateCanvasCommand",
                             "Turns the whole image; the canvas grows to hold all of what it held.",
                             field("degrees", &Self::degrees, "clockwise").between(-360, 360));
    }
};

struct FlipCanvasCommand {
    FlipAxis axis = FlipAxis::horizontal;

    static constexpr const char* nothingDone = "The picture looks the same either way.";

    std::string name() const;
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const FlipCanvasCommand&) const = default;

    static constexpr auto schema() {
        using Self = FlipCanvasCommand;
        return commandSchema("FlipCanvasCommand", "Mirrors the whole image.",
                             field("axis", &Self::axis, "horizontal exchanges left and right"));
    }
};

struct RotateLayersCommand {
    std::vector<LayerID> layerIDs;
    double degrees = 90; ///< clockwise

    static constexpr const char* nothingDone = "It looks the same either way.";

    std::string name() const { return "Rotate"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const RotateLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = RotateLayersCommand;
        return commandSchema("RotateLayersCommand",
                             "Turns layers about the middle of what they hold.",
                             field("layerIDs", &Self::layerIDs, "layers and groups"),
                             field("degrees", &Self::degrees, "clockwise").between(-360, 360));
    }
};

struct FlipLayersCommand {
    std::vector<LayerID> layerIDs;
    FlipAxis axis = FlipAxis::horizontal;

    static constexpr const char* nothingDone = "It looks the same either way.";

    std::string name() const;
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const FlipLayersCommand&) const = default;

    static constexpr auto schema() {
        using Self = FlipLayersCommand;
        return commandSchema("FlipLayersCommand",
                             "Mirrors layers about the middle of what they hold.",
                             field("layerIDs", &Self::layerIDs, "layers and groups"),
                             field("axis", &Self::axis, "horizontal exchanges left and right"));
    }
};

} // namespace ombrel
