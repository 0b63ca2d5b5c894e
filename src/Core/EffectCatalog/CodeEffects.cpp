#include "Core/EffectCatalog/ParameterBuilders.h"

namespace ombrel::EffectCatalog {

namespace {

constexpr std::string_view exampleCode =
    R"(// Metal: return the color at uv (0…1 over the layer).
// sample(uv) reads the layer; size, pixel and time are there too.
// Or paste a Shadertoy shader (mainImage, iChannel0 = the layer).
// @param split 0 30 6
// @param angle 0 360 30
// @color tint #FFE2C4

float4 effect(float2 uv) {
    float a = angle * M_PI_F / 180.0;
    float2 d = float2(cos(a), sin(a)) * split / size;
    float4 c = sample(uv);
    c.r = sample(uv + d).r;
    c.b = sample(uv - d).b;
    c.rgb *= tint;
    return c;
})";

EffectDefinition code() {
    return {EffectKind::code,
            "Code",
            "code-xml",
            "Code",
            {
                Parameter("code", "Code", {Type::Code{}}, {std::string(exampleCode)}),
                percent("amount", "Amount", 100)
                    .key()
                    .help("How much of the shader's result shows over the layer"),
            }};
}

} // namespace

std::vector<EffectDefinition> codeEffects() {
    return {code()};
}

} // namespace ombrel::EffectCatalog
