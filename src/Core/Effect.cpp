#include "Core/Effect.h"

#include "Base/Check.h"
#include "Core/EffectCatalog.h"

namespace ombrel {

namespace {

template <typename T>
const T& valueOf(const EffectParams& params, EffectKind kind, std::string_view key) {
    const auto found = params.values.find(key);
    const auto* set = found != params.values.end() ? std::get_if<T>(&found->second.value) : nullptr;
    if (set != nullptr) return *set;
    const ParameterSpec* spec = EffectCatalog::definition(kind).parameter(key);
    OMBREL_CHECK(spec != nullptr, "the kind of effect has the parameter");
    const T* standard = std::get_if<T>(&spec->defaultValue.value);
    OMBREL_CHECK(standard != nullptr, "the parameter is of the type asked for");
    return *standard;
}

} // namespace

double EffectParams::number(EffectKind kind, std::string_view key) const {
    return valueOf<double>(*this, kind, key);
}

bool EffectParams::boolean(EffectKind kind, std::string_view key) const {
    return valueOf<bool>(*this, kind, key);
}

PremultipliedColor EffectParams::color(EffectKind kind, std::string_view key) const {
    return valueOf<PremultipliedColor>(*this, kind, key);
}

std::string_view EffectParams::choice(EffectKind kind, std::string_view key) const {
    return valueOf<EffectChoice>(*this, kind, key).label;
}

EffectPoint EffectParams::point(EffectKind kind, std::string_view key) const {
    return valueOf<EffectPoint>(*this, kind, key);
}

const GradientDefinition& EffectParams::gradient(EffectKind kind, std::string_view key) const {
    return valueOf<GradientDefinition>(*this, kind, key);
}

const EffectPath& EffectParams::path(EffectKind kind, std::string_view key) const {
    return valueOf<EffectPath>(*this, kind, key);
}

const EffectLines& EffectParams::lines(EffectKind kind, std::string_view key) const {
    return valueOf<EffectLines>(*this, kind, key);
}

std::string_view EffectParams::text(EffectKind kind, std::string_view key) const {
    return valueOf<std::string>(*this, kind, key);
}

Effect Effect::make(EffectKind kind, std::uint32_t seed) {
    return {.kind = kind,
            .name = std::string(EffectCatalog::definition(kind).name),
            .params = {},
            .seed = seed};
}

} // namespace ombrel
