// Any bytes as a palette: refused with words, or sets of colours whose own palette reads back to
// them.
#include "Base/Check.h"
#include "IO/SwatchReader.h"

#include <cmath>
#include <cstdint>

using namespace ombrel;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto bytes = std::as_bytes(std::span(data, size));
    for (const auto read : {SwatchReader::readAdobeColor, SwatchReader::readSwatchExchange,
                            SwatchReader::readColorTable})
        static_cast<void>(read(bytes));
    const auto sets = SwatchReader::read(bytes, "Fallback");
    if (!sets) {
        OMBREL_CHECK(!sets.error().text().empty(), "an error has words");
        return 0;
    }
    for (const SwatchSet& set : *sets) {
        OMBREL_CHECK(!set.swatches.empty(), "a set has colours");
        for (const Swatch& swatch : set.swatches) {
            for (const double channel : {swatch.color.red, swatch.color.green, swatch.color.blue})
                OMBREL_CHECK(channel >= 0 && channel <= 1, "a channel is within 0 and 1");
        }
        const std::string text = SwatchWriter::gimpPalette(set);
        const auto again = SwatchReader::read(std::as_bytes(std::span(text)), "Fallback");
        OMBREL_CHECK(again && again->size() == 1, "what was written is read");
        OMBREL_CHECK((*again)[0].swatches.size() == set.swatches.size(), "no colour is lost");
        for (std::size_t i = 0; i < set.swatches.size(); ++i)
            OMBREL_CHECK(std::abs((*again)[0].swatches[i].color.red - set.swatches[i].color.red) <
                             0.003,
                         "colours come back");
    }
    return 0;
}
