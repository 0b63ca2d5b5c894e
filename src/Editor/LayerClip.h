// What was copied out of a document or came from elsewhere to be pasted: layers as they stood, in
// the canvas they lay on, or what a whole document shows. Copying costs nothing: a clip shares all
// tiles, and merging, encoding and converting wait until somebody wants the result. A value that
// goes freely between threads; what takes a CommandContext is work for others than the main thread.
#pragma once

#include "Commands/AddLayerCommands.h"
#include "Commands/ClipboardCommands.h"
#include "Core/RealGeometry.h"
#include "IO/DocumentReader.h"

#include <cstddef>
#include <expected>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace ombrel {

/// Where pasted layers come to lie.
struct PasteTarget {
    enum class Place {
        view,    ///< where they were if that is in view, else in the middle of what is
        inPlace, ///< where they were
    };

    Canvas canvas;
    RealRect visible; ///< of the canvas, in its pixels
    Place place = Place::view;
    std::optional<RealPoint> center = {}; ///< wanted instead, where something was dropped
};

class LayerClip {
public:
    /// Beyond this pictures are not encoded for other programs: they take them as one block.
    static constexpr std::int64_t largestPicture = std::int64_t{64} << 20; ///< pixels
    static constexpr std::int64_t largestNative = std::int64_t{1} << 30;   ///< bytes of tiles

    /// The outermost of the named layers, visible or not.
    static std::expected<LayerClip, CommandError> ofLayers(const DocumentState& state,
                                                           std::span<const LayerID> ids);
    /// What the document shows on its canvas, as one layer.
    static LayerClip merged(DocumentState state, std::string layerName);

    // From outside; the words of a failure are for the user and empty where it was cancelled.
    using Read = std::expected<LayerClip, std::string>;

    /// Layers that another process of ours has copied.
    static Read ofNative(std::span<const std::byte> bytes, TileStore& store, Progress& progress);
    static Read ofImage(std::span<const std::byte> bytes, TileStore& store, Progress& progress);
    static Read ofFile(const std::filesystem::path& path, TileStore& store, Progress& progress);

    /// Whether other programs can be offered a picture, or the layers. By a look at the tree alone.
    bool fitsPicture() const;
    bool fitsNative() const;

    /// A 16-bit PNG with the profile of the document: what shows of the layers, on their own.
    std::expected<std::vector<std::byte>, std::string> png(const CommandContext& in) const;
    /// For ofNative.
    std::expected<std::vector<std::byte>, std::string> native(const CommandContext& in) const;

    /// The edit that adds the layers, with new identifiers, in the profile of the target.
    std::expected<PasteLayersCommand, CommandError> pasting(const PasteTarget& target,
                                                            const CommandContext& in) const;
    /// The edit that adds what shows of it as one picture, in the middle of the canvas and in its
    /// profile.
    std::expected<PlaceImageCommand, CommandError> placing(const Canvas& canvas,
                                                           const CommandContext& in) const;

private:
    enum class Kind { layers, merged };

    LayerClip(DocumentState state, Kind kind, std::string layerName, bool hasPlace)
        : state_(std::move(state)), kind_(kind), layerName_(std::move(layerName)),
          hasPlace_(hasPlace) {}

    static LayerClip ofDocument(const DocumentState& state, const std::string& layerName);
    std::expected<DocumentState, CommandError> layers(const CommandContext& in) const;
    std::expected<DocumentState, CommandError> onePicture(const CommandContext& in) const;

    DocumentState state_; ///< of `layers`: those copied alone
    Kind kind_;
    std::string layerName_; ///< of what is merged
    bool hasPlace_;         ///< whether where it lay means anything to others
};

} // namespace ombrel
