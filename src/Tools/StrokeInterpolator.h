// Runs a centripetal Catmull-Rom curve through the points of a stroke and gives points at exact
// spacing along it, whatever the pointer's pace; what is left of a segment counts towards the next.
// A segment is drawn when the point after it is known, the last one by finish(). A value that a
// tool owns for one stroke.
//
// The parametrisation by square roots of chords has neither cusps nor loops within a segment:
// C. Yuksel, S. Schaefer, J. Keyser, "Parameterization and applications of Catmull-Rom curves",
// 2011; evaluated by the pyramid of P. J. Barry and R. N. Goldman, 1988.
#pragma once

#include "Tools/StrokePoint.h"

#include <algorithm>
#include <vector>

namespace ombrel {

class StrokeInterpolator {
public:
    /// Document pixels between points, 0.25 at least.
    explicit StrokeInterpolator(double spacing = 1) : spacing_(std::max(spacing, 0.25)) {}

    /// Begins anew with this point, which is always drawn.
    std::vector<StrokePoint> start(const StrokePoint& point);
    /// The first point begins; one within half a pixel of the last is ignored.
    std::vector<StrokePoint> add(const StrokePoint& point);
    /// The last segment. The interpolator is empty then.
    std::vector<StrokePoint> finish();

    double spacing() const { return spacing_; }

private:
    struct Segment;
    struct Piece;

    std::vector<StrokePoint> walk(const Segment& segment);
    void walkPiece(const Segment& segment, const Piece& piece, std::vector<StrokePoint>& out);

    double spacing_;
    std::vector<StrokePoint> points_; ///< the last four at most
    double carry_ = 0;                ///< walked since the last point that was given
};

} // namespace ombrel
