// The words in which the catalog's tables are written:
//   percent("amount", "Amount", 30).key().help("How many blocks break")
#pragma once

#include "Core/ColorMath.h"
#include "Core/EffectCatalog.h"

#include <utility>

namespace ombrel::EffectCatalog {

/// A spec that is being written down.
class Parameter {
public:
    Parameter(std::string_view key, std::string_view label, ParameterType type, EffectValue value) {
        spec_.key = key;
        spec_.label = label;
        spec_.type = std::move(type);
        spec_.defaultValue = std::move(value);
    }
    operator ParameterSpec() && { return std::move(spec_); } // NOLINT: what it is made for

    Parameter key() && {
        spec_.isKey = true;
        return std::move(*this);
    }
    Parameter hidden() && {
        spec_.isHidden = true;
        return std::move(*this);
    }
    Parameter range(double least, double most) && {
        spec_.range = {least, most};
        return std::move(*this);
    }
    Parameter step(double step) && {
        spec_.step = step;
        return std::move(*this);
    }
    Parameter help(std::string_view text) && {
        spec_.help = text;
        return std::move(*this);
    }
    Parameter activeWith(std::string_view key) && {
        spec_.activeWith = key;
        return std::move(*this);
    }
    Parameter shownWhen(std::string_view key, std::string_view value) && {
        spec_.shownWhen = {key, value};
        return std::move(*this);
    }

private:
    ParameterSpec spec_{};
};

using Labels = std::vector<std::string_view>;
using Type = ParameterType;

inline Parameter number(std::string_view key, std::string_view label, double least, double most,
                        double value, std::string_view unit = {}) {
    return Parameter(key, label, {Type::Number{unit}}, {value}).range(least, most);
}
inline Parameter pixels(std::string_view key, std::string_view label, double least, double most,
                        double value) {
    return number(key, label, least, most, value, "px");
}
inline Parameter percent(std::string_view key, std::string_view label, double value) {
    return Parameter(key, label, {Type::Percent{}}, {value}).range(0, 100);
}
inline Parameter angle(std::string_view key, std::string_view label, double least, double most,
                       double value) {
    return Parameter(key, label, {Type::Angle{}}, {value}).range(least, most);
}
inline EffectValue labelled(std::string_view label) {
    return {EffectChoice{std::string(label)}};
}
inline Parameter menu(std::string_view key, std::string_view label, Labels labels,
                      std::string_view value) {
    return {key, label, {Type::Choice{std::move(labels)}}, labelled(value)};
}
inline Parameter segmented(std::string_view key, std::string_view label, Labels labels,
                           std::string_view value) {
    return {key, label, {Type::Segmented{std::move(labels)}}, labelled(value)};
}
inline Parameter boolean(std::string_view key, std::string_view label, bool value) {
    return {key, label, {Type::Bool{}}, {value}};
}
/// 0xRRGGBB, sRGB-encoded.
inline Parameter color(std::string_view key, std::string_view label, std::uint32_t code) {
    return {key, label, {Type::Color{}}, {ColorMath::colorOfCode(code)}};
}
inline Parameter point(std::string_view key, std::string_view label, EffectPoint value) {
    return {key, label, {Type::Point{}}, {value}};
}

inline constexpr std::uint32_t blackCode = 0x000000;
inline constexpr std::uint32_t whiteCode = 0xFFFFFF;

// One function a section or a few, each giving its definitions.
std::vector<EffectDefinition> patternEffects();
std::vector<EffectDefinition> lightAndColorEffects();
std::vector<EffectDefinition> distortEffects();
std::vector<EffectDefinition> adjustEffects();
std::vector<EffectDefinition> blurEffects();
std::vector<EffectDefinition> codeEffects();
std::vector<EffectDefinition> styleEffects();

} // namespace ombrel::EffectCatalog
