#include "Editor/CanvasNavigation.h"

#include "Core/ViewMapping.h"
#include "Tools/ViewNavigation.h"

#include <cmath>

namespace ombrel {

CanvasNavigation::CanvasNavigation(DocumentSession& session)
    : session_(session), canvasSize_(session._state->canvas.size) {
    stateChanges_ = session._state.onChange([this](const DocumentState&) { followCanvas(); });
}

void CanvasNavigation::setViewport(ViewTransform::Size size, double contentsScale) {
    session_._contentsScale = contentsScale;
    ViewTransform view = *session_._viewTransform;
    const bool isNew = view.viewportSize == ViewTransform::Size{};
    view.viewportSize = size;
    if (size.width <= 0 || size.height <= 0) return;
    if (isNew && !hasViewport_) fit_ = Fit::within;
    hasViewport_ = true;
    session_.setViewTransform(view);
    if (fit_ == Fit::none) {
        setConfined(view);
    } else {
        fitAgain();
    }
}

void CanvasNavigation::set(const ViewTransform& view) {
    fit_ = Fit::none;
    setConfined(view);
}

double CanvasNavigation::magnification() const {
    return session_._viewTransform->scale * *session_._contentsScale;
}

double CanvasNavigation::rotation() const {
    return session_._viewTransform->rotation;
}

RealRect CanvasNavigation::visibleBounds() const {
    const ViewTransform& view = *session_._viewTransform;
    const double along = std::abs(std::cos(view.rotation)) / view.scale;
    const double across = std::abs(std::sin(view.rotation)) / view.scale;
    const double width = along * view.viewportSize.width + across * view.viewportSize.height;
    const double height = across * view.viewportSize.width + along * view.viewportSize.height;
    return {{view.center.x - width / 2, view.center.y - height / 2}, {width, height}};
}

void CanvasNavigation::zoomIn(std::optional<RealPoint> at) {
    zoomTo(ViewNavigation::magnificationAbove(magnification()), at);
}

void CanvasNavigation::zoomOut(std::optional<RealPoint> at) {
    zoomTo(ViewNavigation::magnificationBelow(magnification()), at);
}

void CanvasNavigation::zoomBy(double factor, std::optional<RealPoint> at) {
    zoomTo(magnification() * factor, at);
}

void CanvasNavigation::zoomTo(double magnification, std::optional<RealPoint> at) {
    const ViewTransform& view = *session_._viewTransform;
    const double pixels = *session_._contentsScale;
    set(ViewNavigation::zoomed(view, magnification / pixels, at.value_or(viewCenter(view)),
                               pixels));
}

void CanvasNavigation::zoomToFit() {
    fit_ = Fit::whole;
    fitAgain();
}

void CanvasNavigation::panBy(RealPoint by) {
    set(ViewNavigation::panned(*session_._viewTransform, by));
}

void CanvasNavigation::rotateBy(double radians, std::optional<RealPoint> at) {
    const ViewTransform& view = *session_._viewTransform;
    set(ViewNavigation::turned(view, view.rotation + radians, at.value_or(viewCenter(view))));
}

void CanvasNavigation::rotateTo(double radians) {
    const ViewTransform& view = *session_._viewTransform;
    set(ViewNavigation::turned(view, radians, viewCenter(view)));
}

RealRect CanvasNavigation::canvasBounds() const {
    return {{}, {static_cast<double>(canvasSize_.width), static_cast<double>(canvasSize_.height)}};
}

// A crop or its undo may leave the view beyond all that there is.
void CanvasNavigation::followCanvas() {
    const PixelSize size = session_._state->canvas.size;
    if (size == canvasSize_) return;
    canvasSize_ = size;
    if (fit_ == Fit::none) {
        setConfined(*session_._viewTransform);
    } else {
        fitAgain();
    }
}

void CanvasNavigation::setConfined(const ViewTransform& view) {
    ViewTransform next = view;
    next.viewportSize = session_._viewTransform->viewportSize;
    session_.setViewTransform(
        ViewNavigation::confined(next, canvasBounds(), *session_._contentsScale));
}

void CanvasNavigation::fitAgain() {
    const ViewTransform& view = *session_._viewTransform;
    const double pixels = *session_._contentsScale;
    session_.setViewTransform(fit_ == Fit::whole
                                  ? ViewNavigation::fitted(view, canvasBounds(), pixels)
                                  : ViewNavigation::fittedWithin(view, canvasBounds(), pixels));
}

} // namespace ombrel
