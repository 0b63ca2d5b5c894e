// The stored forms of what every document has: identifiers, geometry, colours, the canvas and the
// properties of layers. A point is [x, y], a rectangle [[x, y], [width, height]], an affine map six
// numbers; a size in whole pixels is {"width", "height"}.
#pragma once

#include "Core/Canvas.h"
#include "Core/Layer.h"
#include "Core/PremultipliedColor.h"
#include "Core/RealGeometry.h"
#include "Core/Stored/StoredUnion.h"

#include <algorithm>

namespace ombrel::Stored {

/// Upper-case text; read in either case.
template <>
struct Form<Uuid> {
    static Json encode(const Uuid& uuid) { return uuid.text(); }
    static Result<Uuid> decode(const Json& json);
};

template <>
struct Fields<LayerID> {
    static constexpr std::tuple list{field("rawValue", &LayerID::rawValue)};
};

template <>
struct Fields<PixelSize> {
    static constexpr std::tuple list{field("width", &PixelSize::width),
                                     field("height", &PixelSize::height)};
};

template <>
struct Form<RealPoint> {
    static Json encode(const RealPoint& point);
    static Result<RealPoint> decode(const Json& json);
};

template <>
struct Form<RealSize> {
    static Json encode(const RealSize& size);
    static Result<RealSize> decode(const Json& json);
};

template <>
struct Form<RealRect> {
    static Json encode(const RealRect& rect);
    static Result<RealRect> decode(const Json& json);
};

template <>
struct Form<AffineTransform> {
    static Json encode(const AffineTransform& transform);
    static Result<AffineTransform> decode(const Json& json);
};

template <>
struct Fields<PremultipliedColor> {
    static constexpr std::tuple list{
        field("red", &PremultipliedColor::red), field("green", &PremultipliedColor::green),
        field("blue", &PremultipliedColor::blue), field("alpha", &PremultipliedColor::alpha)};
};

/// {"name", "iccData" in base64}
template <>
struct Form<ColorProfile> {
    static Json encode(const ColorProfile& profile);
    static Result<ColorProfile> decode(const Json& json);
};

/// The case's name; a number of bits is read too.
template <>
struct Form<BitDepth> {
    static Json encode(BitDepth depth);
    static Result<BitDepth> decode(const Json& json);
};

template <>
struct Fields<Canvas> {
    static constexpr std::tuple list{
        field("size", &Canvas::size), field("resolution", &Canvas::resolution),
        field("profile", &Canvas::profile), field("bitDepth", &Canvas::bitDepth),
        field("blendUsingGamma1", &Canvas::blendUsingGamma1)};
};

/// The bits as a number; as {"rawValue"} it is read too.
template <>
struct Form<LayerLocks> {
    static Json encode(LayerLocks locks) { return locks.rawValue; }
    static Result<LayerLocks> decode(const Json& json);
};

template <>
struct Names<BlendMode> {
    static constexpr auto list = [] {
        std::array<std::string_view, blendModeCount> names;
        std::ranges::transform(blendModeNames, names.begin(), &BlendModeName::rawValue);
        return names;
    }();
};

template <>
struct Fields<LayerProperties> {
    static constexpr std::tuple list{field("name", &LayerProperties::name),
                                     field("isVisible", &LayerProperties::isVisible),
                                     field("locks", &LayerProperties::locks),
                                     field("opacity", &LayerProperties::opacity),
                                     field("blendMode", &LayerProperties::blendMode),
                                     field("clipsToBelow", &LayerProperties::clipsToBelow)};
};

} // namespace ombrel::Stored
