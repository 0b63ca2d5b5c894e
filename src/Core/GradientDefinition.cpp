#include "Core/GradientDefinition.h"

#include <algorithm>

namespace ombrel {

namespace {

constexpr std::size_t fewestStops = 2;

template <typename Stop>
bool removeStop(std::vector<Stop>& stops, const Uuid& id) {
    if (stops.size() <= fewestStops) return false;
    const auto found = std::ranges::find(stops, id, &Stop::id);
    if (found == stops.end()) return false;
    stops.erase(found);
    return true;
}

} // namespace

bool GradientDefinition::removeColorStop(const Uuid& stop) {
    return removeStop(colorStops, stop);
}

bool GradientDefinition::removeOpacityStop(const Uuid& stop) {
    return removeStop(opacityStops, stop);
}

} // namespace ombrel
