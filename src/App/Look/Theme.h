// How the program looks: one table of colours for the dark and the light theme, one list of
// spacings. Applied to the application as a style, a palette and a small style sheet; widgets that
// draw themselves ask for the same colours by name. Main thread only.
#pragma once

#include <QColor>
#include <cstdint>
#include <string_view>

class QApplication;

namespace ombrel {

enum class ThemeKind : std::uint8_t { dark, light };

enum class ThemeColor : std::uint8_t {
    window,  ///< behind panels and bars
    panel,   ///< lists, bodies of panels
    field,   ///< where one types
    raised,  ///< buttons
    hovered, ///< what the pointer is over
    pressed, ///< what is held down
    edge,    ///< hard lines between areas
    line,    ///< soft lines within an area
    outline, ///< around fields and buttons
    track,   ///< what sliders and progress run in
    text,
    dimText, ///< beside what matters
    disabledText,
    icon,
    disabledIcon,
    accent,         ///< focus, sliders, what drops land on
    selection,      ///< chosen rows, the tool in use
    quietSelection, ///< chosen rows where the keyboard is elsewhere
    selectedText,
    checkerLight, ///< squares behind transparent pictures
    checkerDark,
    scrollHandle,
    pasteboard, ///< around the canvas
    count,
};

namespace Spacing {
inline constexpr int hair = 2;
inline constexpr int tight = 4;
inline constexpr int normal = 8;
inline constexpr int wide = 16;
inline constexpr int icon = 16;       ///< side of an icon in panels
inline constexpr int toolIcon = 20;   ///< side of an icon in the toolbar
inline constexpr int toolButton = 30; ///< side of a button in the toolbar
inline constexpr int corner = 3;      ///< radius of rounded corners
} // namespace Spacing

namespace Theme {

/// By the word of the setting "colorScheme". Where the system has no wish, "system" is dark:
/// pictures are best judged in dark surroundings.
ThemeKind kindOf(std::string_view colorScheme);
/// May be called again to change the theme; windows that are open follow.
void apply(QApplication& application, ThemeKind kind);
ThemeKind current(); ///< dark until one is applied
QColor color(ThemeColor color);

} // namespace Theme

} // namespace ombrel
