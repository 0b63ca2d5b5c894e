#include "App/Look/Icons.h"
#include "App/Look/LucideIcons.h"
#include "App/Look/SystemScheme.h"
#include "App/Look/Theme.h"
#include "App/Screenshot.h"
#include "Tools/ToolKind.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>
#include <QTabBar>
#include <QToolButton>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

/// How strong the marks of a picture are, and of what colour the strongest is.
struct Ink {
    double amount = 0;
    QColor color;
};

Ink inkOf(const QPixmap& pixmap) {
    const QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
    Ink ink;
    int strongest = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb pixel = image.pixel(x, y);
            ink.amount += qAlpha(pixel) / 255.0;
            if (qAlpha(pixel) <= strongest) continue;
            strongest = qAlpha(pixel);
            ink.color = QColor(pixel);
        }
    }
    return ink;
}

int distance(const QColor& a, const QColor& b) {
    return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
           std::abs(a.blue() - b.blue());
}

} // namespace

TEST(Look, everyToolHasItsIcon) {
    if (lucideIcons().empty()) GTEST_SKIP() << "built without the icon package";
    for (const ToolDescription& tool : toolDescriptions)
        EXPECT_TRUE(hasIcon(tool.icon)) << tool.icon;
}

TEST(Look, iconsAreDrawnAtTheSizeOfTheDeviceAndInTheColoursOfTheirState) {
    const QIcon move = icon("move");
    for (const double scale : {1.0, 1.5, 2.0}) {
        const QPixmap normal = move.pixmap(QSize(16, 16), scale, QIcon::Normal, QIcon::Off);
        EXPECT_EQ(normal.size(), (QSizeF(16, 16) * scale).toSize());
        EXPECT_GT(inkOf(normal).amount, 20 * scale * scale);
        EXPECT_LT(distance(inkOf(normal).color, Theme::color(ThemeColor::icon)), 12);
        const QPixmap disabled = move.pixmap(QSize(16, 16), scale, QIcon::Disabled, QIcon::Off);
        EXPECT_LT(distance(inkOf(disabled).color, Theme::color(ThemeColor::disabledIcon)), 12);
    }
}

TEST(Look, anIconThatTheSetLacksIsALetter) {
    EXPECT_FALSE(hasIcon("no-such-icon"));
    EXPECT_GT(inkOf(icon("no-such-icon").pixmap(QSize(16, 16), 1.0)).amount, 10);
}

TEST(Look, textStandsOutFromItsGroundInBothThemes) {
    const auto light = [](const QColor& color) {
        const auto part = [](double value) {
            return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * part(color.redF()) + 0.7152 * part(color.greenF()) +
               0.0722 * part(color.blueF()) + 0.05;
    };
    const auto contrast = [&](ThemeColor a, ThemeColor b) {
        const double first = light(Theme::color(a));
        const double second = light(Theme::color(b));
        return std::max(first, second) / std::min(first, second);
    };
    for (const ThemeKind kind : {ThemeKind::light, ThemeKind::dark}) {
        Theme::apply(*qobject_cast<QApplication*>(QCoreApplication::instance()), kind);
        for (const ThemeColor ground : {ThemeColor::window, ThemeColor::panel, ThemeColor::field}) {
            EXPECT_GT(contrast(ThemeColor::text, ground), 7);
            EXPECT_GT(contrast(ThemeColor::dimText, ground), 4.5);
        }
        for (const ThemeColor ground : {ThemeColor::raised, ThemeColor::hovered}) {
            EXPECT_GT(contrast(ThemeColor::text, ground), 7);
            EXPECT_GT(contrast(ThemeColor::dimText, ground), 4.5);
        }
        EXPECT_GT(contrast(ThemeColor::text, ThemeColor::pressed), 7);
        EXPECT_GT(contrast(ThemeColor::text, ThemeColor::quietSelection), 4.5);
        EXPECT_GT(contrast(ThemeColor::selectedText, ThemeColor::selection), 4.5);
    }
    EXPECT_EQ(Theme::kindOf("light"), ThemeKind::light);
    EXPECT_EQ(Theme::kindOf("dark"), ThemeKind::dark);
}

TEST(Look, theDesktopsLastWishHoldsUntilItIsAsked) {
    SystemScheme::setKnown(ThemeKind::light);
    EXPECT_EQ(Theme::kindOf("system"), ThemeKind::light);
    const QByteArray bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS"); // nobody is there to ask
    int changes = 0;
    for (int i = 0; i < 2; ++i)
        SystemScheme::ask(*QCoreApplication::instance(), [&] { ++changes; });
    if (!bus.isNull()) qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
    EXPECT_EQ(changes, 1);
    EXPECT_EQ(Theme::kindOf("system"), ThemeKind::dark);
}

TEST(Look, controlsOfFormsInBothThemes) {
    for (const ThemeKind kind : {ThemeKind::light, ThemeKind::dark}) {
        Theme::apply(*qobject_cast<QApplication*>(QCoreApplication::instance()), kind);
        QWidget sheet;
        auto* grid = new QGridLayout(&sheet);
        for (const bool isEnabled : {true, false}) {
            const int column = isEnabled ? 0 : 1;
            auto* box = new QComboBox;
            box->addItem("Choice");
            auto* editable = new QComboBox;
            editable->setEditable(true);
            editable->addItem("Editable");
            auto* slider = new QSlider(Qt::Horizontal);
            slider->setValue(40);
            auto* check = new QCheckBox("Checked");
            check->setChecked(true);
            auto* radio = new QRadioButton("Radio");
            radio->setChecked(true);
            auto* progress = new QProgressBar;
            progress->setValue(60);
            progress->setTextVisible(false);
            auto* tabs = new QTabBar;
            tabs->addTab("Front");
            tabs->addTab("Behind");
            auto* mainButton = new QPushButton("Default");
            mainButton->setDefault(true);
            int row = 0;
            for (QWidget* widget : std::initializer_list<QWidget*>{
                     new QPushButton("Button"), mainButton, new QLineEdit("Field"), new QSpinBox,
                     box, editable, slider, check, new QCheckBox("Unchecked"), radio, progress,
                     tabs}) {
                widget->setEnabled(isEnabled);
                grid->addWidget(widget, row++, column);
            }
        }
        sheet.adjustSize();
        saveScreenshot(sheet, kind == ThemeKind::dark ? "controls-dark" : "controls-light");
        // A field stands out from what it lies on, switched off it does not.
        QImage picture = sheet.grab().toImage();
        picture.setDevicePixelRatio(1);
        const auto inside = [&](int column) {
            const QRect cell = grid->cellRect(2, column);
            const QPoint place =
                QPoint(cell.right() - 8, cell.center().y()) * sheet.devicePixelRatioF();
            return picture.pixelColor(place);
        };
        EXPECT_EQ(inside(0), Theme::color(ThemeColor::field));
        EXPECT_EQ(inside(1), Theme::color(ThemeColor::window));
    }
}

TEST(Look, everyIconOfTheSetIsDrawn) {
    QWidget sheet;
    auto* grid = new QGridLayout(&sheet);
    int place = 0;
    for (const LucideIcon& lucide : lucideIcons()) {
        EXPECT_GT(inkOf(icon(lucide.name).pixmap(QSize(16, 16), 1.0)).amount, 8) << lucide.name;
        auto* button = new QToolButton;
        button->setIcon(icon(lucide.name));
        button->setIconSize({Spacing::toolIcon, Spacing::toolIcon});
        button->setAutoRaise(true);
        button->setCheckable(true);
        button->setChecked(place % 7 == 3);
        button->setEnabled(place % 5 != 4);
        grid->addWidget(button, place / 12, place % 12);
        ++place;
    }
    sheet.adjustSize();
    saveScreenshot(sheet, "icons");
}

} // namespace ombrel
