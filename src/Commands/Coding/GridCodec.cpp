#include "Commands/Coding/GridCodec.h"

#include "Base/Base64.h"
#include "Commands/Coding/ColorCodecs.h"
#include "Commands/Coding/GeometryCodecs.h"
#include "Core/TileStore.h"

#include <filesystem>
#include <unordered_map>

namespace ombrel {

namespace {

constexpr std::int64_t farthestTile = static_cast<std::int64_t>(farthestPixel) / tileSize;
/// Solid cells that one text may ask for: a canvas of a million by a million pixels.
constexpr std::int64_t mostSolidCells = 1 << 24;

// Cells come in row order; solids of one colour that follow each other become one run.
class GridWriter {
public:
    void add(TileCoord coord, const TileCell& cell) {
        if (cell.isPixels()) {
            cells_.push_back({coord.x, coord.y, indexOf(cell.tile())});
        } else if (runLength_ > 0 && coord.y == runStart_.y &&
                   coord.x == runStart_.x + runLength_ && cell.color() == runColor_) {
            ++runLength_;
        } else {
            endRun();
            runStart_ = coord;
            runColor_ = cell.color();
            runLength_ = 1;
        }
    }

    Json finished() {
        endRun();
        Json json = Json::object();
        if (!cells_.empty()) json["cells"] = std::move(cells_);
        if (!tiles_.empty()) json["tiles"] = std::move(tiles_);
        if (!solids_.empty()) json["solids"] = std::move(solids_);
        return json;
    }

private:
    std::size_t indexOf(const Tile& tile) {
        const auto [entry, isNew] = indices_.try_emplace(tile.id(), indices_.size());
        if (isNew) tiles_.push_back(base64Text(tile.store().compressedBlob(tile)));
        return entry->second;
    }

    void endRun() {
        if (runLength_ == 0) return;
        Json run = Json::array({runStart_.x, runStart_.y, runLength_});
        for (const float channel :
             {runColor_.red, runColor_.green, runColor_.blue, runColor_.alpha})
            run.push_back(FieldCodec<float>::encode(channel));
        solids_.push_back(std::move(run));
        runLength_ = 0;
    }

    Json cells_ = Json::array();
    Json tiles_ = Json::array();
    Json solids_ = Json::array();
    std::unordered_map<TileID, std::size_t> indices_;
    TileCoord runStart_;
    PremultipliedColor runColor_;
    std::int64_t runLength_ = 0;
};

class GridReader {
public:
    GridReader(TileFormat format, Decoder& in) : grid_(format), in_(in) {}

    Decoded<TileGrid> read(const Json& json) {
        for (const auto& [name, readItem] : lists) {
            const Json* list = fieldOf(json, name);
            if (list == nullptr) continue;
            const Decoder::Place place(in_, name);
            if (!list->is_array()) return in_.mustBe("a list");
            for (std::size_t index = 0; index < list->size(); ++index) {
                const Decoder::Place item(in_, index);
                if (auto error = (this->*readItem)((*list)[index]))
                    return std::unexpected(std::move(*error));
            }
        }
        return std::move(grid_);
    }

private:
    using Fault = std::optional<JsonError>;

    Fault readTile(const Json& json) {
        std::optional<std::vector<std::byte>> bytes;
        if (json.is_string()) bytes = bytesOfBase64(json.get_ref<const std::string&>());
        if (!bytes || !isSound(*bytes)) return in_.mustBe("the base64 of a tile").error();
        TileBlob blob(bytes->begin(), bytes->end());
        tiles_.push_back(in_.context().store.makeTile(std::move(blob), grid_.format()));
        return std::nullopt;
    }

    bool isSound(std::span<const std::byte> blob) {
        scratch_.resize(bytesPerTile(grid_.format()));
        return TileCompression::decode(blob, scratch_, grid_.format());
    }

    Fault readCell(const Json& json) {
        const auto x = number(json, 0, -farthestTile, farthestTile);
        const auto y = number(json, 1, -farthestTile, farthestTile);
        const auto tile = number(json, 2, 0, std::ssize(tiles_) - 1);
        if (json.size() != 3 || !x || !y || !tile)
            return in_.mustBe("[x, y, index of the tile]").error();
        grid_.set(TileCoord::checked(*x, *y), tiles_[static_cast<std::size_t>(*tile)]);
        return std::nullopt;
    }

    Fault readSolid(const Json& json) {
        constexpr std::string_view form = "[x, y, count, red, green, blue, alpha]";
        const auto x = number(json, 0, -farthestTile, farthestTile);
        const auto y = number(json, 1, -farthestTile, farthestTile);
        const auto count = number(json, 2, 1, mostSolidCells);
        if (json.size() != 7 || !x || !y || !count) return in_.mustBe(form).error();
        std::array<float, 4> channels{};
        for (std::size_t i = 0; i < channels.size(); ++i) {
            const Decoded<float> channel = FieldCodec<float>::decode(json[3 + i], in_);
            if (!channel) return in_.mustBe(form).error();
            channels[i] = *channel;
        }
        solidCells_ += *count;
        if (*x + *count > farthestTile || solidCells_ > mostSolidCells)
            return in_.fault("asks for too many cells").error();
        const PremultipliedColor color{channels[0], channels[1], channels[2], channels[3]};
        for (std::int64_t i = 0; i < *count; ++i)
            grid_.set(TileCoord::checked(*x + i, *y), color);
        return std::nullopt;
    }

    static std::optional<std::int64_t> number(const Json& list, std::size_t index,
                                              std::int64_t least, std::int64_t most) {
        if (!list.is_array() || index >= list.size()) return std::nullopt;
        const Json& json = list[index];
        if (!json.is_number_integer()) return std::nullopt;
        if (json.is_number_unsigned() && json.get<std::uint64_t>() > INT64_MAX) return std::nullopt;
        const auto value = json.get<std::int64_t>();
        if (value < least || value > most) return std::nullopt;
        return value;
    }

    /// Tiles first: cells name them.
    static constexpr std::array<std::pair<std::string_view, Fault (GridReader::*)(const Json&)>, 3>
        lists{{{"tiles", &GridReader::readTile},
               {"cells", &GridReader::readCell},
               {"solids", &GridReader::readSolid}}};

    TileGrid grid_;
    Decoder& in_;
    std::vector<Tile> tiles_;
    std::vector<std::byte> scratch_;
    std::int64_t solidCells_ = 0;
};

Decoded<TileGrid> filled(const Json& json, TileFormat format, Decoder& in) {
    if (format != TileFormat::rgba16Float) return in.mustBe("a grid of the format r8");
    const Decoder::Place place(in, "fill");
    const Decoded<PremultipliedColor> color = FieldCodec<PremultipliedColor>::decode(json, in);
    if (!color) return std::unexpected(color.error());
    TileGrid grid(format);
    grid.fill(PixelRect::ofSize(in.state().canvas.size), *color, in.context().store);
    return grid;
}

Decoded<TileGrid> loaded(const Json& json, TileFormat format, Decoder& in) {
    if (format != TileFormat::rgba16Float) return in.mustBe("a grid of the format r8");
    const Decoder::Place place(in, "file");
    const Decoded<std::string> path = FieldCodec<std::string>::decode(json, in);
    if (!path) return std::unexpected(path.error());
    if (!in.context().loadPicture) return in.fault("can't be read here");
    auto picture = in.context().loadPicture(*path);
    if (!picture) return in.fault("can't be read: " + picture.error());
    in.pictureSize = picture->size;
    in.pictureName = std::filesystem::path(*path).stem().string();
    return std::move(picture->pixels);
}

} // namespace

Json FieldCodec<TileGrid>::encode(const TileGrid& grid) {
    GridWriter writer;
    grid.forEach([&](TileCoord coord, const TileCell& cell) { writer.add(coord, cell); });
    return writer.finished();
}

Decoded<TileGrid> FieldCodec<TileGrid>::decodeOver(const Json& json, Decoder& in,
                                                   const TileGrid& present) {
    constexpr std::array<std::string_view, 5> names{"cells", "tiles", "solids", "fill", "file"};
    if (std::optional<JsonError> error = in.refuseOtherFields(json, names))
        return std::unexpected(std::move(*error));
    for (const std::string_view alone : {names[3], names[4]}) {
        if (json.size() > 1 && json.contains(alone))
            return in.fault(fmt::format("may hold nothing beside \"{}\"", alone));
    }
    if (json.contains("fill")) return filled(json["fill"], present.format(), in);
    if (json.contains("file")) return loaded(json["file"], present.format(), in);
    return GridReader(present.format(), in).read(json);
}

std::string FieldCodec<TileGrid>::describe(ValueKinds& kinds) {
    FieldCodec<PremultipliedColor>::describe(kinds);
    kinds["pixels"].description =
        "`{\"fill\": color}` fills the canvas and `{\"file\": path}` reads a picture (neither for "
        "a mask). Written out, they are the tiles of 256 x 256 pixels in `tiles`, each in base64, "
        "`cells` as `[x, y, index of the tile]`, and cells of one color in `solids` as "
        "`[x, y, count, red, green, blue, alpha]`, which go to the right.";
    return "pixels";
}

} // namespace ombrel
