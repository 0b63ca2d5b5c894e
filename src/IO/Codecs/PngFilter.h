// The five row filters of PNG (ISO/IEC 15948, section 9) and the usual choice among them: the one
// whose residuals, read as signed bytes, have the smallest sum of magnitudes. Any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ombrel {

class PngFilter {
public:
    /// Rows of `rowBytes` bytes in file order, `pixelBytes` a pixel.
    PngFilter(std::size_t rowBytes, std::size_t pixelBytes);

    /// Writes the number of the chosen filter and the residuals: row.size() + 1 bytes. `above` is
    /// empty for the first row.
    void filter(std::span<const std::uint8_t> row, std::span<const std::uint8_t> above,
                std::span<std::uint8_t> out);

private:
    std::size_t rowBytes_;
    std::size_t pixelBytes_;
    // Rows with a zero pixel before them, so that no filter asks where the row begins.
    std::vector<std::uint8_t> row_;
    std::vector<std::uint8_t> above_;
    std::vector<std::uint8_t> candidate_;
};

} // namespace ombrel
