// Where a canvas looks: every change of the view passes through here and is brought into its
// limits. A view that fits the whole document goes on doing so when the window or the canvas gets
// another size, until somebody looks elsewhere. Main thread.
#pragma once

#include "Base/Signal.h"
#include "Core/RealGeometry.h"
#include "Core/ViewTransform.h"
#include "Editor/DocumentSession.h"

#include <optional>

namespace ombrel {

class CanvasNavigation {
public:
    /// Lives no longer than the session.
    explicit CanvasNavigation(DocumentSession& session);

    /// The first one fits the document, unless the session has looked somewhere before.
    void setViewport(ViewTransform::Size size, double contentsScale);
    /// Of another viewport's size, it is adapted to this one.
    void set(const ViewTransform& view);

    double magnification() const;   ///< screen pixels a document pixel
    double rotation() const;        ///< radians
    RealRect visibleBounds() const; ///< of the document, upright

    // Points are view points; without one the middle stays where it is.

    void zoomIn(std::optional<RealPoint> at = {}); ///< to the next round magnification
    void zoomOut(std::optional<RealPoint> at = {});
    void zoomBy(double factor, std::optional<RealPoint> at = {});
    void zoomTo(double magnification, std::optional<RealPoint> at = {});
    void actualPixels() { zoomTo(1); }
    void zoomToFit();
    /// The picture moves by so much, in view points.
    void panBy(RealPoint by);
    void rotateBy(double radians, std::optional<RealPoint> at = {});
    void rotateTo(double radians);
    void resetRotation() { rotateTo(0); }

private:
    RealRect canvasBounds() const;
    void followCanvas();
    void setConfined(const ViewTransform& view);
    void fitAgain();

    enum class Fit { none, whole, within }; ///< what goes on being fitted

    DocumentSession& session_;
    Fit fit_ = Fit::none;
    bool hasViewport_ = false;
    PixelSize canvasSize_;
    Connection stateChanges_;
};

} // namespace ombrel
