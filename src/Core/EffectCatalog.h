// Every kind of effect with its name, icon, section and parameters: what the panel shows, what a
// parameter is when nothing was set, and what numbers are good for. Data, made on first use and
// never changed; any thread. The tables stand in EffectCatalog/, one file a section.
#pragma once

#include "Core/Effect.h"

#include <optional>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

namespace ombrel {

struct ParameterType {
    struct Number {
        std::string_view unit; ///< "px", or nothing
    };
    struct Choice { ///< a menu
        std::vector<std::string_view> labels;
    };
    struct Segmented { ///< a segmented control
        std::vector<std::string_view> labels;
    };
    struct Percent {};
    struct Angle {}; ///< degrees
    struct Color {};
    struct Bool {};
    struct Gradient {};
    struct Path {};
    struct Point {};
    struct Lines {};
    struct Code {};
    std::variant<Number, Choice, Segmented, Percent, Angle, Color, Bool, Gradient, Path, Point,
                 Lines, Code>
        value;

    /// Of a menu or a segmented control; empty otherwise.
    std::span<const std::string_view> labels() const;
};

struct ParameterSpec {
    /// The control shows only while the parameter `key` has the value `value`.
    struct ShownWhen {
        std::string_view key;
        std::string_view value;
    };
    struct Range {
        double least = 0;
        double most = 0; ///< both ends included
    };

    std::string key;
    std::string label;
    ParameterType type;
    std::optional<Range> range;
    EffectValue defaultValue;
    bool isKey = false; ///< the one that is the slider on the effect's row
    double step = 1;
    bool isHidden = false; ///< not in the panel: another editor drives it, or it is revealed
    std::optional<std::string_view> revealedBy = std::nullopt;
    std::optional<std::string_view> help = std::nullopt;
    std::optional<std::string_view> activeWith = std::nullopt; ///< enabled while that one is not 0
    std::optional<ShownWhen> shownWhen = std::nullopt;
};

struct EffectDefinition {
    EffectKind kind;
    std::string_view name;
    std::string_view icon; ///< of the Lucide set
    std::string_view section;
    std::vector<ParameterSpec> parameters; ///< in the order of the controls

    /// Null where there is none of this key.
    const ParameterSpec* parameter(std::string_view key) const;
    const ParameterSpec& keyParameter() const;
};

namespace EffectCatalog {

const EffectDefinition& definition(EffectKind kind);

struct Section {
    std::string_view name;
    std::vector<const EffectDefinition*> definitions;
};
/// In the order in which kinds first name them.
std::span<const Section> all();

} // namespace EffectCatalog

} // namespace ombrel
