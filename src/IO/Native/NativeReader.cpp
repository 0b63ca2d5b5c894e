#include "Core/Stored/BoardForms.h"
#include "Core/Stored/EffectForms.h"
#include "Core/Stored/ShapeForms.h"
#include "Core/Stored/TextForms.h"
#include "IO/Native/GridRecord.h"
#include "IO/Native/NativeFormat.h"
#include "IO/Native/TileArea.h"

#include <cstring>
#include <limits>
#include <set>

namespace ombrel::NativeFormat {

namespace {

constexpr std::size_t headerSize = 24;

/// A group within a group takes six levels of JSON. Trees are walked by recursion everywhere.
constexpr std::size_t deepestManifest = 3072;

Error described(std::string fault) {
    return Error::corrupt("description: " + std::move(fault));
}

/// Beyond what any image can have; keeps sums of coordinates far from their limits.
constexpr std::int64_t longestSide = std::numeric_limits<std::int32_t>::max();

/// Groups and layers from their records. Faults of the description are kept as words, so that the
/// one fault that has another name can be told apart.
class TreeReader {
public:
    TreeReader(ManifestWalk& walk, std::span<const Tile> tiles) : walk_(walk), tiles_(tiles) {}

    FromManifest<GroupLayer> readGroup(ManifestElement record);
    /// The error for a fault that a read of this reader returned.
    Error errorOf(std::string fault) const {
        return namesNoTile_ ? Error::corrupt("tile reference") : described(std::move(fault));
    }

    template <typename T>
    FromManifest<void> field(ManifestElement object, std::string_view key, T& into) {
        FromManifest<T> value =
            walk_.field(object, key, [&](ManifestElement element) { return valueOf<T>(element); });
        if (!value) return std::unexpected(std::move(value.error()));
        into = std::move(*value);
        return {};
    }
    template <typename T>
    FromManifest<void> field(ManifestElement object, std::string_view key, std::optional<T>& into) {
        return optionalField<T>(object, key, into);
    }
    template <typename T>
    FromManifest<void> field(ManifestElement object, std::string_view key, CowOptional<T>& into) {
        return optionalField<T>(object, key, into);
    }

private:
    /// Stays as it is where the key is absent.
    template <typename T, typename Optional>
    FromManifest<void> optionalField(ManifestElement object, std::string_view key, Optional& into) {
        const std::optional<ManifestElement> element = ManifestWalk::find(object, key);
        if (!element) return {};
        const ManifestWalk::Place place(walk_, key);
        FromManifest<T> value = valueOf<T>(*element);
        if (!value) return std::unexpected(std::move(value.error()));
        into = std::move(*value);
        return {};
    }
    template <typename T>
    FromManifest<T> valueOf(ManifestElement element) {
        Stored::Result<T> decoded = Stored::decode<T>(jsonOf(element));
        if (!decoded) return walk_.fault(decoded.error());
        return std::move(*decoded);
    }
    FromManifest<TileGrid> readGrid(ManifestElement record, TileFormat format);
    FromManifest<std::optional<LayerMask>> readMask(ManifestElement owner);
    FromManifest<PixelLayer> readPixelLayer(ManifestElement record);
    FromManifest<LayerNode> readNode(ManifestElement record);
    /// A layer that repeats the identifier of another one gets its own.
    void makeUnique(LayerID& id) {
        while (!known_.insert(id).second)
            id = LayerID::make();
    }

    ManifestWalk& walk_;
    std::span<const Tile> tiles_;
    std::set<LayerID> known_;
    bool namesNoTile_ = false;
};

FromManifest<TileGrid> TreeReader::readGrid(ManifestElement record, TileFormat format) {
    std::expected<TileGrid, GridFault> grid = NativeFormat::readGrid(walk_, record, format, tiles_);
    if (grid) return std::move(*grid);
    namesNoTile_ = grid.error().isTileReference;
    return std::unexpected(std::move(grid.error().description));
}

FromManifest<std::optional<LayerMask>> TreeReader::readMask(ManifestElement owner) {
    const std::optional<ManifestElement> record = ManifestWalk::find(owner, "mask");
    if (!record) return std::nullopt;
    const ManifestWalk::Place place(walk_, "mask");
    LayerMask mask;
    FromManifest<TileGrid> pixels = walk_.field(
        *record, "pixels", [&](ManifestElement grid) { return readGrid(grid, TileFormat::r8); });
    if (!pixels) return std::unexpected(std::move(pixels.error()));
    mask.pixels = std::move(*pixels);
    std::optional<bool> isLinked;
    FromManifest<void> done = field(*record, "background", mask.background);
    if (done) done = field(*record, "isEnabled", mask.isEnabled);
    if (done) done = field(*record, "isLinked", isLinked);
    if (!done) return std::unexpected(std::move(done.error()));
    mask.isLinked = isLinked.value_or(true);
    return mask;
}

FromManifest<PixelLayer> TreeReader::readPixelLayer(ManifestElement record) {
    PixelLayer layer;
    FromManifest<TileGrid> pixels = walk_.field(record, "pixels", [&](ManifestElement grid) {
        return readGrid(grid, TileFormat::rgba16Float);
    });
    if (!pixels) return std::unexpected(std::move(pixels.error()));
    layer.pixels = std::move(*pixels);
    FromManifest<std::optional<LayerMask>> mask = readMask(record);
    if (!mask) return std::unexpected(std::move(mask.error()));
    layer.mask = std::move(*mask);
    FromManifest<void> done = field(record, "id", layer.id);
    if (done) done = field(record, "properties", layer.properties);
    if (done) done = field(record, "shape", layer.shape);
    if (done) done = field(record, "text", layer.text);
    if (done) done = field(record, "instance", layer.instance);
    std::vector<Effect> effects;
    if (done) done = field(record, "effects", effects);
    if (!done) return std::unexpected(std::move(done.error()));
    if (!effects.empty()) layer.effects = std::move(effects);
    makeUnique(layer.id);
    return layer;
}

FromManifest<LayerNode> TreeReader::readNode(ManifestElement record) {
    simdjson::dom::object object;
    if (record.get(object) != simdjson::SUCCESS) return walk_.wanted("an object");
    if (object.size() != 1) return walk_.fault("Invalid number of keys found, expected one.");
    const auto payload = [&](std::string_view key, auto&& read) -> FromManifest<LayerNode> {
        auto layer = walk_.field(
            record, key, [&](ManifestElement inner) { return walk_.field(inner, "_0", read); });
        if (!layer) return std::unexpected(std::move(layer.error()));
        return LayerNode(std::move(*layer));
    };
    if (ManifestWalk::find(record, "group"))
        return payload("group", [&](ManifestElement group) { return readGroup(group); });
    return payload("pixel", [&](ManifestElement layer) { return readPixelLayer(layer); });
}

FromManifest<GroupLayer> TreeReader::readGroup(ManifestElement record) {
    GroupLayer group;
    FromManifest<void> done = walk_.field(record, "children", [&](ManifestElement children) {
        return walk_.forEach(children, [&](ManifestElement child) -> FromManifest<void> {
            FromManifest<LayerNode> node = readNode(child);
            if (!node) return std::unexpected(std::move(node.error()));
            group.children.push_back(std::move(*node));
            return {};
        });
    });
    if (done) done = field(record, "id", group.id);
    if (done) done = field(record, "properties", group.properties);
    if (!done) return std::unexpected(std::move(done.error()));
    FromManifest<std::optional<LayerMask>> mask = readMask(record);
    if (!mask) return std::unexpected(std::move(mask.error()));
    group.mask = std::move(*mask);
    makeUnique(group.id);
    return group;
}

/// Builds a board from a parsed manifest.
class BoardReader {
public:
    BoardReader(ManifestElement file, std::span<const Tile> tiles) : file_(file), tiles_(tiles) {}

    std::expected<Board, Error> readBoard();

private:
    /// Of one node, or of a whole file of the older versions.
    std::expected<DocumentState, Error> readState(ManifestElement record);
    std::expected<BoardNode, Error> readNode(ManifestElement record);

    FromManifest<void> checkFileRecord();
    FromManifest<void> readCanvas(ManifestElement record, TreeReader& tree, Canvas& canvas);

    ManifestElement file_;
    std::span<const Tile> tiles_;
    ManifestWalk walk_;
};

FromManifest<void> BoardReader::checkFileRecord() {
    const auto version = walk_.field(
        file_, "formatVersion", [&](ManifestElement element) { return walk_.integer(element); });
    if (!version) return std::unexpected(version.error());
    const auto app =
        walk_.field(file_, "app", [&](ManifestElement element) { return walk_.text(element); });
    if (!app) return std::unexpected(app.error());
    return {};
}

FromManifest<void> BoardReader::readCanvas(ManifestElement record, TreeReader& tree,
                                           Canvas& canvas) {
    if (FromManifest<void> done = tree.field(record, "canvas", canvas); !done) return done;
    const auto isPossible = [](std::int64_t side) { return side >= 0 && side <= longestSide; };
    if (isPossible(canvas.size.width) && isPossible(canvas.size.height)) return {};
    const ManifestWalk::Place place(walk_, "canvas");
    return walk_.fault("size: no image is of this size");
}

std::expected<DocumentState, Error> BoardReader::readState(ManifestElement record) {
    DocumentState state;
    TreeReader tree(walk_, tiles_);
    FromManifest<GroupLayer> root =
        walk_.field(record, "root", [&](ManifestElement group) { return tree.readGroup(group); });
    if (!root) return std::unexpected(tree.errorOf(std::move(root.error())));
    state.root = CowPtr<GroupLayer>(std::move(*root));
    std::optional<LayerID> active;
    FromManifest<void> done = readCanvas(record, tree, state.canvas);
    if (done) done = tree.field(record, "workPath", state.workPath);
    if (done) done = tree.field(record, "activeLayerID", active);
    if (!done) return std::unexpected(described(std::move(done.error())));
    if (active && state.find(*active) != nullptr) {
        state.activeLayerID = active;
    } else if (!state.root->children.empty()) {
        state.activeLayerID = state.root->children.back().id();
    }
    return state;
}

std::expected<BoardNode, Error> BoardReader::readNode(ManifestElement record) {
    BoardNode node;
    std::expected<DocumentState, Error> state = readState(record);
    if (!state) return std::unexpected(std::move(state.error()));
    node.state = std::move(*state);
    TreeReader tree(walk_, tiles_);
    FromManifest<void> done = tree.field(record, "id", node.id);
    if (done) done = tree.field(record, "name", node.name);
    if (done) done = tree.field(record, "origin", node.origin);
    if (!done) return std::unexpected(described(std::move(done.error())));
    return node;
}

std::expected<Board, Error> BoardReader::readBoard() {
    std::vector<BoardNode> nodes;
    std::optional<BoardNodeID> active;
    FromManifest<void> head = checkFileRecord();
    if (head) head = TreeReader(walk_, tiles_).field(file_, "activeNodeID", active);
    if (!head) return std::unexpected(described(std::move(head.error())));
    std::optional<Error> error;
    if (const std::optional<ManifestElement> list = ManifestWalk::find(file_, "nodes")) {
        const ManifestWalk::Place place(walk_, "nodes");
        FromManifest<void> done =
            walk_.forEach(*list, [&](ManifestElement record) -> FromManifest<void> {
                std::expected<BoardNode, Error> node = readNode(record);
                if (!node) {
                    error = std::move(node.error());
                    return std::unexpected(std::string());
                }
                nodes.push_back(std::move(*node));
                return {};
            });
        if (error) return std::unexpected(std::move(*error));
        if (!done) return std::unexpected(described(std::move(done.error())));
    }
    if (!nodes.empty()) {
        const BoardNodeID first = nodes.front().id;
        return Board(std::move(nodes), active.value_or(first));
    }
    if (!ManifestWalk::find(file_, "canvas") || !ManifestWalk::find(file_, "root"))
        return std::unexpected(Error::corrupt("no nodes"));
    std::expected<DocumentState, Error> state = readState(file_);
    if (!state) return std::unexpected(std::move(state.error()));
    return Board(std::move(*state), "Node 1");
}

/// The manifest's text, with the room behind it that the parser wants.
std::expected<simdjson::padded_string, Error> readManifest(ByteSource& source) {
    std::array<std::byte, headerSize> header{};
    if (source.readAt(0, header) != header.size() ||
        std::memcmp(header.data(), magic.data(), magic.size()) != 0)
        return std::unexpected(Error::notANativeFile());
    std::int64_t length = 0;
    for (std::size_t i = 0; i < sizeof(length); ++i)
        length |= std::to_integer<std::int64_t>(header[16 + i]) << (8 * i);
    if (length < 0 || static_cast<std::uint64_t>(length) > source.size() - headerSize)
        return std::unexpected(Error::corrupt("description"));
    simdjson::padded_string text(static_cast<std::size_t>(length));
    const std::span<std::byte> bytes = std::as_writable_bytes(std::span(text.data(), text.size()));
    if (source.readAt(headerSize, bytes) != bytes.size())
        return std::unexpected(Error::corrupt("description"));
    return text;
}

FromManifest<std::vector<TileRef>> readRefs(ManifestElement file) {
    ManifestWalk walk;
    std::vector<TileRef> refs;
    const auto integer = [&](ManifestElement element) { return walk.integer(element); };
    const auto done = walk.field(file, "tiles", [&](ManifestElement list) {
        return walk.forEach(list, [&](ManifestElement record) -> FromManifest<void> {
            const auto format = walk.field(
                record, "format", [&](ManifestElement e) { return readFormatCode(walk, e); });
            if (!format) return std::unexpected(format.error());
            const auto offset = walk.field(record, "offset", integer);
            if (!offset) return std::unexpected(offset.error());
            const auto length = walk.field(record, "length", integer);
            if (!length) return std::unexpected(length.error());
            refs.push_back({*format, *offset, *length});
            return {};
        });
    });
    if (!done) return std::unexpected(done.error());
    return refs;
}

} // namespace

std::expected<Board, Error> readBoard(ByteSource& source, TileStore& store, Progress* progress) {
    const std::expected<simdjson::padded_string, Error> text = readManifest(source);
    if (!text) return std::unexpected(text.error());
    simdjson::dom::parser parser;
    simdjson::error_code code = parser.allocate(text->size(), deepestManifest);
    ManifestElement file;
    if (code == simdjson::SUCCESS) code = parser.parse(*text).get(file);
    if (code != simdjson::SUCCESS) return std::unexpected(described(simdjson::error_message(code)));
    if (const auto version = ManifestWalk::find(file, "formatVersion")) {
        const FromManifest<std::int64_t> number = ManifestWalk().integer(*version);
        if (number && *number > currentVersion)
            return std::unexpected(Error::newerVersion(*number));
    }
    const FromManifest<std::vector<TileRef>> refs = readRefs(file);
    if (!refs) return std::unexpected(described(refs.error()));
    const auto tiles = readTileArea(*refs, source, headerSize + text->size(), store, progress);
    if (!tiles) {
        return std::unexpected(tiles.error() == TileAreaFault::cancelled
                                   ? Error::cancelled()
                                   : Error::corrupt("tile data"));
    }
    return BoardReader(file, *tiles).readBoard();
}

} // namespace ombrel::NativeFormat
