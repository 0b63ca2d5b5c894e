// The shaders of OpenGLPresenter, GLSL 3.30. They compute what RasterRow computes, in the same
// order, so that both presenters draw the same picture. Rows of the linear picture count downward
// from the top, as in frames; only the last pass turns them over.
#pragma once

namespace ombrel::OpenGLShaders {

/// A rectangle of local points, as a triangle strip of four corners.
inline constexpr const char* areaVertex = R"(#version 330 core
uniform vec4 corners;   // left, top, right, bottom
uniform vec4 toPixels;  // a, b, c, d
uniform vec2 toPixelsAt;
uniform vec2 viewSize;
void main() {
    vec2 at = vec2((gl_VertexID & 1) == 0 ? corners.x : corners.z,
                   (gl_VertexID & 2) == 0 ? corners.y : corners.w);
    vec2 pixel = toPixels.xy * at.x + toPixels.zw * at.y + toPixelsAt;
    gl_Position = vec4(pixel / viewSize * 2.0 - 1.0, 0.0, 1.0);
}
)";

inline constexpr const char* wholeVertex = R"(#version 330 core
void main() {
    gl_Position = vec4((gl_VertexID & 1) * 4.0 - 1.0, (gl_VertexID & 2) * 2.0 - 1.0, 0.0, 1.0);
}
)";

/// What the fragment shaders of the linear picture have in common.
inline constexpr const char* localPoints = R"(#version 330 core
uniform vec2 along;
uniform vec2 across;
uniform vec2 start;
uniform vec4 area;
out vec4 color;
vec2 localPoint() { return along * gl_FragCoord.x + (across * gl_FragCoord.y + start); }
bool isOutside(vec2 at) {
    return at.x < area.x || at.x >= area.z || at.y < area.y || at.y >= area.w;
}
)";

inline constexpr const char* tileFragment = R"(
uniform sampler2D texels;
uniform vec4 placement; // factor, offset
uniform vec4 limits;
uniform mat3 conversion;
uniform int isSmooth;
uniform int isSolid;
uniform vec4 solid;
vec4 texelAt(ivec2 at) { return texelFetch(texels, clamp(at, ivec2(0), ivec2(255)), 0); }
vec4 smoothTexel(vec2 at) {
    vec2 from = min(max(at, limits.xy), limits.zw) - 0.5;
    vec2 corner = floor(from);
    vec2 part = from - corner;
    ivec2 first = ivec2(corner);
    vec4 a = texelAt(first);
    vec4 b = texelAt(first + ivec2(0, 1));
    vec4 upper = a + (texelAt(first + ivec2(1, 0)) - a) * part.x;
    vec4 lower = b + (texelAt(first + ivec2(1, 1)) - b) * part.x;
    return upper + (lower - upper) * part.y;
}
void main() {
    vec2 at = localPoint();
    if (isOutside(at)) discard;
    vec2 inTile = (at - area.xy) * placement.xy + placement.zw;
    vec4 texel = isSolid != 0 ? solid
               : isSmooth != 0 ? smoothTexel(inTile) : texelAt(ivec2(floor(inTile)));
    float alpha = clamp(texel.a, 0.0, 1.0);
    color = vec4(clamp(conversion * texel.rgb, 0.0, alpha), alpha);
}
)";

inline constexpr const char* checksFragment = R"(
uniform vec3 checks;  // corner, squares a unit
uniform vec2 squares; // light, dark
void main() {
    vec2 at = localPoint();
    if (isOutside(at)) discard;
    ivec2 square = ivec2(floor((at - checks.xy) * checks.z));
    color = vec4(vec3(((square.x + square.y) & 1) != 0 ? squares.y : squares.x), 1.0);
}
)";

inline constexpr const char* dotsFragment = R"(
uniform vec4 fine;   // phase, spacing, alpha
uniform vec4 coarse;
uniform vec3 look;   // radius, light, scale
float coverageOf(vec4 grid) {
    vec2 cells = (localPoint() - grid.xy) / grid.z;
    vec2 far = (cells - floor(cells + 0.5)) * (grid.z * look.z);
    return clamp(look.x + 0.5 - length(far), 0.0, 1.0) * grid.w;
}
void main() {
    float alpha = max(coverageOf(fine), coverageOf(coarse));
    color = vec4(vec3(look.y * alpha), alpha);
}
)";

/// From the linear picture to bytes, by a table of 64 x 64 steps.
inline constexpr const char* encodeFragment = R"(#version 330 core
uniform sampler2D linear;
uniform sampler2D curves;
uniform ivec2 target; // left edge, row that the topmost one becomes
out vec4 color;
float encoded(float light, int channel) {
    int index = int(sqrt(min(light, 1.0)) * 4095.0 + 0.5);
    return texelFetch(curves, ivec2(index & 63, index >> 6), 0)[channel];
}
void main() {
    ivec2 at = ivec2(gl_FragCoord.xy);
    vec3 light = max(texelFetch(linear, ivec2(at.x - target.x, target.y - at.y), 0).rgb, 0.0);
    color = vec4(encoded(light.r, 0), encoded(light.g, 1), encoded(light.b, 2), 1.0);
}
)";

} // namespace ombrel::OpenGLShaders
