// Sizes, rectangles, offsets and points in JSON: {"width", "height"}, {"x", "y", "width",
// "height"}, {"dx", "dy"}, [x, y]. Whole coordinates stay within a billion pixels, so that sums of
// a few of them stay within the plane of tiles.
#pragma once

#include "Commands/Coding/RecordCodec.h"
#include "Core/Geometry.h"

namespace ombrel {

inline constexpr double farthestPixel = 1 << 30;

template <>
struct Record<PixelSize> {
    static constexpr std::string_view name = "size";
    static constexpr std::string_view description = "In pixels.";
    static constexpr auto fields() {
        return std::tuple(
            field("width", &PixelSize::width, "from left to right").between(0, farthestPixel),
            field("height", &PixelSize::height, "from top to bottom").between(0, farthestPixel));
    }
};

template <>
struct FieldCodec<PixelSize> : RecordCodec<PixelSize> {
    /// Of the picture that was read.
    static Decoded<PixelSize> make(Decoder& in) {
        if (!in.pictureSize) return in.fault("is missing");
        return *in.pictureSize;
    }
};

template <>
struct Record<PixelOffset> {
    static constexpr std::string_view name = "offset";
    static constexpr std::string_view description = "A movement by whole pixels; y grows downward.";
    static constexpr auto fields() {
        return std::tuple(field("dx", &PixelOffset::dx, "to the right")
                              .between(-farthestPixel, farthestPixel)
                              .orDefault(),
                          field("dy", &PixelOffset::dy, "downward")
                              .between(-farthestPixel, farthestPixel)
                              .orDefault());
    }
};

template <>
struct Record<PixelRect> {
    static constexpr std::string_view name = "rectangle";
    static constexpr std::string_view description = "In whole pixels of the canvas.";
    static constexpr auto fields() {
        return std::tuple(
            field("x", &PixelRect::x, "the left edge").between(-farthestPixel, farthestPixel),
            field("y", &PixelRect::y, "the upper edge").between(-farthestPixel, farthestPixel),
            field("width", &PixelRect::width, "in pixels").between(0, farthestPixel),
            field("height", &PixelRect::height, "in pixels").between(0, farthestPixel));
    }
};

template <>
struct FieldCodec<RealPoint> {
    static Json encode(const RealPoint& point);
    static Decoded<RealPoint> decode(const Json& json, Decoder& in);
    static std::string describe(ValueKinds& kinds);
    /// The middle of the canvas.
    static Decoded<RealPoint> make(Decoder& in);
};

} // namespace ombrel
