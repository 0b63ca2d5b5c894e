#include "Commands/Coding/LayerCodecs.h"

namespace ombrel {

namespace {

constexpr std::string_view layerForms =
    "a layer: its identifier, {\"name\": its name} or {\"active\": true}";

std::optional<LayerID> idOfText(const Json& json) {
    if (!json.is_string()) return std::nullopt;
    const std::optional<Uuid> uuid = Uuid::parse(json.get_ref<const std::string&>());
    if (!uuid) return std::nullopt;
    return LayerID{*uuid};
}

Decoded<LayerID> layerNamed(const std::string& name, Decoder& in) {
    std::vector<LayerID> found;
    for (const LayerNode& node : in.state().allNodes())
        if (node.properties().name == name) found.push_back(node.id());
    if (found.empty()) return in.fault(fmt::format("names no layer: there is no \"{}\"", name));
    if (found.size() > 1) {
        return in.fault(fmt::format("is ambiguous: {} layers are named \"{}\"; use an identifier",
                                    found.size(), name));
    }
    return found.front();
}

Decoded<LayerID> layerOf(const Json& json, Decoder& in) {
    if (const std::optional<LayerID> id = idOfText(json)) return *id;
    if (!json.is_object() || json.size() != 1) return in.mustBe(layerForms);
    if (const Json* name = fieldOf(json, "name"); name != nullptr && name->is_string())
        return layerNamed(name->get_ref<const std::string&>(), in);
    if (const Json* active = fieldOf(json, "active"); active != nullptr && *active == true) {
        if (!in.state().activeLayerID) return in.fault("names no layer: none is active");
        return *in.state().activeLayerID;
    }
    return in.mustBe(layerForms);
}

struct LockName {
    LayerLocks lock;
    std::string_view name;
};

constexpr std::array<LockName, 3> lockNames{{{LayerLocks::transparency, "transparency"},
                                             {LayerLocks::pixels, "pixels"},
                                             {LayerLocks::position, "position"}}};

std::optional<LayerLocks> lockOfText(const Json& json) {
    if (!json.is_string()) return std::nullopt;
    const std::string_view text = json.get_ref<const std::string&>();
    if (text == "all") return LayerLocks::all;
    for (const LockName& each : lockNames)
        if (each.name == text) return each.lock;
    return std::nullopt;
}

} // namespace

Decoded<LayerID> FieldCodec<LayerID>::decode(const Json& json, Decoder& in) {
    const Decoded<LayerID> id = layerOf(json, in);
    if (id) in.subject = *id;
    return id;
}

Decoded<LayerID> FieldCodec<LayerID>::decodeNew(const Json& json, Decoder& in) {
    const std::optional<LayerID> id = idOfText(json);
    if (!id) return in.mustBe("a new identifier, a UUID");
    if (!in.claim(*id)) return in.fault("is taken: identifiers must be new");
    return *id;
}

std::string FieldCodec<LayerID>::describe(ValueKinds& kinds) {
    kinds["layer"].description =
        "A layer or group of the document: its identifier (the text of a UUID), "
        "`{\"name\": its name}` where only one has that name, or `{\"active\": true}`.";
    return "layer";
}

Json FieldCodec<LayerLocks>::encode(const LayerLocks& locks) {
    if (!LayerLocks::all.contains(locks)) return locks.rawValue;
    Json names = Json::array();
    for (const LockName& each : lockNames)
        if (locks.contains(each.lock)) names.push_back(each.name);
    return names;
}

Decoded<LayerLocks> FieldCodec<LayerLocks>::decode(const Json& json, Decoder& in) {
    if (json.is_number()) {
        const Decoded<std::uint8_t> rawValue = FieldCodec<std::uint8_t>::decode(json, in);
        if (!rawValue) return std::unexpected(rawValue.error());
        return LayerLocks{*rawValue};
    }
    if (!json.is_array()) return in.mustBe("a list of locks");
    LayerLocks locks;
    for (std::size_t index = 0; index < json.size(); ++index) {
        const Decoder::Place place(in, index);
        const std::optional<LayerLocks> lock = lockOfText(json[index]);
        if (!lock) return in.mustBe("\"transparency\", \"pixels\", \"position\" or \"all\"");
        locks = locks | *lock;
    }
    return locks;
}

std::string FieldCodec<LayerLocks>::describe(ValueKinds& kinds) {
    kinds["locks"].description =
        "A list of `\"transparency\"` (transparent pixels stay so), `\"pixels\"` (no painting) and "
        "`\"position\"` (no moving), or `[\"all\"]`.";
    return "locks";
}

Decoded<LayerProperties> FieldCodec<LayerProperties>::decode(const Json& json, Decoder& in) {
    const LayerNode* node = in.subject ? in.state().find(*in.subject) : nullptr;
    if (node == nullptr) return decodeOnto({}, json, in);
    return decodeOnto(node->properties(), json, in, Completion::allKept);
}

Json FieldCodec<LayerNode>::encode(const LayerNode& node) {
    if (const GroupLayer* group = node.group()) return FieldCodec<GroupLayer>::encode(*group);
    return FieldCodec<PixelLayer>::encode(*node.pixelLayer());
}

Decoded<LayerNode> FieldCodec<LayerNode>::decode(const Json& json, Decoder& in) {
    if (!json.is_object()) return in.mustBe("a layer");
    if (!json.contains("children")) {
        Decoded<PixelLayer> layer = FieldCodec<PixelLayer>::decode(json, in);
        if (!layer) return std::unexpected(std::move(layer.error()));
        return LayerNode(std::move(*layer));
    }
    if (in.depth == Decoder::maximumDepth) return in.fault("is nested too deep");
    ++in.depth;
    Decoded<GroupLayer> group = FieldCodec<GroupLayer>::decode(json, in);
    --in.depth;
    if (!group) return std::unexpected(std::move(group.error()));
    return LayerNode(std::move(*group));
}

std::string FieldCodec<LayerNode>::describe(ValueKinds& kinds) {
    FieldCodec<PixelLayer>::describe(kinds);
    FieldCodec<GroupLayer>::describe(kinds);
    return "new layer or new group";
}

} // namespace ombrel
