// Shows frames on a display. Two kinds draw the same picture: RasterPresenter on the processor,
// OpenGLPresenter on a graphics device. Both sample premultiplied linear light, convert it to the
// display's space, blend there, and encode last, so that they agree within one step of 8 bits.
// Belongs to one thread, the one of the window.
#pragma once

#include "Core/ColorProfile.h"
#include "Engine/Frame.h"

#include <QImage>

namespace ombrel {

class CanvasPresenter {
public:
    CanvasPresenter() = default;
    virtual ~CanvasPresenter() = default;
    CanvasPresenter(const CanvasPresenter&) = delete;
    CanvasPresenter& operator=(const CanvasPresenter&) = delete;

    /// sRGB until it is called, and for a profile that is not made of a matrix and curves.
    virtual void setDisplayProfile(const ColorProfile& profile) = 0;
    /// Draws a frame to where the presenter draws. The frame may be dropped afterwards.
    virtual void present(const Frame& frame) = 0;
    /// The picture of the last frame, opaque, one pixel a screen pixel; null before the first.
    virtual QImage picture() = 0;
};

} // namespace ombrel
