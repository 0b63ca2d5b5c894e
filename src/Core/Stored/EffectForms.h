// The stored form of effects.
#pragma once

#include "Core/Effect.h"
#include "Core/Stored/GradientForms.h"

namespace ombrel::Stored {

template <>
struct Names<EffectKind> {
    static constexpr auto list = effectKindNames;
};

template <>
struct Fields<EffectPoint> {
    static constexpr std::tuple list{field("x", &EffectPoint::x), field("y", &EffectPoint::y)};
};

template <>
struct Fields<EffectPath> {
    static constexpr std::tuple list{field("x", &EffectPath::x), field("y", &EffectPath::y),
                                     field("drawnCount", &EffectPath::drawnCount)};
};

/// By its fields. Read also as {"samples"}, a list of [x, y], {"x", "y"} or x alone; all of them
/// count as drawn where "drawnCount" is left out.
template <>
struct Form<EffectPath> {
    static Json encode(const EffectPath& path) { return RecordForm<EffectPath>::encode(path); }
    static Result<EffectPath> decode(const Json& json);
};

template <>
struct Fields<EffectLines> {
    static constexpr std::tuple list{field("lines", &EffectLines::lines)};
};

/// A text.
template <>
struct Form<EffectChoice> {
    static Json encode(const EffectChoice& choice) { return choice.label; }
    static Result<EffectChoice> decode(const Json& json);
};

template <>
struct Cases<EffectValue> {
    static constexpr std::array list{
        Case{"number", Payload::unlabelled},   Case{"bool", Payload::unlabelled},
        Case{"color", Payload::unlabelled},    Case{"choice", Payload::unlabelled},
        Case{"gradient", Payload::unlabelled}, Case{"path", Payload::unlabelled},
        Case{"point", Payload::unlabelled},    Case{"lines", Payload::unlabelled},
        Case{"text", Payload::unlabelled}};
};

template <>
struct Fields<EffectParams> {
    static constexpr std::tuple list{field("values", &EffectParams::values)};
};

template <>
struct Fields<Effect> {
    static constexpr std::tuple list{
        field("id", &Effect::id),         field("kind", &Effect::kind),
        field("name", &Effect::name),     field("isVisible", &Effect::isVisible),
        field("params", &Effect::params), field("seed", &Effect::seed)};
};

} // namespace ombrel::Stored
