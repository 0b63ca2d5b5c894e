// A gradient: colours along 0 to 1, and opacities of their own stops. Two of the colours may be
// symbols that follow what people paint with. Plain values; any thread.
#pragma once

#include "Base/Uuid.h"
#include "Core/PremultipliedColor.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace ombrel {

enum class GradientKind : std::uint8_t { linear, radial, angle, reflected, diamond };

struct GradientDefinition {
    struct StopColor {
        struct Foreground {
            bool operator==(const Foreground&) const = default;
        };
        struct Background {
            bool operator==(const Background&) const = default;
        };
        std::variant<PremultipliedColor, Foreground, Background> value;

        bool operator==(const StopColor&) const = default;
    };

    /// `midpoint` is where half of the way to the next stop is done, between the two.
    struct ColorStop {
        Uuid id = Uuid::make();
        double location = 0; ///< 0 to 1
        StopColor color;
        double midpoint = 0.5;

        bool operator==(const ColorStop&) const = default;
    };
    struct OpacityStop {
        Uuid id = Uuid::make();
        double location = 0; ///< 0 to 1
        double opacity = 1;  ///< 0 to 1
        double midpoint = 0.5;

        bool operator==(const OpacityStop&) const = default;
    };

    Uuid id = Uuid::make();
    std::string name;
    std::vector<ColorStop> colorStops; ///< in any order
    std::vector<OpacityStop> opacityStops;

    /// The nine that come with the program, in the order of their menu. Their identifiers are the
    /// same in every process.
    static std::span<const GradientDefinition> builtIn();
    /// Null where there is none of this name.
    static const GradientDefinition* builtIn(std::string_view name);

    /// False, and nothing removed, where two stops or fewer are left of the kind, or none has the
    /// identifier.
    bool removeColorStop(const Uuid& stop);
    bool removeOpacityStop(const Uuid& stop);

    bool operator==(const GradientDefinition&) const = default;
};

} // namespace ombrel
