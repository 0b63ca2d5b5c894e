#include "IO/Native/GridRecord.h"

#include <array>
#include <charconv>
#include <cmath>
#include <fmt/core.h>

namespace ombrel::NativeFormat {

namespace {

constexpr std::array<std::pair<TileFormat, std::string_view>, 2> formatCodes{{
    {TileFormat::rgba16Float, "rgba16Float"},
    {TileFormat::r8, "r8"},
}};

template <typename Number>
void appendDigits(std::string& text, Number number) {
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
    text.append(digits.data(), end.ptr);
}

void appendColor(std::string& text, const PremultipliedColor& color) {
    text += R"({"color":{"alpha":)";
    appendNumber(text, color.alpha);
    text += R"(,"blue":)";
    appendNumber(text, color.blue);
    text += R"(,"green":)";
    appendNumber(text, color.green);
    text += R"(,"red":)";
    appendNumber(text, color.red);
    text += "}";
}

FromManifest<PremultipliedColor> readColor(ManifestWalk& walk, ManifestElement element) {
    PremultipliedColor color;
    for (const auto& [key, channel] : {std::pair("red", &PremultipliedColor::red),
                                       std::pair("green", &PremultipliedColor::green),
                                       std::pair("blue", &PremultipliedColor::blue),
                                       std::pair("alpha", &PremultipliedColor::alpha)}) {
        const FromManifest<float> value =
            walk.field(element, key, [&](ManifestElement e) { return walk.number32(e); });
        if (!value) return std::unexpected(value.error());
        color.*channel = *value;
    }
    return color;
}

/// Builds one grid from its cells.
class GridReader {
public:
    GridReader(ManifestWalk& walk, TileFormat format, std::span<const Tile> tiles)
        : walk_(walk), grid_(format), tiles_(tiles) {}

    FromManifest<void> readCell(ManifestElement cell);
    bool namesNoTile() const { return namesNoTile_; }
    TileGrid takeGrid() { return std::move(grid_); }

private:
    FromManifest<TileCoord> readCoord(ManifestElement cell);
    FromManifest<Tile> readTile(ManifestElement index);

    ManifestWalk& walk_;
    TileGrid grid_;
    std::span<const Tile> tiles_;
    bool namesNoTile_ = false;
};

FromManifest<TileCoord> GridReader::readCoord(ManifestElement cell) {
    const auto coordinate = [&](ManifestElement e) { return walk_.integer32(e); };
    const FromManifest<std::int32_t> x = walk_.field(cell, "x", coordinate);
    if (!x) return std::unexpected(x.error());
    const FromManifest<std::int32_t> y = walk_.field(cell, "y", coordinate);
    if (!y) return std::unexpected(y.error());
    return TileCoord{*x, *y};
}

FromManifest<Tile> GridReader::readTile(ManifestElement element) {
    const FromManifest<std::int64_t> index = walk_.integer(element);
    if (!index) return std::unexpected(index.error());
    if (*index < 0 || *index >= std::ssize(tiles_) ||
        tiles_[static_cast<std::size_t>(*index)].format() != grid_.format()) {
        namesNoTile_ = true;
        return walk_.fault("tile reference");
    }
    return tiles_[static_cast<std::size_t>(*index)];
}

FromManifest<void> GridReader::readCell(ManifestElement cell) {
    const FromManifest<TileCoord> coord = readCoord(cell);
    if (!coord) return std::unexpected(coord.error());
    if (const auto index = ManifestWalk::find(cell, "tile")) {
        const ManifestWalk::Place place(walk_, "tile");
        FromManifest<Tile> tile = readTile(*index);
        if (!tile) return std::unexpected(tile.error());
        grid_.set(*coord, std::move(*tile));
    } else if (const auto element = ManifestWalk::find(cell, "color")) {
        const ManifestWalk::Place place(walk_, "color");
        const FromManifest<PremultipliedColor> color = readColor(walk_, *element);
        if (!color) return std::unexpected(color.error());
        grid_.set(*coord, *color);
    }
    return {};
}

} // namespace

std::string_view formatCode(TileFormat format) {
    for (const auto& [each, code] : formatCodes)
        if (each == format) return code;
    return {};
}

FromManifest<TileFormat> readFormatCode(ManifestWalk& walk, ManifestElement element) {
    std::string_view text;
    if (element.get(text) == simdjson::SUCCESS) {
        for (const auto& [each, code] : formatCodes)
            if (code == text) return each;
    }
    return walk.wanted("\"rgba16Float\" or \"r8\"");
}

void appendNumber(std::string& text, float number) {
    if (std::isnan(number)) {
        text += "\"nan\"";
    } else if (std::isinf(number)) {
        text += number > 0 ? "\"inf\"" : "\"-inf\"";
    } else if (number == 0 && std::signbit(number)) {
        text += "-0.0"; // "-0" would read back as a whole number, which has no sign
    } else {
        appendDigits(text, number);
    }
}

void appendNumber(std::string& text, std::int64_t number) {
    appendDigits(text, number);
}

void appendGrid(std::string& text, const TileGrid& grid, const TileTable& table) {
    text += R"({"format":")";
    text += formatCode(grid.format());
    text += R"(","tiles":[)";
    bool isFirst = true;
    grid.forEach([&](TileCoord coord, const TileCell& cell) {
        if (!isFirst) text += ',';
        isFirst = false;
        if (cell.isSolid()) {
            appendColor(text, cell.color());
        } else {
            text += R"({"tile":)";
            appendDigits(text, table.indexOf(cell.tile()));
        }
        text += R"(,"x":)";
        appendDigits(text, coord.x);
        text += R"(,"y":)";
        appendDigits(text, coord.y);
        text += '}';
        return true;
    });
    text += "]}";
}

std::expected<TileGrid, GridFault> readGrid(ManifestWalk& walk, ManifestElement element,
                                            TileFormat wanted, std::span<const Tile> tiles) {
    const auto described = [](std::string fault) {
        return std::unexpected(GridFault{false, std::move(fault)});
    };
    const FromManifest<TileFormat> format =
        walk.field(element, "format", [&](ManifestElement e) -> FromManifest<TileFormat> {
            const FromManifest<TileFormat> found = readFormatCode(walk, e);
            if (found && *found != wanted)
                return walk.wanted(fmt::format("\"{}\"", formatCode(wanted)));
            return found;
        });
    if (!format) return described(format.error());
    GridReader reader(walk, *format, tiles);
    const FromManifest<void> cells = walk.field(element, "tiles", [&](ManifestElement list) {
        return walk.forEach(list, [&](ManifestElement cell) { return reader.readCell(cell); });
    });
    if (reader.namesNoTile()) return std::unexpected(GridFault{true, {}});
    if (!cells) return described(cells.error());
    return reader.takeGrid();
}

} // namespace ombrel::NativeFormat
