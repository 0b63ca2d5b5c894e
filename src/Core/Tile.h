// A tile: 256 x 256 pixels that never change once made, known by identity. `Tile` is a shared
// handle of one pointer; copying it shares the pixels, and when the last handle goes, the store
// takes the storage back. Handles may be copied and dropped on any thread. Pixels are reached
// through TileStore::pin, most simply by a TilePin.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <variant>

#include "Core/PremultipliedColor.h"

namespace ombrel {

class TileStore;
class TileStorage;

enum class TileFormat : std::uint8_t {
    rgba16Float, ///< red, green, blue, alpha as halves, premultiplied, linear
    r8,          ///< coverage 0 to 255
};

inline constexpr std::size_t pixelsPerTile = 65536;

constexpr std::size_t bytesPerPixel(TileFormat format) {
    return format == TileFormat::rgba16Float ? 8 : 1;
}
constexpr std::size_t bytesPerTileRow(TileFormat format) {
    return bytesPerPixel(format) * 256;
}
constexpr std::size_t bytesPerTile(TileFormat format) {
    return bytesPerPixel(format) * pixelsPerTile;
}

/// Given out by the store from 1 on, never reused within a process.
struct TileID {
    std::uint64_t rawValue = 0;

    std::string text() const; ///< "#17"
    auto operator<=>(const TileID&) const = default;
};

class Tile {
public:
    Tile(const Tile& other) noexcept;
    Tile(Tile&& other) noexcept : storage_(std::exchange(other.storage_, nullptr)) {}
    Tile& operator=(Tile other) noexcept {
        std::swap(storage_, other.storage_);
        return *this;
    }
    ~Tile();

    TileID id() const;
    TileFormat format() const;
    TileStore& store() const;
    TileStorage& storage() const { return *storage_; }

    /// The very same tile; pixels are never compared.
    bool operator==(const Tile& other) const { return storage_ == other.storage_; }

private:
    friend class TileStore;
    /// Adopts one reference.
    explicit Tile(TileStorage* storage) noexcept : storage_(storage) {}

    TileStorage* storage_; ///< null only after a move
};

/// What a cell of a grid holds: one colour for the whole tile, or stored pixels.
using TileContent = std::variant<PremultipliedColor, Tile>;

} // namespace ombrel

template <>
struct std::hash<ombrel::TileID> {
    std::size_t operator()(const ombrel::TileID& id) const noexcept {
        return static_cast<std::size_t>(id.rawValue * 0x9E3779B97F4A7C15ull);
    }
};
