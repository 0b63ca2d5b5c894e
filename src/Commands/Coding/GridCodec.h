// Grids of tiles in JSON: every stored tile once, as the base64 of its blob, and the cells that
// show it; solid cells in runs along a row. Scripts give pixels as a colour or a file instead.
#pragma once

#include "Commands/Coding/FieldCodec.h"
#include "Core/TileGrid.h"

namespace ombrel {

template <>
struct FieldCodec<TileGrid> {
    static Json encode(const TileGrid& grid);
    /// Of the format of the grid that is there.
    static Decoded<TileGrid> decodeOver(const Json& json, Decoder& in, const TileGrid& present);
    static std::string describe(ValueKinds& kinds);
};

} // namespace ombrel
