// Choosing colours: what is typed, dragged and pressed, and what is then painted with.
#include "App/Panels/ColorPanel.h"

#include "App/Color/ColorEditor.h"
#include "App/Color/ColorTrack.h"
#include "App/Color/SwatchView.h"
#include "App/Look/Theme.h"
#include "App/PanelFixture.h"
#include "App/Panels/ScreenColor.h"
#include "App/Screenshot.h"
#include "TestSeed.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QTest>
#include <QToolButton>
#include <fmt/format.h>
#include <functional>
#include <gtest/gtest.h>
#include <random>

namespace ombrel {

namespace {

struct ColorPanelTest : testing::Test {
    void make(const ColorProfile& profile = ColorProfile::sRGB()) {
        DocumentState state = TestDocument({64, 64}).layer("A").active().state();
        state.canvas.profile = profile;
        fixture.open(std::move(state));
        panel = std::make_unique<ColorPanel>(fixture.context());
        panel->resize(264, 240);
        panel->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
        fixture.settle();
    }
    template <typename Widget>
    Widget* child(const char* name) {
        auto* found = panel->findChild<Widget*>(name);
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    void typeHex(const char* text) {
        auto* hex = child<QLineEdit>("hex");
        hex->selectAll();
        QTest::keyClicks(hex, text);
        QTest::keyClick(hex, Qt::Key_Return);
    }
    void type(const char* number, int value) {
        auto* box = child<QSpinBox>(number);
        box->selectAll();
        QTest::keyClicks(box, QString::number(value));
        QTest::keyClick(box, Qt::Key_Return);
    }
    int number(const char* name) { return child<QSpinBox>(name)->value(); }
    std::string hex() { return child<QLineEdit>("hex")->text().toStdString(); }
    std::string painted() {
        return hexOf(
            displayColor(fixture.session->colors->foreground, fixture.state().canvas.profile));
    }

    PanelFixture fixture;
    std::unique_ptr<ColorPanel> panel;
};

} // namespace

TEST(PickedColor, keepsWhatWasSetAndWhatItCannotTell) {
    PickedColor color(*rgbOfHex("#204060"));
    const double hue = color.hsb().hue;
    EXPECT_NEAR(hue, 210, 1e-9);
    color = withComponent(color, ColorComponent::saturation, 0);
    EXPECT_EQ(color.hsb().hue, hue);
    color.setRgb({0, 0, 0});
    EXPECT_EQ(color.hsb().hue, hue);
    color.setHsb({hue, 0.4, 0});
    color.setRgb({0, 0, 0});
    EXPECT_EQ(color.hsb().saturation, 0.4);
    color = withComponent(color, ColorComponent::brightness, 100);
    EXPECT_NEAR(color.hsb().saturation, 0.4, 1e-12);
    EXPECT_EQ(withComponent(color, ColorComponent::hue, 360).rgb(),
              withComponent(color, ColorComponent::hue, 0).rgb());
    for (const char* wrong : {"", "#", "12345", "1234567", "GG0000", "+12345", "-1234", "0x1234"})
        EXPECT_FALSE(rgbOfHex(wrong)) << wrong;
}

TEST(PickedColor, everyByteSurvivesTheWayThroughAnyProfile) {
    std::mt19937 random(static_cast<unsigned>(testSeed()));
    for (const ColorProfile& profile : ColorProfile::builtIn()) {
        for (int i = 0; i < 3000; ++i) {
            // All grays first, then colours at random.
            const auto code = i < 256 ? static_cast<std::uint32_t>(i) * 0x10101u
                                      : static_cast<std::uint32_t>(random()) & 0xFFFFFFu;
            const std::string text = fmt::format("{:06X}", code);
            const PremultipliedColor color = documentColor(*rgbOfHex(text), profile);
            ASSERT_EQ(hexOf(displayColor(color, profile)), text) << profile.name();
            ASSERT_EQ(PickedColor(displayColor(color, profile)).hex(), text);
            ASSERT_FALSE(isBeyondScreen(color, profile)) << text << profile.name();
        }
    }
}

TEST_F(ColorPanelTest, whatIsTypedIsWhatIsShownAndPainted) {
    make(ColorProfile::displayP3());
    typeHex("c81e3a");
    EXPECT_EQ(hex(), "C81E3A");
    EXPECT_EQ(painted(), "C81E3A");
    EXPECT_NE(fixture.session->colors->foreground, ColorMath::documentColorOf(*rgbOfHex("C81E3A")))
        << "in the document's profile it has other numbers";
    EXPECT_EQ(number("red"), 200);
    child<QToolButton>("colorSliders")->click();
    EXPECT_FALSE(child<QSpinBox>("red")->isVisible());
    EXPECT_EQ(number("hue"), 350);
    type("saturation", 0);
    EXPECT_EQ(painted(), "C8C8C8");
    EXPECT_EQ(number("hue"), 350) << "a gray has none, so the one before is kept";
    type("brightness", 0);
    type("brightness", 50);
    type("saturation", 100);
    EXPECT_EQ(number("hue"), 350);
    EXPECT_EQ(painted().substr(2, 2), "00");
    const std::string before = painted();
    typeHex("nonsense");
    EXPECT_EQ(painted(), before);
    EXPECT_EQ(hex(), before);
}

TEST_F(ColorPanelTest, squareWheelTracksAndNamesAreDragged) {
    make();
    typeHex("0000FF");
    auto* plane = child<ColorPlane>("colorPlane");
    QTest::mouseClick(plane, Qt::LeftButton, {}, {plane->width() - 4, 3});
    EXPECT_EQ(painted(), "0000FF");
    QTest::mouseClick(plane, Qt::LeftButton, {}, {1, 1});
    EXPECT_EQ(painted(), "FFFFFF");
    QTest::keyClick(plane, Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(painted(), "E6E6E6");
    QTest::mouseClick(plane, Qt::LeftButton, {}, {plane->width() - 4, 3});
    EXPECT_EQ(painted(), "0000FF") << "the hue was kept on the way through white";
    // The wheel: to the right is red, and the middle is gray.
    child<QToolButton>("colorKind")->click();
    EXPECT_TRUE(child<ColorTrack>("brightnessStrip")->isVisible());
    EXPECT_FALSE(child<ColorTrack>("hueStrip")->isVisible());
    QTest::mouseClick(plane, Qt::LeftButton, {},
                      {plane->width() / 2 + plane->height() / 2 - 6, plane->height() / 2});
    EXPECT_EQ(painted().substr(0, 2), "FF");
    EXPECT_LT(std::stoi(painted().substr(2, 2), nullptr, 16), 16);
    EXPECT_EQ(fixture.settings.json("colorPlane"), "wheel");
    auto* red = child<QSpinBox>("red")->parentWidget();
    auto* name = red->findChild<QLabel*>();
    typeHex("64C832");
    QTest::mousePress(name, Qt::LeftButton, {}, {4, 4});
    QMouseEvent drag(QEvent::MouseMove, QPointF(44, 4), QPointF(name->mapToGlobal(QPoint(44, 4))),
                     Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(name, &drag);
    QTest::mouseRelease(name, Qt::LeftButton, {}, {44, 4});
    EXPECT_EQ(number("red"), 140);
    auto* track = red->findChild<QSlider*>();
    QTest::keyClick(track, Qt::Key_Left);
    EXPECT_EQ(number("red"), 139);
    QTest::keyClick(track, Qt::Key_End);
    EXPECT_EQ(painted(), "FFC832");
}

TEST_F(ColorPanelTest, itFollowsTheSessionAndEditsTheWellThatIsSelected) {
    make();
    fixture.session->colors =
        PaintColors{.foreground = documentColor(*rgbOfHex("123456"), ColorProfile::sRGB())};
    EXPECT_EQ(hex(), "123456");
    child<QToolButton>("backgroundColor")->click();
    EXPECT_EQ(hex(), "FFFFFF");
    typeHex("ABCDEF");
    EXPECT_EQ(painted(), "123456");
    child<QToolButton>("swapColors")->click();
    EXPECT_EQ(painted(), "ABCDEF");
    EXPECT_EQ(hex(), "123456");
    child<QToolButton>("defaultColors")->click();
    EXPECT_EQ(hex(), "FFFFFF");
    QTest::mouseDClick(child<QToolButton>("backgroundColor"), Qt::LeftButton);
    auto* dialog = panel->findChild<QDialog*>("colorDialog");
    ASSERT_NE(dialog, nullptr);
    EXPECT_EQ(dialog->findChild<QLineEdit*>("hex")->text(), "FFFFFF");
    fixture.settle();
    saveScreenshot(*dialog, "color-dialog");
    dialog->reject();
    EXPECT_EQ(*fixture.session->colors, PaintColors{});
}

TEST_F(ColorPanelTest, aColorThatTheScreenLacksIsMarkedAndStaysUntilItIsChanged) {
    make(ColorProfile::displayP3());
    auto* mark = child<QToolButton>("beyondScreen");
    EXPECT_FALSE(mark->isVisible());
    const PremultipliedColor green{0, 1, 0, 1};
    fixture.session->colors = PaintColors{.foreground = green};
    EXPECT_TRUE(mark->isVisible());
    EXPECT_EQ(hex(), "00FF00");
    EXPECT_EQ(fixture.session->colors->foreground, green) << "showing it changes nothing";
    mark->click();
    EXPECT_FALSE(mark->isVisible());
    EXPECT_EQ(painted(), "00FF00");
    EXPECT_NE(fixture.session->colors->foreground, green);
}

TEST_F(ColorPanelTest, paintedAndPickedColorsAreRemembered) {
    make();
    auto* recent = child<SwatchView>("recentColors");
    EXPECT_EQ(recent->model()->rowCount(), 0);
    typeHex("112233");
    typeHex("445566");
    ASSERT_TRUE(QTest::qWaitFor([&] { return recent->model()->rowCount() == 1; }, 5000));
    fixture.session->colors =
        PaintColors{.foreground = documentColor(*rgbOfHex("778899"), ColorProfile::sRGB())};
    fixture.session->setTool(ToolKind::brush);
    fixture.session->perform(mark(3));
    EXPECT_EQ(recent->model()->rowCount(), 1) << "no paint, though the brush is at hand";
    const auto choose = [&](const char* code) {
        fixture.session->colors =
            PaintColors{.foreground = documentColor(*rgbOfHex(code), ColorProfile::sRGB())};
    };
    const auto stroke = [&](const std::function<void()>& meanwhile, const char* name) {
        ASSERT_TRUE(fixture.session->beginLive());
        meanwhile();
        fixture.session->updateLive([](DocumentState& state) { ++state.canvas.resolution; });
        fixture.session->commitLive(name);
    };
    stroke([] {}, "Move");
    EXPECT_EQ(recent->model()->rowCount(), 1);
    stroke([&] { choose("AABBCC"); }, "Brush Tool");
    ASSERT_EQ(recent->model()->rowCount(), 2);
    EXPECT_EQ(recent->model()->index(0, 0).data(Qt::AccessibleTextRole).toString(), "#778899")
        << "it was painted with before another one was chosen";
    fixture.session->undo();
    fixture.session->redo();
    fixture.session->undo();
    fixture.session->perform(mark(4)); // in place of the stroke
    EXPECT_EQ(recent->model()->rowCount(), 2);
    const QModelIndex second = recent->model()->index(1, 0);
    EXPECT_EQ(second.data(Qt::AccessibleTextRole).toString(), "#445566");
    QTest::mouseClick(recent->viewport(), Qt::LeftButton, {}, recent->visualRect(second).center());
    EXPECT_EQ(painted(), "445566");
    fixture.settle();
    saveScreenshot(*panel, "color-panel");
    Theme::apply(*qApp, ThemeKind::light);
    child<QToolButton>("colorKind")->click();
    fixture.settle();
    saveScreenshot(*panel, "color-panel-light");
    Theme::apply(*qApp, ThemeKind::dark);
}

} // namespace ombrel
