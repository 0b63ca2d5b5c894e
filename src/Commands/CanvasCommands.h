// Edits of the frame of the image: its size and what of the picture it shows. Layers and masks move
// with it, locked ones too: where a layer lies in the picture does not change. Pixels outside of
// the canvas stay unless a crop deletes them.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Coding/GeometryCodecs.h"
#include "Commands/Command.h"

namespace ombrel {

/// Which part of the picture keeps its place.
enum class CanvasAnchor : std::uint8_t {
    topLeft,
    top,
    topRight,
    left,
    center,
    right,
    bottomLeft,
    bottom,
    bottomRight,
};

template <>
struct EnumNames<CanvasAnchor> {
    static constexpr std::string_view name = "anchor";
    static constexpr std::array<EnumCase<CanvasAnchor>, 9> cases{{
        {CanvasAnchor::topLeft, "topLeft"},
        {CanvasAnchor::top, "top"},
        {CanvasAnchor::topRight, "topRight"},
        {CanvasAnchor::left, "left"},
        {CanvasAnchor::center, "center"},
        {CanvasAnchor::right, "right"},
        {CanvasAnchor::bottomLeft, "bottomLeft"},
        {CanvasAnchor::bottom, "bottom"},
        {CanvasAnchor::bottomRight, "bottomRight"},
    }};
};

/// Nothing unless both sides are 1 to largestCanvasSide.
std::optional<CommandError> refusalOfSize(PixelSize size);

struct CanvasSizeCommand {
    PixelSize size;
    CanvasAnchor anchor = CanvasAnchor::center;

    static constexpr const char* nothingDone = "The canvas has this size already.";

    std::string name() const { return "Canvas Size"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const CanvasSizeCommand&) const = default;

    static constexpr auto schema() {
        using Self = CanvasSizeCommand;
        return commandSchema(
            "CanvasSizeCommand", "Changes the size of the canvas around the picture.",
            field("size", &Self::size, "of the canvas"),
            field("anchor", &Self::anchor, "the part of the picture that keeps its place")
                .orDefault());
    }
};

struct CropCommand {
    PixelRect rect; ///< of the canvas; may reach beyond it
    bool deletesCroppedPixels = false;

    static constexpr const char* nothingDone = "The canvas is this rectangle already.";

    std::string name() const { return "Crop"; }
    bool runsOnQueue() const { return deletesCroppedPixels; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const CropCommand&) const = default;

    static constexpr auto schema() {
        using Self = CropCommand;
        return commandSchema(
            "CropCommand", "Makes a rectangle the canvas.",
            field("rect", &Self::rect, "what becomes the canvas; may reach beyond it"),
            field("deletesCroppedPixels", &Self::deletesCroppedPixels,
                  "layers lose what lies outside")
                .orDefault());
    }
};

/// Crops to what of the picture is not transparent, without deleting pixels.
struct TrimCommand {
    static constexpr const char* nothingDone =
        "There is nothing to trim: the picture reaches every edge.";

    std::string name() const { return "Trim"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const TrimCommand&) const = default;

    static constexpr auto schema() {
        return commandSchema("TrimCommand",
                             "Crops the canvas to what of the picture is not transparent.");
    }
};

/// Grows the canvas until no layer has pixels outside.
struct RevealAllCommand {
    static constexpr const char* nothingDone = "No layer has pixels beyond the canvas.";

    std::string name() const { return "Reveal All"; }
    bool runsOnQueue() const { return true; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const RevealAllCommand&) const = default;

    static constexpr auto schema() {
        return commandSchema("RevealAllCommand",
                             "Grows the canvas until no layer has pixels outside.");
    }
};

} // namespace ombrel
