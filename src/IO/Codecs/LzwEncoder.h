// The LZW of TIFF 6.0 (section 13): codes from 9 to 12 bits, most significant bit first, the width
// grown one code early. Each call makes one strip that stands alone. One thread an encoder.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace ombrel {

class LzwEncoder {
public:
    LzwEncoder();

    /// Never longer than `longestOutput(input.size())`: what does not shrink is written as single
    /// bytes of 9 bits, where growing codes would take up to 12.
    std::vector<std::uint8_t> encode(std::span<const std::uint8_t> input);

    static constexpr std::size_t longestOutput(std::size_t inputLength) {
        return inputLength + inputLength / 8 + inputLength / 200 + 16;
    }

private:
    std::size_t encodeStrings(std::span<const std::uint8_t> input, std::uint8_t* out);

    std::vector<std::uint32_t> table_; ///< open addressing: 20 bits of key, 12 bits of code
};

} // namespace ombrel
