#include "Tools/PaintingInput.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace ombrel {

namespace {

constexpr std::chrono::milliseconds digitPatience{600};
constexpr double leastSize = 1;
constexpr double mostSize = 2000;
constexpr double sizeStep = 1.2;
constexpr double hardnessStep = 0.25;
constexpr double pointsOfHardness = 150; ///< of the view, from soft to hard
constexpr double pointsToDecideAxis = 3;

} // namespace

RealPoint PaintingInput::AxisLock::apply(RealPoint location, double scale) {
    const double dx = location.x - origin.x;
    const double dy = location.y - origin.y;
    if (!horizontal) {
        if (!(std::hypot(dx, dy) * scale >= pointsToDecideAxis)) return location;
        horizontal = std::abs(dy) <= std::abs(dx);
    }
    return *horizontal ? RealPoint{location.x, origin.y} : RealPoint{origin.x, location.y};
}

bool PaintingInput::handleKey(const ToolKey& key, ToolModifiers modifiers,
                              PaintingSettings& settings, bool changesHardness,
                              Clock::time_point now) {
    const bool hasShift = modifiers.contains(ToolModifiers::shift);
    if (const auto* digit = std::get_if<ToolKey::Digit>(&key.value)) {
        settings.setStrength(strengthOf(digit->value, now),
                             hasShift ? PaintStrength::flow : PaintStrength::opacity);
        return true;
    }
    const bool isLarger = key.is(ToolKey::Named::bracketRight);
    if (!isLarger && !key.is(ToolKey::Named::bracketLeft)) return false;
    if (!hasShift) {
        const double size = settings.size();
        settings.setSize(isLarger ? std::min(size * sizeStep, mostSize)
                                  : std::max(size / sizeStep, leastSize));
    } else if (changesHardness) {
        const double hardness = settings.hardness();
        settings.setHardness(isLarger ? std::min(hardness + hardnessStep, 1.0)
                                      : std::max(hardness - hardnessStep, 0.0));
    }
    return true;
}

void PaintingInput::adjust(RealPoint viewLocation, double scale, PaintingSettings& settings) const {
    if (!adjusting) return;
    const double dx = viewLocation.x - adjusting->start.x;
    const double dy = viewLocation.y - adjusting->start.y;
    settings.setSize(
        std::clamp(adjusting->size + 2 * dx / std::max(scale, 0.0001), leastSize, mostSize));
    settings.setHardness(std::clamp(adjusting->hardness - dy / pointsOfHardness, 0.0, 1.0));
}

double PaintingInput::strengthOf(int digit, Clock::time_point now) {
    const auto before = std::exchange(pendingDigit, std::nullopt);
    if (before && now - before->time < digitPatience)
        return std::max((10.0 * before->digit + digit) / 100, 0.01);
    pendingDigit = PendingDigit{digit, now};
    return digit == 0 ? 1 : digit / 10.0;
}

} // namespace ombrel
