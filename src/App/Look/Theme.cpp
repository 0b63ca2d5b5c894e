#include "App/Look/Theme.h"

#include "App/Look/LookStyle.h"
#include "App/Look/SystemScheme.h"

#include <QApplication>
#include <QPalette>
#include <array>
#include <memory>

namespace ombrel {

namespace {

struct ThemeRow {
    ThemeColor color;
    QRgb dark;
    QRgb light;
};

constexpr std::array<ThemeRow, static_cast<std::size_t>(ThemeColor::count)> rows{{
    {ThemeColor::window, 0xFF2B2C2F, 0xFFE9E9EB},
    {ThemeColor::panel, 0xFF313236, 0xFFF6F6F7},
    {ThemeColor::field, 0xFF222326, 0xFFFFFFFF},
    {ThemeColor::raised, 0xFF3D3F44, 0xFFFDFDFD},
    {ThemeColor::hovered, 0xFF3A3C41, 0xFFE2E4E8},
    {ThemeColor::pressed, 0xFF222326, 0xFFD0D3D9},
    {ThemeColor::edge, 0xFF1B1C1E, 0xFFC4C5C9},
    {ThemeColor::line, 0xFF3E4045, 0xFFDBDCE0},
    {ThemeColor::outline, 0xFF54575D, 0xFFB4B6BC},
    {ThemeColor::track, 0xFF4A4D53, 0xFFCDD0D5},
    {ThemeColor::text, 0xFFDDDFE2, 0xFF1E1F22},
    {ThemeColor::dimText, 0xFFABAEB4, 0xFF5F636A},
    {ThemeColor::disabledText, 0xFF6D7076, 0xFFA4A7AD},
    {ThemeColor::icon, 0xFFC9CBD0, 0xFF3B3E44},
    {ThemeColor::disabledIcon, 0xFF5F6268, 0xFFB2B5BB},
    {ThemeColor::accent, 0xFF5B9BF2, 0xFF2F6FD0},
    {ThemeColor::selection, 0xFF345A8A, 0xFF2F6BC6},
    {ThemeColor::quietSelection, 0xFF434A55, 0xFFCBD3E0},
    {ThemeColor::selectedText, 0xFFFFFFFF, 0xFFFFFFFF},
    {ThemeColor::checkerLight, 0xFFD8D8D8, 0xFFFFFFFF},
    {ThemeColor::checkerDark, 0xFFB4B4B4, 0xFFD4D4D4},
    {ThemeColor::scrollHandle, 0xFF54575D, 0xFFBFC1C6},
    {ThemeColor::pasteboard, 0xFF1F2022, 0xFFB9BABD},
}};

constexpr bool isInOrder() {
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (rows[i].color != static_cast<ThemeColor>(i)) return false;
    }
    return true;
}
static_assert(isInOrder());

ThemeKind& currentKind() {
    static ThemeKind kind = ThemeKind::dark;
    return kind;
}

QPalette palette() {
    using Theme::color;
    struct Role {
        QPalette::ColorRole role;
        ThemeColor color;
        ThemeColor disabled;
    };
    static constexpr std::array<Role, 16> roles{{
        {QPalette::Window, ThemeColor::window, ThemeColor::window},
        {QPalette::WindowText, ThemeColor::text, ThemeColor::disabledText},
        {QPalette::Base, ThemeColor::field, ThemeColor::window},
        {QPalette::AlternateBase, ThemeColor::panel, ThemeColor::window},
        {QPalette::Text, ThemeColor::text, ThemeColor::disabledText},
        {QPalette::PlaceholderText, ThemeColor::dimText, ThemeColor::disabledText},
        {QPalette::Button, ThemeColor::raised, ThemeColor::window},
        {QPalette::ButtonText, ThemeColor::text, ThemeColor::disabledText},
        {QPalette::BrightText, ThemeColor::selectedText, ThemeColor::disabledText},
        {QPalette::Highlight, ThemeColor::selection, ThemeColor::line},
        {QPalette::HighlightedText, ThemeColor::selectedText, ThemeColor::disabledText},
        {QPalette::ToolTipBase, ThemeColor::field, ThemeColor::field},
        {QPalette::ToolTipText, ThemeColor::text, ThemeColor::text},
        {QPalette::Link, ThemeColor::accent, ThemeColor::disabledText},
        {QPalette::LinkVisited, ThemeColor::accent, ThemeColor::disabledText},
        {QPalette::Shadow, ThemeColor::edge, ThemeColor::edge},
    }};
    QPalette palette(color(ThemeColor::raised), color(ThemeColor::window));
    for (const Role& role : roles) {
        palette.setColor(role.role, color(role.color));
        palette.setColor(QPalette::Disabled, role.role, color(role.disabled));
    }
    return palette;
}

/// What the palette cannot say.
QString styleSheet() {
    const auto name = [](ThemeColor color) { return Theme::color(color).name(); };
    return QStringLiteral("QToolTip { color: %1; background: %2; border: 1px solid %3;"
                          " padding: 3px; }"
                          "QMainWindow::separator { background: %3; width: 3px; height: 3px; }"
                          "QScrollBar { background: transparent; border: none; margin: 0; }"
                          "QScrollBar:vertical { width: 10px; }"
                          "QScrollBar:horizontal { height: 10px; }"
                          "QScrollBar::handle { background: %4; border-radius: 3px;"
                          " margin: 2px; min-width: 24px; min-height: 24px; }"
                          "QScrollBar::handle:hover { background: %5; }"
                          "QScrollBar::add-line, QScrollBar::sub-line { width: 0; height: 0; }"
                          "QScrollBar::add-page, QScrollBar::sub-page { background: none; }")
        .arg(name(ThemeColor::text), name(ThemeColor::field), name(ThemeColor::edge),
             name(ThemeColor::scrollHandle), name(ThemeColor::dimText));
}

} // namespace

ThemeKind Theme::kindOf(std::string_view colorScheme) {
    if (colorScheme == "system") return SystemScheme::known();
    return colorScheme == "light" ? ThemeKind::light : ThemeKind::dark;
}

void Theme::apply(QApplication& application, ThemeKind kind) {
    currentKind() = kind;
    QApplication::setStyle(std::make_unique<LookStyle>().release()); // the application owns it
    QApplication::setPalette(palette());
    application.setStyleSheet(styleSheet());
}

ThemeKind Theme::current() {
    return currentKind();
}

QColor Theme::color(ThemeColor color) {
    const ThemeRow& row = rows[static_cast<std::size_t>(color)];
    return QColor::fromRgba(current() == ThemeKind::dark ? row.dark : row.light);
}

} // namespace ombrel
