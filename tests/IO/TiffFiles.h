// TIFF files of every kind, written with libtiff from samples that are a plain function of their
// place.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include <tiffio.h>

namespace ombrel::test {

struct TiffRecipe {
    std::uint32_t width = 37;
    std::uint32_t height = 29;
    int bits = 8;
    int samples = 1;
    int photometric = PHOTOMETRIC_MINISBLACK;
    int sampleFormat = SAMPLEFORMAT_UINT;
    int compression = COMPRESSION_NONE;
    int planar = PLANARCONFIG_CONTIG;
    int predictor = PREDICTOR_NONE;
    std::uint32_t tile = 0;         ///< edge of tiles; 0 writes strips
    std::uint32_t rowsPerStrip = 8; ///< of strips
    const char* mode = "wl";        ///< byte order l or b, 8 for BigTIFF
    std::vector<std::uint16_t> extraSamples;
    /// Further tags, set before the pixels are written.
    std::function<void(TIFF*)> tags = {};
};

/// The raw sample: its lowest `bits` bits are written as they are (floats by their bits).
using TiffSampleSource = std::function<std::uint64_t(std::uint32_t x, std::uint32_t y, int sample)>;

/// Empty when libtiff refuses.
std::vector<std::byte> makeTiff(const TiffRecipe& recipe, const TiffSampleSource& sampleAt);

/// As makeTiff for rows or tiles already packed: `segment` gets the number of a strip or tile.
std::vector<std::byte>
makeTiffOfSegments(const TiffRecipe& recipe, std::uint32_t segmentCount,
                   const std::function<std::vector<std::uint8_t>(std::uint32_t)>& segment);

} // namespace ombrel::test
