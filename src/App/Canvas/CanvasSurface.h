// What a canvas view draws its picture with: its own painter on the processor, or a child widget
// that OpenGL draws into, with a clear one above for the overlay. Main thread.
#pragma once

#include "Engine/Frame.h"

#include <QImage>

#include <functional>
#include <memory>

class QPainter;
class QWidget;

namespace ombrel {

class CanvasSurface {
public:
    /// Draws above the picture, in view points.
    using PaintOverlay = std::function<void(QPainter&)>;

    CanvasSurface() = default;
    virtual ~CanvasSurface() = default;
    CanvasSurface(const CanvasSurface&) = delete;
    CanvasSurface& operator=(const CanvasSurface&) = delete;

    virtual bool isOpenGL() const = 0;
    virtual void show(Frame frame) = 0; ///< soon
    virtual void update() = 0;          ///< draws the same frame with the overlay of the moment
    virtual void resize() {}            ///< to the view's size
    /// From the view's own paint event.
    virtual void paint(QPainter& painter) = 0;

    static std::unique_ptr<CanvasSurface> makeRaster(QWidget& view, PaintOverlay paintOverlay);
    /// Null where OpenGL cannot be had. `failed` is called once if it turns out so later.
    static std::unique_ptr<CanvasSurface> makeOpenGL(QWidget& view, PaintOverlay paintOverlay,
                                                     std::function<void()> failed);
    /// On a device or on the processor, as one context shows; found out once.
    static bool hasOpenGL();
};

} // namespace ombrel
