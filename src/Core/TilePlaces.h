// At which coordinates of grids a tile has ever been put, as far as a few go: what answers "does
// this document still hold the tile" by a look at those cells instead of a walk over all of them.
// Copies of a grid and of its nodes keep coordinates, so only putting a tile into a cell, and
// moving a grid's cells, adds to it. Any thread.
#pragma once

#include "Core/Geometry.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace ombrel {

class TilePlaces {
public:
    void add(TileCoord coord) {
        const std::uint64_t word = wordOf(coord);
        for (std::atomic<std::uint64_t>& place : places_) {
            std::uint64_t known = place.load(std::memory_order_relaxed);
            if (known == none && word != none) {
                if (place.compare_exchange_strong(known, word, std::memory_order_relaxed)) return;
            }
            if (known == word && word != none) return;
        }
        areMore_.store(true, std::memory_order_relaxed);
    }

    /// Whether it was put at more coordinates than are remembered.
    bool areMore() const { return areMore_.load(std::memory_order_relaxed); }
    /// Whether isHere(TileCoord) is true for one of those remembered.
    template <typename Predicate>
    bool any(Predicate&& isHere) const {
        for (const std::atomic<std::uint64_t>& place : places_) {
            const std::uint64_t word = place.load(std::memory_order_relaxed);
            if (word == none) return false;
            if (isHere(coordOf(word))) return true;
        }
        return false;
    }

private:
    static constexpr std::uint64_t wordOf(TileCoord coord) {
        return static_cast<std::uint64_t>(static_cast<std::uint32_t>(coord.y)) << 32 |
               static_cast<std::uint32_t>(coord.x);
    }
    static constexpr TileCoord coordOf(std::uint64_t word) {
        return {static_cast<std::int32_t>(static_cast<std::uint32_t>(word)),
                static_cast<std::int32_t>(word >> 32)};
    }

    /// The outermost corner of the plane stands for nothing; a tile put there has "more" places.
    static constexpr std::uint64_t none = 0x8000000080000000;

    std::array<std::atomic<std::uint64_t>, 3> places_{none, none, none};
    std::atomic<bool> areMore_ = false;
};

} // namespace ombrel
