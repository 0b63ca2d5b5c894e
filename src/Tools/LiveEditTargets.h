// The kinds of live layers that an operation edits as they are, without making them pixels first.
#pragma once

#include <cstdint>

namespace ombrel {

struct LiveEditTargets {
    std::uint8_t rawValue = 0;

    static const LiveEditTargets shape;
    static const LiveEditTargets type;

    constexpr bool contains(LiveEditTargets other) const {
        return (rawValue & other.rawValue) == other.rawValue;
    }
    constexpr LiveEditTargets operator|(LiveEditTargets other) const {
        return {static_cast<std::uint8_t>(rawValue | other.rawValue)};
    }
    bool operator==(const LiveEditTargets&) const = default;
};
inline constexpr LiveEditTargets LiveEditTargets::shape{1};
inline constexpr LiveEditTargets LiveEditTargets::type{2};

} // namespace ombrel
