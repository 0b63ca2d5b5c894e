// Draws frames into an image, for machines without a graphics device. Rows are independent and run
// on the shared pool: each is built up straight from the halves of the tiles and encoded once, so
// nothing is kept between frames and a changed tile costs nothing extra. Views that are not turned,
// nearly all of them, take a shorter way (StraightNode) to the same picture.
#pragma once

#include "App/Canvas/CanvasPresenter.h"
#include "App/Canvas/RasterColors.h"

class QPainter;

namespace ombrel {

class RasterPresenter final : public CanvasPresenter {
public:
    void setDisplayProfile(const ColorProfile& profile) override;
    void present(const Frame& frame) override;
    QImage picture() override { return image_; }
    /// The last frame, pixel by pixel, from the painter's origin on.
    void paint(QPainter& painter) const;

private:
    DisplayColors colors_;
    std::shared_ptr<const RasterEncoding> encoding_ = RasterEncoding::forSRGB();
    QImage image_; ///< RGB32
};

} // namespace ombrel
