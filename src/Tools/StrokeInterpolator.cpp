#include "Tools/StrokeInterpolator.h"

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace ombrel {

namespace {

RealPoint mixed(RealPoint from, RealPoint to, double fraction) {
    return {from.x + (to.x - from.x) * fraction, from.y + (to.y - from.y) * fraction};
}

double distance(RealPoint from, RealPoint to) {
    return std::hypot(to.x - from.x, to.y - from.y);
}

double knotInterval(double chord) {
    return std::max(std::sqrt(chord), 0.0001);
}

} // namespace

/// The curve from the second of its points to the third.
struct StrokeInterpolator::Segment {
    std::array<StrokePoint, 4> points;
    double chord = 0;
    double steps = 0;
    double t1 = 0; ///< knots; that of the first point is 0
    double t2 = 0;
    double t3 = 0;

    explicit Segment(const std::array<StrokePoint, 4>& through) : points(through) {
        chord = distance(points[1].position, points[2].position);
        steps = std::max(2.0, std::ceil(chord));
        t1 = knotInterval(distance(points[0].position, points[1].position));
        t2 = t1 + knotInterval(chord);
        t3 = t2 + knotInterval(distance(points[2].position, points[3].position));
    }

    RealPoint at(double t) const {
        const RealPoint a1 = mixed(points[0].position, points[1].position, t / t1);
        const RealPoint a2 = mixed(points[1].position, points[2].position, (t - t1) / (t2 - t1));
        const RealPoint a3 = mixed(points[2].position, points[3].position, (t - t2) / (t3 - t2));
        const RealPoint b1 = mixed(a1, a2, t / t2);
        const RealPoint b2 = mixed(a2, a3, (t - t1) / (t3 - t1));
        return mixed(b1, b2, (t - t1) / (t2 - t1));
    }
    /// At a fraction of the way from the second point to the third.
    StrokePoint pointAt(RealPoint position, double fraction) const {
        const double u = std::clamp(fraction, 0.0, 1.0);
        const StrokePoint& from = points[1];
        const StrokePoint& to = points[2];
        return {position, from.pressure + (to.pressure - from.pressure) * static_cast<float>(u),
                mixed(from.tilt, to.tilt, u)};
    }
};

/// A straight bit of a segment.
struct StrokeInterpolator::Piece {
    RealPoint from;
    RealPoint to;
    double before = 0; ///< pieces of the segment before this one
};

std::vector<StrokePoint> StrokeInterpolator::start(const StrokePoint& point) {
    points_ = {point};
    carry_ = 0;
    return {point};
}

std::vector<StrokePoint> StrokeInterpolator::add(const StrokePoint& point) {
    if (points_.empty()) return start(point);
    if (distance(points_.back().position, point.position) < 0.5) return {};
    points_.push_back(point);
    const std::size_t n = points_.size() - 1;
    if (n < 2) return {};
    std::vector<StrokePoint> out =
        walk(Segment({points_[n == 2 ? 0 : n - 3], points_[n - 2], points_[n - 1], points_[n]}));
    if (points_.size() > 4) points_.erase(points_.begin());
    return out;
}

std::vector<StrokePoint> StrokeInterpolator::finish() {
    std::vector<StrokePoint> out;
    if (const std::size_t count = points_.size(); count >= 2) {
        const StrokePoint& last = points_.back();
        out = walk(Segment({points_[count == 2 ? 0 : count - 3], points_[count - 2], last, last}));
    }
    points_.clear();
    return out;
}

std::vector<StrokePoint> StrokeInterpolator::walk(const Segment& segment) {
    std::vector<StrokePoint> out;
    if (!(segment.chord > 0)) return out;
    RealPoint previous = segment.points[1].position;
    const auto steps = static_cast<std::int64_t>(segment.steps);
    for (std::int64_t before = 0; before < steps; ++before) {
        const double i = static_cast<double>(before) + 1;
        const double t = segment.t1 + (segment.t2 - segment.t1) * i / segment.steps;
        const RealPoint next = segment.at(t);
        walkPiece(segment, {previous, next, i - 1}, out);
        previous = next;
    }
    return out;
}

void StrokeInterpolator::walkPiece(const Segment& segment, const Piece& piece,
                                   std::vector<StrokePoint>& out) {
    const double length = distance(piece.from, piece.to);
    if (spacing_ > carry_ + length) {
        carry_ += length;
        return;
    }
    const double first = spacing_ - carry_;
    double fraction = first / length;
    RealPoint position = mixed(piece.from, piece.to, fraction);
    double remaining = length - first;
    out.push_back(segment.pointAt(position, (fraction + piece.before) / segment.steps));
    while (spacing_ <= remaining) {
        // A fraction of what is left, in place and in pressure: recorded strokes depend on it.
        fraction = spacing_ / remaining;
        position = mixed(position, piece.to, fraction);
        out.push_back(segment.pointAt(position, (fraction + piece.before) / segment.steps));
        remaining -= spacing_;
    }
    carry_ = remaining;
}

} // namespace ombrel
