#include "App/Canvas/CropGuides.h"

#include <cmath>
#include <initializer_list>
#include <numbers>

namespace ombrel {

namespace {

using Lines = std::vector<std::vector<RealPoint>>;

constexpr double golden = std::numbers::phi - 1; ///< the longer part of a line, 0.618

Lines parallels(std::initializer_list<double> places) {
    Lines lines;
    for (const double place : places) {
        lines.push_back({{place, 0}, {place, 1}});
        lines.push_back({{0, place}, {1, place}});
    }
    return lines;
}

Lines grid() {
    constexpr int cells = 8;
    Lines lines;
    for (int i = 1; i < cells; ++i) {
        const double place = static_cast<double>(i) / cells;
        lines.push_back({{place, 0}, {place, 1}});
        lines.push_back({{0, place}, {1, place}});
    }
    return lines;
}

/// A diagonal, and from the other corners the perpendiculars onto it (as on a square).
Lines triangles() {
    return {{{0, 1}, {1, 0}}, {{0, 0}, {0.5, 0.5}}, {{1, 1}, {0.5, 0.5}}};
}

/// Quarter ellipses in rectangles that are each cut off the one before by the golden section, from
/// the left, the top, the right and the bottom in turn.
Lines spiral() {
    constexpr int turns = 9;
    constexpr int steps = 16;
    double x = 0;
    double y = 0;
    double width = 1;
    double height = 1;
    std::vector<RealPoint> line;
    for (int turn = 0; turn < turns; ++turn) {
        const int side = turn % 4;
        const bool isAcross = side % 2 == 0;
        const double cutWidth = isAcross ? width * golden : width;
        const double cutHeight = isAcross ? height : height * golden;
        const double left = side == 2 ? x + width - cutWidth : x;
        const double top = side == 3 ? y + height - cutHeight : y;
        // The corner that the quarter turns about: next to what is left over.
        const double cornerX = side == 0 || side == 3 ? left + cutWidth : left;
        const double cornerY = side == 0 || side == 1 ? top + cutHeight : top;
        for (int step = 0; step <= steps; ++step) {
            const double angle = std::numbers::pi * (1 + 0.5 * (side + double(step) / steps));
            line.push_back(
                {cornerX + cutWidth * std::cos(angle), cornerY + cutHeight * std::sin(angle)});
        }
        if (side == 0) x += cutWidth;
        if (side == 1) y += cutHeight;
        width -= isAcross ? cutWidth : 0;
        height -= isAcross ? 0 : cutHeight;
    }
    return {line};
}

} // namespace

std::vector<std::vector<RealPoint>> cropGuides(CropOverlay overlay) {
    switch (overlay) {
    case CropOverlay::ruleOfThirds:
        return parallels({1.0 / 3, 2.0 / 3});
    case CropOverlay::grid:
        return grid();
    case CropOverlay::diagonal:
        return {{{0, 0}, {1, 1}}, {{1, 0}, {0, 1}}};
    case CropOverlay::triangle:
        return triangles();
    case CropOverlay::goldenRatio:
        return parallels({1 - golden, golden});
    case CropOverlay::goldenSpiral:
        return spiral();
    case CropOverlay::none:
        break;
    }
    return {};
}

} // namespace ombrel
