// An effect on a layer: its kind, the parameters that somebody set, and a seed. What it computes is
// the engine's; which parameters a kind has, with their ranges and defaults, is EffectCatalog's.
// Plain values; any thread. A number outside its range is kept and used as it is.
#pragma once

#include "Base/Uuid.h"
#include "Core/GradientDefinition.h"
#include "Core/PremultipliedColor.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace ombrel {

enum class EffectKind : std::uint8_t {
    pattern,
    halftone,
    grain,
    glow,
    gradientMap,
    ribbedGlass,
    scannerDrag,
    levels,
    hueSaturation,
    ascii,
    compressionGlitch,
    pixelStretch,
    blur,
    depthMap,
    code,
    dropShadow,
    stroke,
};

/// In files the case's name.
inline constexpr std::array<std::string_view, 17> effectKindNames{
    "pattern",           "halftone",     "grain",  "glow",          "gradientMap",
    "ribbedGlass",       "scannerDrag",  "levels", "hueSaturation", "ascii",
    "compressionGlitch", "pixelStretch", "blur",   "depthMap",      "code",
    "dropShadow",        "stroke"};

constexpr std::string_view rawValueOf(EffectKind kind) {
    return effectKindNames[static_cast<std::size_t>(kind)];
}

/// A place on the layer: 0 to 1 over its width and height.
struct EffectPoint {
    double x = 0;
    double y = 0;

    bool operator==(const EffectPoint&) const = default;
};

/// A drawn curve, one sample a step along the canvas.
struct EffectPath {
    std::vector<float> x;
    std::vector<float> y;
    std::int64_t drawnCount = 0; ///< how many samples somebody has drawn

    bool operator==(const EffectPath&) const = default;
};

struct EffectLines {
    std::vector<std::vector<EffectPoint>> lines; ///< each one drawn line

    bool operator==(const EffectLines&) const = default;
};

/// The chosen entry of a menu, by its label.
struct EffectChoice {
    std::string label;

    bool operator==(const EffectChoice&) const = default;
};

struct EffectValue {
    std::variant<double, bool, PremultipliedColor, EffectChoice, GradientDefinition, EffectPath,
                 EffectPoint, EffectLines, std::string>
        value;

    bool operator==(const EffectValue&) const = default;
};

/// What was set; the catalog's defaults stand for the rest. Keys that the catalog does not know
/// are kept and ignored.
struct EffectParams {
    std::map<std::string, EffectValue, std::less<>> values;

    /// What was set, where it is of the default's type, else the default of the kind's catalog
    /// entry. The catalog must have the key, with a value of the type asked for.
    double number(EffectKind kind, std::string_view key) const;
    bool boolean(EffectKind kind, std::string_view key) const;
    PremultipliedColor color(EffectKind kind, std::string_view key) const;
    std::string_view choice(EffectKind kind, std::string_view key) const;
    EffectPoint point(EffectKind kind, std::string_view key) const;
    const GradientDefinition& gradient(EffectKind kind, std::string_view key) const;
    const EffectPath& path(EffectKind kind, std::string_view key) const;
    const EffectLines& lines(EffectKind kind, std::string_view key) const;
    std::string_view text(EffectKind kind, std::string_view key) const;

    bool operator==(const EffectParams&) const = default;
};

struct Effect {
    Uuid id = Uuid::make();
    EffectKind kind = EffectKind::pattern;
    std::string name; ///< shown; the definition's at first
    bool isVisible = true;
    EffectParams params;
    std::uint32_t seed = 0; ///< of what is random in it; fixed when it is added

    /// A new one with the catalog's name and nothing set.
    static Effect make(EffectKind kind, std::uint32_t seed);

    double number(std::string_view key) const { return params.number(kind, key); }
    bool boolean(std::string_view key) const { return params.boolean(kind, key); }
    PremultipliedColor color(std::string_view key) const { return params.color(kind, key); }
    std::string_view choice(std::string_view key) const { return params.choice(kind, key); }
    EffectPoint point(std::string_view key) const { return params.point(kind, key); }

    bool operator==(const Effect&) const = default;
};

} // namespace ombrel
