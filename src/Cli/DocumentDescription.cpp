#include "Cli/DocumentDescription.h"

#include "Core/ContentBounds.h"
#include "Core/Stored/EffectForms.h"

#include <fmt/format.h>

#include <cstdlib>
#include <optional>
#include <vector>

namespace ombrel {

namespace {

using Bounds = std::optional<PixelRect>;

/// The shortest number that reads back as the same float: 0.3 and not 0.30000001192092896.
Json shortNumber(float value) {
    return std::strtod(fmt::format("{}", value).c_str(), nullptr);
}

Bounds boundsOnCanvas(const TileGrid& pixels, PixelOffset offset) {
    const Bounds bounds = contentBounds(pixels);
    if (!bounds) return std::nullopt;
    return bounds->offsetBy(offset);
}

Bounds around(const Bounds& a, const Bounds& b) {
    if (!a || !b) return a ? a : b;
    return unionOf(*a, *b);
}

Json boundsJson(const Bounds& bounds) {
    if (!bounds) return nullptr;
    return Json::array({bounds->x, bounds->y, bounds->width, bounds->height});
}

Json canvasJson(const Canvas& canvas) {
    return {
        {"size", {{"width", canvas.size.width}, {"height", canvas.size.height}}},
        {"resolution", canvas.resolution},
        {"profile", canvas.profile.name()},
        {"bitDepth", bitsPerChannel(canvas.bitDepth)},
        {"blendUsingGamma1", canvas.blendUsingGamma1},
    };
}

Json maskJson(const std::optional<LayerMask>& mask) {
    if (!mask) return nullptr;
    return {
        {"background", shortNumber(mask->background)},
        {"enabled", mask->isEnabled},
        {"linked", mask->isLinked},
        {"bounds", boundsJson(boundsOnCanvas(mask->pixels, mask->offset))},
    };
}

std::string_view kindOf(const PixelLayer& layer) {
    if (layer.shape) return "shape";
    if (layer.text) return "text";
    return layer.instance ? "instance" : "pixel";
}

Json effectsJson(const std::vector<Effect>& effects) {
    Json json = Json::array();
    for (const Effect& effect : effects) {
        json.push_back({{"kind", rawValueOf(effect.kind)},
                        {"name", effect.name},
                        {"visible", effect.isVisible},
                        {"params", Stored::encode(effect.params.values)}});
    }
    return json;
}

struct DescribedLayers {
    Json json = Json::array();
    Bounds bounds; ///< of all of them
};

DescribedLayers describeLayers(const std::vector<LayerNode>& nodes) {
    DescribedLayers described;
    for (const LayerNode& node : nodes) {
        const LayerProperties& properties = node.properties();
        Json layer{
            {"id", node.id().rawValue.text()},
            {"name", properties.name},
            {"visible", properties.isVisible},
            {"opacity", shortNumber(properties.opacity)},
            {"blendMode", rawValueOf(properties.blendMode)},
            {"clipsToBelow", properties.clipsToBelow},
            {"locks", properties.locks.rawValue},
            {"mask", maskJson(node.mask())},
            {"effects", Json::array()},
        };
        Bounds bounds;
        if (const PixelLayer* pixels = node.pixelLayer()) {
            layer["kind"] = kindOf(*pixels);
            layer["effects"] = effectsJson(*pixels->effects);
            bounds = boundsOnCanvas(pixels->pixels, pixels->offset);
        } else { // a group's pixels are those of its children
            DescribedLayers children = describeLayers(node.group()->children);
            layer["kind"] = "group";
            layer["children"] = std::move(children.json);
            bounds = children.bounds;
        }
        layer["bounds"] = boundsJson(bounds);
        described.json.push_back(std::move(layer));
        described.bounds = around(described.bounds, bounds);
    }
    return described;
}

std::string boundsText(const Json& bounds) {
    if (bounds.is_null()) return "empty";
    return fmt::format("{}×{} at ({}, {})", bounds[2].get<std::int64_t>(),
                       bounds[3].get<std::int64_t>(), bounds[0].get<std::int64_t>(),
                       bounds[1].get<std::int64_t>());
}

std::string layerText(const Json& layer) {
    std::string text =
        fmt::format("{} \"{}\": {}", layer["kind"].get_ref<const std::string&>(),
                    layer["name"].get_ref<const std::string&>(), boundsText(layer["bounds"]));
    const auto add = [&](bool applies, const std::string& remark) {
        if (applies) text += ", " + remark;
    };
    const std::optional<BlendMode> mode =
        blendModeFromRawValue(layer["blendMode"].get_ref<const std::string&>());
    const double opacity = layer["opacity"].get<double>();
    add(!layer["visible"].get<bool>(), "hidden");
    add(opacity < 1, fmt::format("{:.3g}%", opacity * 100));
    add(mode && mode != BlendMode::normal, std::string(displayNameOf(*mode)));
    add(layer["clipsToBelow"].get<bool>(), "clipped to the layer below");
    add(layer["locks"].get<int>() != 0, "locked");
    add(!layer["mask"].is_null(), "with a mask");
    for (const Json& effect : layer["effects"])
        add(true, fmt::format("effect \"{}\"", effect["name"].get_ref<const std::string&>()));
    return text;
}

void appendLayers(std::string& text, const Json& layers, int depth) {
    for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer) {
        text += fmt::format("{:{}}{}\n", "", 2 * depth, layerText(*layer));
        if (layer->contains("children")) appendLayers(text, (*layer)["children"], depth + 1);
    }
}

std::string canvasText(const Json& canvas) {
    return fmt::format("{}×{} pixels, {:.6g} pixels/inch, {} bits/channel, {}",
                       canvas["size"]["width"].get<std::int64_t>(),
                       canvas["size"]["height"].get<std::int64_t>(),
                       canvas["resolution"].get<double>(), canvas["bitDepth"].get<int>(),
                       canvas["profile"].get_ref<const std::string&>());
}

} // namespace

Json describeAsJson(const OpenedDocument& document) {
    Json nodes = Json::array();
    for (const BoardNode& node : document.board.nodes) {
        nodes.push_back({{"id", node.id.rawValue.text()},
                         {"name", node.name},
                         {"origin", Json::array({node.origin.x, node.origin.y})},
                         {"canvas", canvasJson(node.state.canvas)},
                         {"layers", describeLayers(node.state.root->children).json}});
    }
    return {
        {"format", document.format},
        {"canvas", canvasJson(document.state().canvas)},
        {"activeNode", document.board.activeNodeID.rawValue.text()},
        {"nodes", std::move(nodes)},
        {"report", document.report},
    };
}

std::string textOfDescription(const Json& description) {
    std::string text;
    for (const Json& node : description["nodes"]) {
        text += fmt::format("{}: {}, {}\n", node["name"].get_ref<const std::string&>(),
                            description["format"].get_ref<const std::string&>(),
                            canvasText(node["canvas"]));
        appendLayers(text, node["layers"], 1);
    }
    for (const Json& message : description["report"])
        text += "note: " + message.get<std::string>() + "\n";
    return text;
}

} // namespace ombrel
