// Some columns of a row of a tile. Plain value.
#pragma once

#include <algorithm>
#include <cstdint>

namespace ombrel::Kernels {

struct ColumnSpan {
    std::int32_t begin = 0;
    std::int32_t end = 0; ///< exclusive

    bool isEmpty() const { return end <= begin; }
    /// Widened to hold another one.
    void add(ColumnSpan other) {
        if (other.isEmpty()) return;
        if (isEmpty()) *this = other;
        begin = std::min(begin, other.begin);
        end = std::max(end, other.end);
    }
};

} // namespace ombrel::Kernels
