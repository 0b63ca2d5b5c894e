#include "Engine/ViewGeometry.h"

#include "Core/TransferFunction.h"

#include <cmath>

namespace ombrel {

double screenScale(const Viewport& viewport) {
    return viewport.transform.scale * viewport.contentsScale;
}

RealSize screenSize(const Viewport& viewport) {
    const ViewTransform::Size& size = viewport.transform.viewportSize;
    return {size.width * viewport.contentsScale, size.height * viewport.contentsScale};
}

AffineTransform boardToScreen(const Viewport& viewport) {
    const double scale = screenScale(viewport);
    const double along = scale * std::cos(viewport.transform.rotation);
    const double across = scale * std::sin(viewport.transform.rotation);
    const RealSize size = screenSize(viewport);
    const ViewTransform::Point& center = viewport.transform.center;
    return {along,
            across,
            -across,
            along,
            size.width / 2 - (along * center.x - across * center.y),
            size.height / 2 - (across * center.x + along * center.y)};
}

RealRect visibleRect(const Viewport& viewport) {
    const ViewTransform& view = viewport.transform;
    const double along = std::abs(std::cos(view.rotation)) / view.scale;
    const double across = std::abs(std::sin(view.rotation)) / view.scale;
    const double width = along * view.viewportSize.width + across * view.viewportSize.height;
    const double height = across * view.viewportSize.width + along * view.viewportSize.height;
    return {{view.center.x - width / 2, view.center.y - height / 2}, {width, height}};
}

std::array<float, 3> linearColor(std::uint32_t rgb) {
    const auto decoded = [](std::uint32_t byte) {
        return TransferFunction::decode(static_cast<float>(byte & 0xFF) / 255.0f);
    };
    return {decoded(rgb >> 16), decoded(rgb >> 8), decoded(rgb)};
}

} // namespace ombrel
