// The state of the input of a painting tool that outlives no gesture, and the keys that all such
// tools have in common. A plain value within the tool. Main thread.
#pragma once

#include "Core/Geometry.h"
#include "Tools/PaintingSettings.h"
#include "Tools/ToolKey.h"
#include "Tools/ToolModifiers.h"

#include <chrono>
#include <optional>

namespace ombrel {

struct PaintingInput {
    using Clock = std::chrono::steady_clock;

    /// A drag of size and hardness.
    struct Adjusting {
        RealPoint start; ///< in the view
        double size = 0; ///< when it began
        double hardness = 0;
    };
    /// Strokes along one axis of the document.
    struct AxisLock {
        RealPoint origin;
        std::optional<bool> horizontal; ///< absent until the axis is decided

        /// Where the pointer counts; decides the axis once it is far enough away.
        RealPoint apply(RealPoint location, double scale);
    };
    struct PendingDigit {
        int digit = 0;
        Clock::time_point time;
    };

    bool precise = false;          ///< Caps Lock at the last event of the pointer
    mutable double viewRadius = 0; ///< of the brush as drawn last, view points
    std::optional<Adjusting> adjusting;
    std::optional<AxisLock> axisLock;
    std::optional<PendingDigit> pendingDigit;

    /// Digits set the strength, two quick ones an exact percentage; brackets the size, with Shift
    /// the hardness. False for any other key.
    bool handleKey(const ToolKey& key, ToolModifiers modifiers, PaintingSettings& settings,
                   bool changesHardness, Clock::time_point now);
    /// Goes on with a drag of size and hardness; to be called while there is one.
    void adjust(RealPoint viewLocation, double scale, PaintingSettings& settings) const;

private:
    double strengthOf(int digit, Clock::time_point now);
};

} // namespace ombrel
