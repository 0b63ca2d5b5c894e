// The reading of one command from JSON: what it may look at, and where in the JSON it stands, so
// that every error names its field. JSON comes from people and is not trusted. One thread.
#pragma once

#include "Base/Json.h"
#include "Commands/Coding/LayerIDSource.h"
#include "Core/DocumentState.h"

#include <cstddef>
#include <expected>
#include <functional>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace ombrel {

class TileStore;

template <typename T>
using Decoded = std::expected<T, JsonError>;

/// A picture from a file, its pixels from (0, 0) on.
struct LoadedPicture {
    TileGrid pixels{TileFormat::rgba16Float};
    PixelSize size;
};

/// What a command is decoded against.
struct DecodingContext {
    const DocumentState& state; ///< where layers are looked up; completes what is given in part
    TileStore& store;           ///< where new tiles go
    LayerIDSource& newIDs;      ///< identifiers for new layers that come without
    /// Reads {"file": path}; an error is a message for the user. May be absent: then such pixels
    /// are refused.
    std::function<std::expected<LoadedPicture, std::string>(const std::string& path)> loadPicture;
};

class Decoder {
public:
    explicit Decoder(const DecodingContext& context) : context_(context) {}
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    const DecodingContext& context() const { return context_; }
    const DocumentState& state() const { return context_.state; }

    /// For the scope, errors name this field (or this element) of what they named before.
    class Place {
    public:
        Place(Decoder& decoder, std::string_view field);
        Place(Decoder& decoder, std::size_t index);
        Place(const Place&) = delete;
        Place& operator=(const Place&) = delete;
        ~Place() { path_.resize(length_); }

    private:
        std::string& path_;
        std::size_t length_;
    };

    /// field "layer.opacity" must be `what`
    std::unexpected<JsonError> mustBe(std::string_view what) const;
    /// field "layer.opacity" `what`
    std::unexpected<JsonError> fault(std::string_view what) const;

    /// An error where the JSON is no object or holds a key that is not among `names`.
    std::optional<JsonError> refuseOtherFields(const Json& json,
                                               std::span<const std::string_view> names) const;

    /// Takes an identifier for something new: false when the document or this command has it.
    bool claim(LayerID id);
    LayerID makeID();

    /// The layer that was named last: what properties given in part are completed from.
    std::optional<LayerID> subject;
    /// The picture that was read last, for fields that follow from it.
    std::optional<PixelSize> pictureSize;
    std::string pictureName;

    /// Commands within commands and groups within groups go at most this deep.
    static constexpr int maximumDepth = 100;
    int depth = 0;

private:
    const DecodingContext& context_;
    std::string path_;
    std::set<LayerID> claimed_;
};

/// The field of an object; null where it is absent or null.
const Json* fieldOf(const Json& object, std::string_view name);

} // namespace ombrel
