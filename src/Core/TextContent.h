// What a type layer shows: a string, the style of it or of its runs, and where it lies. The layer's
// pixels are a rendering of it. Sizes are points, places canvas pixels with y downward. Plain
// values; any thread. Nothing read from a file is trusted: runs may overlap or lie outside.
#pragma once

#include "Core/PremultipliedColor.h"
#include "Core/RealGeometry.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace ombrel {

struct TextStyle {
    enum class Alignment : std::uint8_t { left, center, right, justify };
    enum class AntiAlias : std::uint8_t { none, sharp, smooth };

    std::string fontName; ///< PostScript or full name; kept where there is no such font
    double size = 12;     ///< points
    PremultipliedColor color = PremultipliedColor::black();
    double tracking = 0;           ///< thousandths of an em
    std::optional<double> leading; ///< points from line to line; by the size where absent
    Alignment alignment = Alignment::left;
    AntiAlias antiAlias = AntiAlias::smooth;
    bool fauxBold = false;
    bool fauxItalic = false;
    bool allCaps = false; ///< shown in upper case, kept as it is

    bool operator==(const TextStyle&) const = default;
};

/// Counted in UTF-16 code units of the string.
struct TextRun {
    std::int64_t location = 0;
    std::int64_t length = 0;
    TextStyle style;

    bool operator==(const TextRun&) const = default;
};

/// An affine map with a stored form of its own, an object.
struct TextTransform {
    double a = 1;
    double b = 0;
    double c = 0;
    double d = 1;
    double tx = 0;
    double ty = 0;

    AffineTransform affine() const { return {a, b, c, d, tx, ty}; }
    bool operator==(const TextTransform&) const = default;
};

struct TextContent {
    /// Text in a box, which breaks its lines.
    struct Paragraph {
        RealSize box;

        bool operator==(const Paragraph&) const = default;
    };
    /// Text without a box: it never wraps.
    struct Point {
        bool operator==(const Point&) const = default;
    };
    struct Kind {
        std::variant<Paragraph, Point> value = Point{};

        bool operator==(const Kind&) const = default;
    };

    std::string string;
    TextStyle style;
    Kind kind;
    RealPoint origin; ///< of a point text on its first baseline, else the box's upper left corner
    TextTransform transform;
    std::optional<std::vector<TextRun>> runs; ///< one style throughout where absent

    /// Runs that cover the whole string in order, without gaps or overlaps: where two lie over
    /// each other the one that begins first keeps its place. None for an empty string.
    std::vector<TextRun> effectiveRuns() const;
    /// Points, over the effective runs; the style's own for an empty string.
    double maximumSize() const;
    /// The layer's name made from the text: its first line, trimmed, at most 30 characters and
    /// then "…"; "Text" where that is empty.
    std::string defaultName() const;

    bool operator==(const TextContent&) const = default;
};

} // namespace ombrel
