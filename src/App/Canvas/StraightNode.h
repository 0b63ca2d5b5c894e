// A node of a frame that is not turned, and that no later one covers: its rows go from the halves
// of its tiles straight to bytes, since nothing will be laid over them. What depends on a column or
// a row alone is worked out once a frame. It draws what RasterRow draws. Refers to the parts of the
// frame it is made of; const use from any thread.
#pragma once

#include "App/Canvas/RasterRow.h"

#include <optional>
#include <span>
#include <vector>

namespace ombrel {

class StraightNode {
public:
    struct Parts {
        const FrameLayout& layout;
        LocalRect area; ///< of the canvas
        const std::optional<CheckPlacement>& checks;
        std::span<const RasterTile> tiles; ///< no two of them overlap
        const RasterConversion& conversion;
        const RasterEncoding& encoding;
        bool isSmooth;
    };

    explicit StraightNode(const Parts& parts);

    const PixelSpan& columns() const { return columns_; }
    const PixelSpan& rows() const { return rows_; }
    /// Whether what lies below it matters to no pixel.
    bool hidesGround() const { return !checkRows_[0].light.empty(); }
    /// Writes its columns of a row. `ground` is what lies below, the whole row.
    void draw(int y, std::span<const Float4> ground, std::uint32_t* rgb) const;

private:
    /// The texels that a column or a row of pixels shows, and the second one's share.
    struct Texels {
        int first = 0;
        int second = 0;
        float share = 0;
    };
    struct Tile {
        const RasterTile* tile;
        PixelSpan columns;
        PixelSpan rows;
        std::size_t texels;    ///< where those of its columns begin
        std::uint32_t rgb = 0; ///< of one opaque colour, else 0
    };
    struct CheckRow {
        std::vector<Float4> light;
        std::vector<std::uint32_t> rgb;
    };
    /// What a row lies on, by column of the screen.
    struct Ground {
        const Float4* light;
        const std::uint32_t* rgb; ///< null where it would have to be encoded
    };

    float localX(int x) const {
        return layout_.along()[0] * (static_cast<float>(x) + 0.5f) + layout_.start()[0];
    }
    float localY(int y) const {
        return layout_.across()[1] * (static_cast<float>(y) + 0.5f) + layout_.start()[1];
    }
    PixelSpan columnsOf(const LocalRect& area) const;
    PixelSpan rowsOf(const LocalRect& area) const;
    Texels texelsAt(const TilePlacement& placement, float local, bool isRow) const;
    void add(const RasterTile& tile);
    void makeCheckRows(const CheckPlacement& checks);
    Ground groundOf(int y, std::span<const Float4> below) const;

    void drawColor(const Tile& tile, const Ground& ground, std::uint32_t* rgb) const;
    void drawNearest(const Tile& tile, int y, const Ground& ground, std::uint32_t* rgb) const;
    void drawSmooth(const Tile& tile, int y, const Ground& ground, std::uint32_t* rgb) const;

    const FrameLayout& layout_;
    const RasterConversion& conversion_;
    const RasterEncoding& encoding_;
    const std::optional<CheckPlacement>& checks_;
    bool isSmooth_;
    PixelSpan columns_;
    PixelSpan rows_;
    std::vector<Tile> tiles_;
    std::vector<std::vector<std::uint32_t>> bands_; ///< tiles by sixteen rows of the screen
    std::vector<Texels> texels_;
    std::array<CheckRow, 2> checkRows_; ///< those that begin light, and dark; without checks empty
};

} // namespace ombrel
