#include "App/Canvas/StraightNode.h"

#include <algorithm>
#include <cstring>

namespace ombrel {

namespace {

constexpr int lastTexel = 255;
constexpr std::size_t texelsOfRow = 256;
constexpr std::size_t bytesOfRow = texelsOfRow * 8;
constexpr int rowsOfBand = 16;
constexpr int pixelsAtOnce = 32;
constexpr std::uint64_t opaqueAlpha = 0x3C00;

/// The pixels whose middles lie from `low` up to `high`; `local` gives the middle of a pixel.
template <typename Local>
PixelSpan spanOf(Local local, float slope, float low, float high, int count) {
    const auto start = static_cast<double>(local(0));
    const double a = (low - start) / slope;
    const double b = (high - start) / slope;
    const auto limited = [&](double at) { return std::clamp(at, 0.0, static_cast<double>(count)); };
    PixelSpan span{std::max(static_cast<int>(limited(std::min(a, b))) - 1, 0),
                   std::min(static_cast<int>(limited(std::max(a, b))) + 2, count)};
    const auto isOutside = [&](int at) { return !(local(at) >= low && local(at) < high); };
    while (span.first < span.end && isOutside(span.first))
        ++span.first;
    while (span.first < span.end && isOutside(span.end - 1))
        --span.end;
    return span;
}

} // namespace

StraightNode::StraightNode(const Parts& parts)
    : layout_(parts.layout), conversion_(parts.conversion), encoding_(parts.encoding),
      checks_(parts.checks), isSmooth_(parts.isSmooth), columns_(columnsOf(parts.area)),
      rows_(rowsOf(parts.area)),
      bands_(static_cast<std::size_t>(parts.layout.height() / rowsOfBand + 1)) {
    if (columns_.first == columns_.end || rows_.first == rows_.end) return;
    if (checks_) makeCheckRows(*checks_);
    for (const RasterTile& tile : parts.tiles)
        add(tile);
}

PixelSpan StraightNode::columnsOf(const LocalRect& area) const {
    return spanOf([this](int x) { return localX(x); }, layout_.along()[0], area.left, area.right,
                  layout_.width());
}

PixelSpan StraightNode::rowsOf(const LocalRect& area) const {
    return spanOf([this](int y) { return localY(y); }, layout_.across()[1], area.top, area.bottom,
                  layout_.height());
}

StraightNode::Texels StraightNode::texelsAt(const TilePlacement& placement, float local,
                                            bool isRow) const {
    const std::size_t axis = isRow ? 1 : 0;
    const LocalRect& area = placement.area;
    const float at =
        (local - (isRow ? area.top : area.left)) * placement.factor[axis] + placement.offset[axis];
    if (!isSmooth_) return {.first = std::clamp(wholePart(at), 0, lastTexel)};
    const LocalRect& limits = placement.limits;
    const float low = isRow ? limits.top : limits.left;
    const float high = isRow ? limits.bottom : limits.right;
    const float from = std::min(std::max(at, low), high) - 0.5f;
    const int floor = wholePart(from);
    return {std::max(floor, 0), std::min(floor + 1, lastTexel), from - static_cast<float>(floor)};
}

void StraightNode::add(const RasterTile& tile) {
    Tile added{&tile, columnsOf(tile.placement.area), rowsOf(tile.placement.area), texels_.size()};
    if (added.columns.first == added.columns.end || added.rows.first == added.rows.end) return;
    if (tile.bytes != nullptr) {
        for (int x = added.columns.first; x < added.columns.end; ++x)
            texels_.push_back(texelsAt(tile.placement, localX(x), false));
    } else if (tile.color[3] == 1.0f) {
        added.rgb = encoding_.encoded(tile.color);
    }
    const auto index = static_cast<std::uint32_t>(tiles_.size());
    for (int band = added.rows.first / rowsOfBand; band * rowsOfBand < added.rows.end; ++band)
        bands_[static_cast<std::size_t>(band)].push_back(index);
    tiles_.push_back(added);
}

void StraightNode::makeCheckRows(const CheckPlacement& checks) {
    for (std::size_t first = 0; first < checkRows_.size(); ++first) {
        CheckRow& row = checkRows_[first];
        row.light.resize(static_cast<std::size_t>(columns_.end));
        row.rgb.resize(row.light.size());
        for (int x = columns_.first; x < columns_.end; ++x) {
            const int square = wholePart((localX(x) - checks.corner[0]) * checks.squaresPerUnit);
            const bool isDark = ((square + static_cast<int>(first)) & 1) != 0;
            const float light = isDark ? FrameLayout::darkSquare : FrameLayout::lightSquare;
            row.light[static_cast<std::size_t>(x)] = Float4{light, light, light, 1};
        }
        encoding_.encode(row.light, row.rgb.data());
    }
}

StraightNode::Ground StraightNode::groundOf(int y, std::span<const Float4> below) const {
    if (!hidesGround()) return {below.data(), nullptr};
    const int square = wholePart((localY(y) - checks_->corner[1]) * checks_->squaresPerUnit);
    const CheckRow& row = checkRows_[static_cast<std::size_t>(square & 1)];
    return {row.light.data(), row.rgb.data()};
}

void StraightNode::draw(int y, std::span<const Float4> ground, std::uint32_t* rgb) const {
    const Ground under = groundOf(y, ground);
    const auto& band = bands_[static_cast<std::size_t>(y / rowsOfBand)];
    std::size_t covered = 0;
    for (const std::uint32_t index : band)
        covered += tiles_[index].rows.contains(y) ? tiles_[index].columns.count() : 0;
    if (covered < columns_.count()) {
        if (under.rgb != nullptr) {
            std::copy(under.rgb + columns_.first, under.rgb + columns_.end, rgb + columns_.first);
        } else {
            encoding_.encode(
                ground.subspan(static_cast<std::size_t>(columns_.first), columns_.count()),
                rgb + columns_.first);
        }
    }
    for (const std::uint32_t index : band) {
        const Tile& tile = tiles_[index];
        if (!tile.rows.contains(y)) continue;
        if (tile.tile->bytes == nullptr)
            drawColor(tile, under, rgb);
        else if (isSmooth_)
            drawSmooth(tile, y, under, rgb);
        else
            drawNearest(tile, y, under, rgb);
    }
}

void StraightNode::drawColor(const Tile& tile, const Ground& ground, std::uint32_t* rgb) const {
    if (tile.rgb != 0) {
        std::fill(rgb + tile.columns.first, rgb + tile.columns.end, tile.rgb);
        return;
    }
    std::array<Float4, pixelsAtOnce> pixels;
    for (int first = tile.columns.first; first < tile.columns.end; first += pixelsAtOnce) {
        const int count = std::min(pixelsAtOnce, tile.columns.end - first);
        for (int i = 0; i < count; ++i)
            pixels[static_cast<std::size_t>(i)] =
                laidOver(tile.tile->color, ground.light[first + i]);
        encoding_.encode(std::span(pixels).first(static_cast<std::size_t>(count)), rgb + first);
    }
}

void StraightNode::drawNearest(const Tile& tile, int y, const Ground& ground,
                               std::uint32_t* rgb) const {
    const Texels row = texelsAt(tile.tile->placement, localY(y), true);
    const std::byte* bytes = tile.tile->bytes + static_cast<std::size_t>(row.first) * bytesOfRow;
    const Texels* columns = texels_.data() + tile.texels;
    std::array<std::uint64_t, pixelsAtOnce> texels;
    std::array<Float4, pixelsAtOnce> pixels;
    for (int first = tile.columns.first; first < tile.columns.end; first += pixelsAtOnce) {
        const auto count =
            static_cast<std::size_t>(std::min(pixelsAtOnce, tile.columns.end - first));
        std::uint64_t any = 0;
        bool isOpaque = true;
        for (std::size_t i = 0; i < count; ++i, ++columns) {
            std::memcpy(&texels[i], bytes + static_cast<std::size_t>(columns->first) * 8, 8);
            any |= texels[i];
            isOpaque = isOpaque && texels[i] >> 48 == opaqueAlpha;
        }
        if (isOpaque && conversion_.isIdentity) {
            for (std::size_t i = 0; i < count; ++i)
                rgb[first + static_cast<int>(i)] = encoding_.encodedOpaque(texels[i]);
        } else if (any == 0 && ground.rgb != nullptr) {
            std::copy_n(ground.rgb + first, count, rgb + first);
        } else {
            for (std::size_t i = 0; i < count; ++i)
                pixels[i] = laidOver(conversion_.apply(lightOf(texels[i])),
                                     ground.light[first + static_cast<int>(i)]);
            encoding_.encode(std::span(pixels).first(count), rgb + first);
        }
    }
}

void StraightNode::drawSmooth(const Tile& tile, int y, const Ground& ground,
                              std::uint32_t* rgb) const {
    const Texels row = texelsAt(tile.tile->placement, localY(y), true);
    const Texels* columns = texels_.data() + tile.texels;
    const auto [first, end] = tile.columns;
    // The rows are mixed where a pixel looks, then neighbours within the mixed one.
    const Texels& one = columns[0];
    const Texels& other = columns[tile.columns.count() - 1];
    const auto left = static_cast<std::size_t>(std::min(one.first, other.first));
    const auto right = static_cast<std::size_t>(std::max(one.second, other.second));
    const auto* halves = reinterpret_cast<const std::uint16_t*>(tile.tile->bytes);
    const auto rowAt = [&](int index) {
        return halves + 4 * (static_cast<std::size_t>(index) * texelsOfRow + left);
    };
    std::array<Float4, texelsOfRow> mixed;
    Kernels::mixRows(rowAt(row.first), rowAt(row.second), row.share, 4 * (right - left + 1),
                     reinterpret_cast<float*>(mixed.data() + left));
    std::array<Float4, pixelsAtOnce> pixels;
    for (int from = first; from < end; from += pixelsAtOnce) {
        const auto count = static_cast<std::size_t>(std::min(pixelsAtOnce, end - from));
        for (std::size_t i = 0; i < count; ++i, ++columns) {
            const Float4 a = mixed[static_cast<std::size_t>(columns->first)];
            const Float4 b = mixed[static_cast<std::size_t>(columns->second)];
            pixels[i] = laidOver(conversion_.apply(a + (b - a) * columns->share),
                                 ground.light[from + static_cast<int>(i)]);
        }
        encoding_.encode(std::span(pixels).first(count), rgb + from);
    }
}

} // namespace ombrel
