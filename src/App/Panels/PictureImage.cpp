#include "App/Panels/PictureImage.h"

#include "App/Canvas/DisplayColors.h"

#include <algorithm>
#include <cmath>

namespace ombrel {

QImage pictureImage(const FlatImage& picture, const ColorProfile& profile) {
    DisplayColors colors;
    const ProfileConversion conversion = colors.conversionFrom(profile);
    const DisplayColors::Curve& curve = colors.curves()[0]; // sRGB's are all alike
    const auto byteOf = [&](float light) {
        const float root = std::sqrt(std::clamp(light, 0.0f, 1.0f));
        return curve[static_cast<std::size_t>(std::lround(root * (DisplayColors::steps - 1)))];
    };
    QImage image(static_cast<int>(picture.size().width), static_cast<int>(picture.size().height),
                 QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < image.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const PremultipliedColor stored = picture.pixel(x, y);
            const PremultipliedColor light =
                conversion.apply(stored.red, stored.green, stored.blue, stored.alpha);
            line[x] = 0;
            if (!(light.alpha > 0)) continue;
            const auto alpha = static_cast<int>(std::lround(255 * std::min(light.alpha, 1.0f)));
            line[x] = qPremultiply(qRgba(byteOf(light.red / light.alpha),
                                         byteOf(light.green / light.alpha),
                                         byteOf(light.blue / light.alpha), alpha));
        }
    }
    return image;
}

} // namespace ombrel
