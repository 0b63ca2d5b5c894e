#include "IO/Codecs/LzwEncoder.h"

#include <algorithm>

namespace ombrel {

namespace {

constexpr std::uint32_t clearCode = 256;
constexpr std::uint32_t endCode = 257;
constexpr std::uint32_t firstFreeCode = 258;
constexpr std::uint32_t lastCode = 4093; // one below what 12 bits hold with the early growth
constexpr int shortestCode = 9;
constexpr std::size_t tableSize = 8192; // at most half full; small enough to wipe often
constexpr std::uint32_t emptySlot = 0;  // no entry: strings get codes from 258 on

class BitWriter {
public:
    explicit BitWriter(std::uint8_t* out) : out_(out), start_(out) {}

    void put(std::uint32_t code, int width) {
        pending_ = (pending_ << width) | code;
        pendingBits_ += width;
        if (pendingBits_ < 32) return;
        pendingBits_ -= 32;
        for (int shift = 24; shift >= 0; shift -= 8)
            *out_++ = static_cast<std::uint8_t>(pending_ >> (pendingBits_ + shift));
    }
    std::size_t finish() {
        for (; pendingBits_ >= 8; pendingBits_ -= 8)
            *out_++ = static_cast<std::uint8_t>(pending_ >> (pendingBits_ - 8));
        if (pendingBits_ > 0) *out_++ = static_cast<std::uint8_t>(pending_ << (8 - pendingBits_));
        return static_cast<std::size_t>(out_ - start_);
    }

private:
    std::uint8_t* out_;
    std::uint8_t* start_;
    std::uint64_t pending_ = 0;
    int pendingBits_ = 0;
};

/// Every byte its own code, cleared before the codes would grow.
std::size_t encodeBytes(std::span<const std::uint8_t> input, std::uint8_t* out) {
    constexpr std::size_t bytesBetweenClears = 250;
    BitWriter writer(out);
    for (std::size_t i = 0; i < input.size(); ++i) {
        if (i % bytesBetweenClears == 0) writer.put(clearCode, shortestCode);
        writer.put(input[i], shortestCode);
    }
    writer.put(endCode, shortestCode);
    return writer.finish();
}

} // namespace

LzwEncoder::LzwEncoder() : table_(tableSize, emptySlot) {}

std::vector<std::uint8_t> LzwEncoder::encode(std::span<const std::uint8_t> input) {
    // Strings take at most 12 bits a byte, whatever the input.
    std::vector<std::uint8_t> output(input.size() + input.size() / 2 + 16);
    std::size_t length = encodeStrings(input, output.data());
    if (length > longestOutput(input.size())) length = encodeBytes(input, output.data());
    output.resize(length);
    return output;
}

std::size_t LzwEncoder::encodeStrings(std::span<const std::uint8_t> input, std::uint8_t* out) {
    BitWriter writer(out);
    int width = shortestCode;
    std::uint32_t nextCode = firstFreeCode;
    const auto clear = [&] {
        writer.put(clearCode, width);
        std::ranges::fill(table_, emptySlot);
        width = shortestCode;
        nextCode = firstFreeCode;
    };
    clear();
    if (!input.empty()) {
        std::uint32_t prefix = input[0];
        for (std::size_t i = 1; i < input.size(); ++i) {
            const std::uint32_t key = (prefix << 8) | input[i];
            std::size_t slot = (key * 0x9E3779B1u) >> 19;
            while (table_[slot] != emptySlot && table_[slot] >> 12 != key)
                slot = (slot + 1) % tableSize;
            if (table_[slot] != emptySlot) {
                prefix = table_[slot] & 0xFFFu;
                continue;
            }
            writer.put(prefix, width);
            table_[slot] = (key << 12) | nextCode;
            prefix = input[i];
            if (nextCode == lastCode) {
                clear();
                continue;
            }
            ++nextCode;
            if (nextCode == (1u << width)) ++width;
        }
        writer.put(prefix, width);
        if (nextCode + 1 == (1u << width)) ++width; // the reader counts this code too
    }
    writer.put(endCode, width);
    return writer.finish();
}

} // namespace ombrel
