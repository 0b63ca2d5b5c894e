#include "Base/Check.h"
#include "Core/Stored/BoardForms.h"
#include "Core/Stored/EffectForms.h"
#include "Core/Stored/ShapeForms.h"
#include "Core/Stored/TextForms.h"
#include "IO/Native/BakedOffsets.h"
#include "IO/Native/GridRecord.h"
#include "IO/Native/NativeFormat.h"
#include "IO/Native/TileArea.h"
#include "IO/Native/TileTable.h"

#include <type_traits>

namespace ombrel::NativeFormat {

namespace {

constexpr std::size_t headerSize = 24;

// Numbers lie in files lowest byte first.
template <typename Number>
void appendLittleEndian(std::string& bytes, Number number) {
    for (std::size_t i = 0; i < sizeof(Number); ++i)
        bytes += static_cast<char>(static_cast<std::make_unsigned_t<Number>>(number) >> (8 * i));
}

// In this order indices count: what a layer shows, then its mask; children before their group.
void addTiles(const GroupLayer& group, TileTable& table);
void addTiles(const LayerNode& node, TileTable& table) {
    if (const GroupLayer* group = node.group()) return addTiles(*group, table);
    const PixelLayer& layer = *node.pixelLayer();
    table.add(layer.pixels);
    if (layer.mask) table.add(layer.mask->pixels);
}
void addTiles(const GroupLayer& group, TileTable& table) {
    for (const LayerNode& child : group.children)
        addTiles(child, table);
    if (group.mask) table.add(group.mask->pixels);
}

/// The manifest as text, keys in the order of the alphabet.
class ManifestWriter {
public:
    explicit ManifestWriter(const TileTable& table) : table_(table) {}

    /// Up to where the list of tiles begins: "tiles" is the last key.
    std::string descriptionOf(const Board& board);

private:
    template <typename T>
    void field(std::string_view key, const T& value) {
        text_ += '"';
        text_ += key;
        text_ += "\":";
        text_ += compactText(Stored::encode(value));
    }
    /// `value` may be absent.
    template <typename Optional>
    void optionalField(std::string_view key, const Optional& value) {
        if (!value) return;
        text_ += ',';
        field(key, *value);
    }
    void append(const BoardNode& node);
    void append(const GroupLayer& group);
    void append(const PixelLayer& layer);
    void append(const LayerMask& mask);
    void append(const LayerNode& node);

    const TileTable& table_;
    std::string text_;
};

std::string ManifestWriter::descriptionOf(const Board& board) {
    text_ = "{";
    field("activeNodeID", board.activeNodeID);
    text_ += R"(,"app":"Ombrel","formatVersion":)";
    appendNumber(text_, currentVersion);
    text_ += R"(,"nodes":[)";
    for (const BoardNode& node : board.nodes) {
        if (&node != &board.nodes.front()) text_ += ',';
        append(node);
    }
    text_ += R"(],"tiles":[)";
    return std::move(text_);
}

void ManifestWriter::append(const BoardNode& node) {
    text_ += '{';
    if (node.state.activeLayerID) {
        field("activeLayerID", *node.state.activeLayerID);
        text_ += ',';
    }
    field("canvas", node.state.canvas);
    text_ += ',';
    field("id", node.id);
    text_ += ',';
    field("name", node.name);
    text_ += ',';
    field("origin", node.origin);
    text_ += R"(,"root":)";
    append(*node.state.root);
    optionalField("workPath", node.state.workPath);
    text_ += '}';
}

void ManifestWriter::append(const GroupLayer& group) {
    text_ += R"({"children":[)";
    for (const LayerNode& child : group.children) {
        if (&child != &group.children.front()) text_ += ',';
        append(child);
    }
    text_ += "],";
    field("id", group.id);
    if (group.mask) {
        text_ += R"(,"mask":)";
        append(*group.mask);
    }
    text_ += ',';
    field("properties", group.properties);
    text_ += '}';
}

void ManifestWriter::append(const LayerNode& node) {
    text_ += node.group() != nullptr ? R"({"group":{"_0":)" : R"({"pixel":{"_0":)";
    if (const GroupLayer* group = node.group()) {
        append(*group);
    } else {
        append(*node.pixelLayer());
    }
    text_ += "}}";
}

void ManifestWriter::append(const LayerMask& mask) {
    text_ += R"({"background":)";
    appendNumber(text_, mask.background);
    text_ += mask.isEnabled ? R"(,"isEnabled":true)" : R"(,"isEnabled":false)";
    text_ += mask.isLinked ? R"(,"isLinked":true)" : R"(,"isLinked":false)";
    text_ += R"(,"pixels":)";
    appendGrid(text_, mask.pixels, table_);
    text_ += '}';
}

void ManifestWriter::append(const PixelLayer& layer) {
    text_ += '{';
    field("effects", *layer.effects);
    text_ += ',';
    field("id", layer.id);
    optionalField("instance", layer.instance);
    if (layer.mask) {
        text_ += R"(,"mask":)";
        append(*layer.mask);
    }
    text_ += R"(,"pixels":)";
    appendGrid(text_, layer.pixels, table_);
    text_ += ',';
    field("properties", layer.properties);
    optionalField("shape", layer.shape);
    optionalField("text", layer.text);
    text_ += '}';
}

void appendRef(std::string& text, const TileRef& ref) {
    text += R"({"format":")";
    text += formatCode(ref.format);
    text += R"(","length":)";
    appendNumber(text, ref.length);
    text += R"(,"offset":)";
    appendNumber(text, ref.offset);
    text += '}';
}

std::string textOf(std::span<const TileRef> refs) {
    std::string text;
    for (const TileRef& ref : refs) {
        if (&ref != &refs.front()) text += ',';
        appendRef(text, ref);
    }
    return text;
}

/// References no shorter in text than the real ones will be. Blobs are written before their sizes
/// are known, behind a manifest of known size, so that they never lie in memory all at once.
std::vector<TileRef> longestRefs(std::span<const Tile> tiles) {
    std::int64_t end = 0;
    for (const Tile& tile : tiles)
        end += longestBlob(tile.format());
    std::vector<TileRef> refs;
    refs.reserve(tiles.size());
    for (const Tile& tile : tiles)
        refs.push_back({tile.format(), end, longestBlob(tile.format())});
    return refs;
}

std::string headerOf(std::size_t manifestLength) {
    std::string header(magic);
    appendLittleEndian(header, std::uint32_t{1});
    appendLittleEndian(header, std::uint32_t{0});
    appendLittleEndian(header, static_cast<std::int64_t>(manifestLength));
    OMBREL_CHECK(header.size() == headerSize, "the header has its size");
    return header;
}

} // namespace

std::expected<void, WriteFault> write(const Board& unbaked, ByteSink& sink, Progress* progress) {
    const Board board = withoutOffsets(unbaked);
    TileTable table;
    for (const BoardNode& node : board.nodes)
        addTiles(*node.state.root, table);
    std::string text = ManifestWriter(table).descriptionOf(board);
    constexpr std::string_view end = "]}";
    const std::size_t manifestLength =
        text.size() + textOf(longestRefs(table.tiles())).size() + end.size();
    const auto refs = writeTileArea(table.tiles(), sink, headerSize + manifestLength, progress);
    if (!refs) {
        return std::unexpected(refs.error() == TileAreaFault::cancelled ? WriteFault::cancelled
                                                                        : WriteFault::sinkFailed);
    }
    text += textOf(*refs);
    text += end;
    text.append(manifestLength - text.size(), ' ');
    text.insert(0, headerOf(manifestLength));
    if (!sink.writeAt(0, std::as_bytes(std::span(text))))
        return std::unexpected(WriteFault::sinkFailed);
    return {};
}

} // namespace ombrel::NativeFormat
