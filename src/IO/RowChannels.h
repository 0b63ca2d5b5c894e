// One table a channel, shared by the channels whose curves are equal, which is nearly always all.
#pragma once

#include "Core/ToneCurve.h"

#include <array>
#include <cstddef>
#include <memory>

namespace ombrel {

/// Of red, green and blue; gray uses the first.
using ChannelCurves = std::array<ToneCurve, 3>;

/// `make` turns a curve into a shared pointer to its table.
template <typename Make>
auto tablesOf(const ChannelCurves& curves, Make make) {
    std::array<decltype(make(curves[0])), 3> tables;
    for (std::size_t i = 0; i < tables.size(); ++i) {
        for (std::size_t other = 0; other < i && tables[i] == nullptr; ++other) {
            if (curves[other] == curves[i]) tables[i] = tables[other];
        }
        if (tables[i] == nullptr) tables[i] = make(curves[i]);
    }
    return tables;
}

} // namespace ombrel
