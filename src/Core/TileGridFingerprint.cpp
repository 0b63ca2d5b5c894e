// The fingerprint of a grid is the value of a polynomial: the sum over all cells of
// term(content) * A^x * B^y modulo the prime 2^61 - 1, with A, B and the key of the terms drawn at
// random when the process starts. A sum does not depend on the order of its cells, and a subtree's
// sum moves to another place by one multiplication; so each node remembers its own, and a changed
// grid costs only the nodes on the way to the change.
#include "Core/TileGrid.h"

#include <array>
#include <bit>
#include <cstdint>
#include <random>

namespace ombrel {

namespace {

__extension__ using Wide = unsigned __int128;

constexpr std::uint64_t prime = (std::uint64_t{1} << 61) - 1;

constexpr std::uint64_t reduced(Wide value) {
    const auto low = static_cast<std::uint64_t>(value) & prime;
    const std::uint64_t sum = low + static_cast<std::uint64_t>(value >> 61);
    return sum >= prime ? sum - prime : sum;
}

constexpr std::uint64_t product(std::uint64_t a, std::uint64_t b) {
    return reduced(static_cast<Wide>(a) * b);
}

constexpr std::uint64_t power(std::uint64_t base, std::uint64_t exponent) {
    std::uint64_t result = 1;
    for (; exponent != 0; exponent >>= 1, base = product(base, base)) {
        if ((exponent & 1) != 0) result = product(result, base);
    }
    return result;
}

// The finalizer of SplitMix64: every bit of the input moves every bit of the result.
constexpr std::uint64_t mixed(std::uint64_t value) {
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9u;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBu;
    return value ^ (value >> 31);
}

// A coordinate's base and its powers: what one slot, and one root left of zero, is multiplied by.
struct AxisPowers {
    std::array<std::array<std::uint64_t, 8>, TileGridNode::maximumHeight + 1> ofSlot{};
    std::array<std::uint64_t, TileGridNode::maximumHeight + 1> ofNegativeRoot{};

    explicit AxisPowers(std::uint64_t base) {
        for (int height = 1; height <= TileGridNode::maximumHeight; ++height) {
            const auto index = static_cast<std::size_t>(height);
            const auto side = static_cast<std::uint64_t>(TileGridNode::sideOfHeight(height));
            for (std::uint64_t slot = 0; slot < 8; ++slot)
                ofSlot[index][slot] = power(base, slot * (side / 8));
            ofNegativeRoot[index] = power(base, prime - 1 - side);
        }
    }
};

std::uint64_t randomWord() {
    std::random_device device;
    return (static_cast<std::uint64_t>(device()) << 32) ^ device();
}

struct Keys {
    std::uint64_t term = randomWord();
    AxisPowers x{randomWord() % (prime - 2) + 2};
    AxisPowers y{randomWord() % (prime - 2) + 2};

    static const Keys& ofProcess() {
        static const Keys keys;
        return keys;
    }
};

// The bits of a channel, alike for both zeros: they are equal colours.
std::uint64_t channelBits(float channel) {
    return channel == 0 ? 0 : std::bit_cast<std::uint32_t>(channel);
}

std::uint64_t termOf(const TileGridLeaf& leaf, int slot, int index, const Keys& keys) {
    const TileGridCell& cell = leaf.cells()[index];
    std::uint64_t hash = keys.term;
    if (leaf.isTile(slot)) {
        hash = mixed(mixed(hash ^ cell.tile.id().rawValue) + 1);
    } else {
        const PremultipliedColor& color = cell.color;
        hash = mixed(hash ^ (channelBits(color.red) << 32 | channelBits(color.green)));
        hash = mixed(hash ^ (channelBits(color.blue) << 32 | channelBits(color.alpha)));
    }
    return reduced(hash);
}

std::uint64_t sumOf(const TileGridNode& node, const Keys& keys) {
    if (const auto known = node.fingerprint.load(std::memory_order_relaxed); known != 0)
        return known;
    const auto height = static_cast<std::size_t>(node.height);
    std::uint64_t sum = 0;
    int index = 0;
    for (std::uint64_t rest = node.occupancy; rest != 0; rest &= rest - 1, ++index) {
        const int slot = std::countr_zero(rest);
        const std::uint64_t below = node.isLeaf() ? termOf(leafOf(node), slot, index, keys)
                                                  : sumOf(*branchOf(node).children()[index], keys);
        const std::uint64_t place =
            product(keys.x.ofSlot[height][static_cast<std::size_t>(slot & 7)],
                    keys.y.ofSlot[height][static_cast<std::size_t>(slot >> 3)]);
        sum = reduced(static_cast<Wide>(sum) + product(below, place));
    }
    // Threads that meet here find the same sum. The prime itself stands for a sum of zero.
    node.fingerprint.store(sum == 0 ? prime : sum, std::memory_order_relaxed);
    return sum;
}

} // namespace

std::uint64_t TileGrid::fingerprint() const {
    const Keys& keys = Keys::ofProcess();
    std::uint64_t sum = 0;
    for (int index = 0; index < quadrantCount; ++index) {
        const Quadrant quadrant{index};
        if (!root(quadrant)) continue;
        const auto height = static_cast<std::size_t>(root(quadrant)->height);
        std::uint64_t part = reduced(sumOf(*root(quadrant).get(), keys));
        if (quadrant.isLeft()) part = product(part, keys.x.ofNegativeRoot[height]);
        if (quadrant.isUpper()) part = product(part, keys.y.ofNegativeRoot[height]);
        sum = reduced(static_cast<Wide>(sum) + part);
    }
    return mixed(sum ^ keys.term);
}

} // namespace ombrel
