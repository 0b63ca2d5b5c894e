#include "Commands/Coding/GeometryCodecs.h"

namespace ombrel {

Json FieldCodec<RealPoint>::encode(const RealPoint& point) {
    return Json::array({FieldCodec<double>::encode(point.x), FieldCodec<double>::encode(point.y)});
}

Decoded<RealPoint> FieldCodec<RealPoint>::decode(const Json& json, Decoder& in) {
    if (!json.is_array() || json.size() != 2) return in.mustBe("two numbers, [x, y]");
    const Decoded<double> x = FieldCodec<double>::decode(json[0], in);
    if (!x) return std::unexpected(x.error());
    const Decoded<double> y = FieldCodec<double>::decode(json[1], in);
    if (!y) return std::unexpected(y.error());
    return RealPoint{*x, *y};
}

std::string FieldCodec<RealPoint>::describe(ValueKinds& kinds) {
    kinds["point"].description = "`[x, y]` in pixels of the canvas; `[0, 0]` is the upper left "
                                 "corner of the first pixel.";
    return "point";
}

Decoded<RealPoint> FieldCodec<RealPoint>::make(Decoder& in) {
    const PixelSize size = in.state().canvas.size;
    return RealPoint{static_cast<double>(size.width) / 2, static_cast<double>(size.height) / 2};
}

} // namespace ombrel
