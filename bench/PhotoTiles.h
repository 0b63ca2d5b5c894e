// Tiles as photographs give them: linear light halves with alpha 1, cut from a photograph of the
// corpus, or from a synthetic picture of gradients and grain where there is no corpus.
#pragma once

#include <cstddef>
#include <vector>

namespace ombrel::bench {

/// Tiles of rgba16Float, the same on every call; at least 16.
const std::vector<std::vector<std::byte>>& photoTiles();

} // namespace ombrel::bench
