// Layers in JSON. A layer that is there is named by its identifier, {"name": ...} or
// {"active": true}; a new one is an object of its properties, pixels and mask, a group where it has
// "children". Properties given in part are completed from the layer that was named before.
#pragma once

#include "Commands/Coding/GeometryCodecs.h"
#include "Commands/Coding/GridCodec.h"
#include "Commands/Coding/StoredCodecs.h"
#include "Core/Layer.h"

#include <algorithm>
#include <map>

namespace ombrel {

template <>
struct FieldCodec<LayerID> {
    static Json encode(const LayerID& id) { return id.rawValue.text(); }
    static Decoded<LayerID> decode(const Json& json, Decoder& in);
    /// Of something new: a UUID that the document does not have.
    static Decoded<LayerID> decodeNew(const Json& json, Decoder& in);
    static Decoded<LayerID> make(Decoder& in) { return in.makeID(); }
    static std::string describe(ValueKinds& kinds);
};

template <>
struct EnumNames<BlendMode> {
    static constexpr std::string_view name = "blend mode";
    static constexpr auto cases = [] {
        std::array<EnumCase<BlendMode>, blendModeCount> all{};
        std::ranges::transform(blendModeNames, all.begin(), [](const BlendModeName& each) {
            return EnumCase<BlendMode>{each.mode, each.rawValue};
        });
        return all;
    }();
};

template <>
struct FieldCodec<LayerLocks> {
    static Json encode(const LayerLocks& locks);
    static Decoded<LayerLocks> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds& kinds);
};

template <>
struct Record<LayerProperties> {
    static constexpr std::string_view name = "layer properties";
    static constexpr std::string_view description =
        "Of a layer that is there, only what changes need be given, not even the name.";
    static constexpr auto fields() {
        using Properties = LayerProperties;
        return std::tuple(
            field("name", &Properties::name, "what the panel shows"),
            field("isVisible", &Properties::isVisible, "hidden layers are not drawn").orDefault(),
            field("locks", &Properties::locks, "what may not be edited").orDefault(),
            field("opacity", &Properties::opacity, "applied after the mask")
                .between(0, 1)
                .orDefault(),
            field("blendMode", &Properties::blendMode, "how it lies on what is below").orDefault(),
            field("clipsToBelow", &Properties::clipsToBelow,
                  "limited to the alpha of the nearest unclipped layer below")
                .orDefault());
    }
};

template <>
struct FieldCodec<LayerProperties> : RecordCodec<LayerProperties> {
    static Decoded<LayerProperties> decode(const Json& json, Decoder& in);
};

template <>
struct Record<LayerMask> {
    static constexpr std::string_view name = "mask";
    static constexpr std::string_view description = "How much of a layer is seen, pixel by pixel.";
    static constexpr auto fields() {
        return std::tuple(
            field("pixels", &LayerMask::pixels, "coverage").orDefault(),
            field("background", &LayerMask::background,
                  "where there are no pixels: 1 reveals, 0 hides")
                .between(0, 1)
                .orDefault(),
            field("isEnabled", &LayerMask::isEnabled, "a disabled mask is kept and ignored")
                .orDefault(),
            field("offset", &LayerMask::offset, "where the pixels lie").orDefault(),
            field("isLinked", &LayerMask::isLinked, "moves with its layer").orDefault());
    }
};

template <>
struct Record<PixelLayer> {
    static constexpr std::string_view name = "new layer";
    static constexpr std::string_view description = "A layer of pixels; its name is enough.";
    static constexpr auto fields() {
        return std::tuple(
            field("id", &PixelLayer::id, "its identifier, a UUID").orMade(),
            embedded(&PixelLayer::properties),
            field("pixels", &PixelLayer::pixels, "empty unless given").orDefault(),
            field("shape", &PixelLayer::shape, "what the pixels show, where that is a shape"),
            field("text", &PixelLayer::text, "what the pixels show, where that is text"),
            field("instance", &PixelLayer::instance,
                  "what the pixels show, where that is another image of the document"),
            field("offset", &PixelLayer::offset, "where the pixels lie on the canvas").orDefault(),
            field("mask", &PixelLayer::mask, "none unless given"),
            field("effects", &PixelLayer::effects, "from bottom to top, none unless given")
                .orDefault());
    }
};

template <>
struct Record<GroupLayer> {
    static constexpr std::string_view name = "new group";
    static constexpr std::string_view description = "A group of layers; its name is enough.";
    static constexpr auto fields() {
        return std::tuple(
            field("id", &GroupLayer::id, "its identifier, a UUID").orMade(),
            embedded(&GroupLayer::properties),
            field("children", &GroupLayer::children, "from bottom to top, none unless given")
                .orDefault(),
            field("mask", &GroupLayer::mask, "none unless given"));
    }
};

/// A group where there are "children".
template <>
struct FieldCodec<LayerNode> {
    static Json encode(const LayerNode& node);
    static Decoded<LayerNode> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds& kinds);
};

/// A list of {"layer", "value"}: layers are named in more ways than a key could be.
template <typename T>
struct FieldCodec<std::map<LayerID, T>> {
    static Json encode(const std::map<LayerID, T>& map) {
        Json list = Json::array();
        for (const auto& [id, value] : map) {
            list.push_back({{"layer", FieldCodec<LayerID>::encode(id)},
                            {"value", FieldCodec<T>::encode(value)}});
        }
        return list;
    }
    static Decoded<std::map<LayerID, T>> decode(const Json& json, Decoder& in) {
        if (!json.is_array()) return in.mustBe("a list of layers with values");
        std::map<LayerID, T> map;
        for (std::size_t index = 0; index < json.size(); ++index) {
            const Decoder::Place place(in, index);
            if (std::optional<JsonError> error = decodeEntry(json[index], in, map))
                return std::unexpected(std::move(*error));
        }
        return map;
    }
    static std::string describe(ValueKinds& kinds) {
        const std::string layer = FieldCodec<LayerID>::describe(kinds);
        return fmt::format("[{{\"layer\": {}, \"value\": {}}}, ...]", layer,
                           describeContent(kinds));
    }

private:
    static std::string describeContent(ValueKinds& kinds) {
        if constexpr (std::is_same_v<T, LayerID>)
            return "UUID";
        else
            return FieldCodec<T>::describe(kinds);
    }
    static std::optional<JsonError> decodeEntry(const Json& json, Decoder& in,
                                                std::map<LayerID, T>& map) {
        constexpr std::array<std::string_view, 2> names{"layer", "value"};
        if (std::optional<JsonError> error = in.refuseOtherFields(json, names)) return error;
        const Json* layer = fieldOf(json, "layer");
        const Json* content = fieldOf(json, "value");
        if (layer == nullptr || content == nullptr)
            return in.mustBe("a layer with a value").error();
        Decoded<LayerID> id = [&] {
            const Decoder::Place place(in, "layer");
            return FieldCodec<LayerID>::decode(*layer, in);
        }();
        if (!id) return std::move(id.error());
        const Decoder::Place place(in, "value");
        Decoded<T> value = decodeContent(*content, in);
        if (!value) return std::move(value.error());
        if (!map.emplace(*id, std::move(*value)).second)
            return in.fault("is a second one for the same layer").error();
        return std::nullopt;
    }
    static Decoded<T> decodeContent(const Json& json, Decoder& in) {
        // What a layer maps to another identifier for is something new.
        if constexpr (std::is_same_v<T, LayerID>)
            return FieldCodec<LayerID>::decodeNew(json, in);
        else
            return FieldCodec<T>::decode(json, in);
    }
};

} // namespace ombrel
