// Edits that add a layer or a group made beforehand: above the active layer or a named one, by
// LayerTree::insertionPoint. What is added becomes active.
#pragma once

#include "Commands/Coding/Fields.h"
#include "Commands/Command.h"

namespace ombrel {

struct AddLayerCommand {
    PixelLayer layer;
    std::optional<LayerID> above; ///< absent: the active layer

    std::string name() const { return "New Layer"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const AddLayerCommand&) const = default;

    static constexpr auto schema() {
        using Self = AddLayerCommand;
        return commandSchema(
            "AddLayerCommand", "Adds a layer and makes it active.",
            field("layer", &Self::layer, "the layer to add"),
            field("above", &Self::above,
                  "the layer below it; in a group it goes on top; the active layer unless given"));
    }
};

/// The layer that a drawn rectangle makes.
struct AddRectangleLayerCommand {
    PixelLayer layer;

    std::string name() const { return "Rectangle Tool"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const AddRectangleLayerCommand&) const = default;

    static constexpr auto schema() {
        using Self = AddRectangleLayerCommand;
        return commandSchema("AddRectangleLayerCommand",
                             "Adds the layer of a drawn rectangle above the active layer and makes "
                             "it active.",
                             field("layer", &Self::layer, "the layer to add"));
    }
};

struct NewGroupCommand {
    GroupLayer group;
    std::optional<LayerID> above; ///< absent: the active layer

    std::string name() const { return "New Group"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const NewGroupCommand&) const = default;

    static constexpr auto schema() {
        using Self = NewGroupCommand;
        return commandSchema(
            "NewGroupCommand", "Adds a group and makes it active.",
            field("group", &Self::group, "the group to add"),
            field("above", &Self::above,
                  "the layer below it; in a group it goes on top; the active layer unless given"));
    }
};

struct PasteLayerCommand {
    PixelLayer layer;

    std::string name() const { return "Paste"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const PasteLayerCommand&) const = default;

    static constexpr auto schema() {
        using Self = PasteLayerCommand;
        return commandSchema("PasteLayerCommand",
                             "Adds a layer above the active layer and makes it active.",
                             field("layer", &Self::layer, "the layer to add"));
    }
};

/// A picture as a new layer above the active one.
struct PlaceImageCommand {
    LayerID layerID;
    std::string layerName;
    TileGrid pixels{TileFormat::rgba16Float};
    PixelSize size;   ///< of the picture, which begins at (0, 0) of `pixels`
    RealPoint center; ///< on the canvas; the offset is whole, halves go right and down
    std::optional<LayerID> above = std::nullopt; ///< absent: the active layer

    std::string name() const { return "Place Image"; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const;
    bool operator==(const PlaceImageCommand&) const = default;

    static constexpr auto schema() {
        using Self = PlaceImageCommand;
        return commandSchema(
            "PlaceImageCommand",
            "Adds a picture as a layer above the active layer and makes it active.",
            field("layerID", &Self::layerID, "the new layer's identifier, a UUID").orMade(),
            field("layerName", &Self::layerName, "the file's name unless given").orMade(),
            field("pixels", &Self::pixels, "the picture"),
            field("size", &Self::size, "the picture's own unless given").orMade(),
            field("center", &Self::center, "its middle; the canvas's unless given").orMade(),
            field("above", &Self::above,
                  "the layer below it; in a group it goes on top; the active layer unless given"));
    }
};

} // namespace ombrel
