// How a document lies in a view: the document point in the view's middle, magnification and turn.
#pragma once

namespace ombrel {

struct ViewTransform {
    struct Point {
        double x = 0;
        double y = 0;

        bool operator==(const Point&) const = default;
    };
    struct Size {
        double width = 0;
        double height = 0;

        bool operator==(const Size&) const = default;
    };

    Point center = {};      ///< in document pixels
    double scale = 1;       ///< view points a document pixel
    double rotation = 0;    ///< radians, clockwise as y grows downward
    Size viewportSize = {}; ///< in view points

    bool operator==(const ViewTransform&) const = default;
};

} // namespace ombrel
