// Decoding by the formats' own libraries, used directly: what tests of export compare with, so that
// a fault shared by our importer and exporter cannot hide.
#pragma once

#include "Core/Geometry.h"
#include "IO/SampleLayout.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace ombrel::test {

struct DecodedFile {
    std::string error; ///< empty when all went well
    PixelSize size;
    SampleLayout layout;
    std::vector<std::byte> samples;
    std::vector<std::byte> iccData;
    double resolution = 0; ///< pixels per inch; 0 where the file tells none
    int orientation = 1;
};

DecodedFile decodePng(std::span<const std::byte> file);
DecodedFile decodeJpeg(std::span<const std::byte> file);
DecodedFile decodeTiff(std::span<const std::byte> file);
DecodedFile decodeWebp(std::span<const std::byte> file);
DecodedFile decodeHeic(std::span<const std::byte> file);

} // namespace ombrel::test
