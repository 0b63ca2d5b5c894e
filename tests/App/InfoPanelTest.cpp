// What the info panel tells of a place and of the document.
#include "App/Panels/InfoPanel.h"

#include "App/PanelFixture.h"
#include "App/Panels/ScreenColor.h"
#include "App/Screenshot.h"

#include <QComboBox>
#include <QLabel>
#include <QTest>
#include <cmath>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

struct InfoPanelTest : testing::Test {
    void make(const ColorProfile& profile = ColorProfile::sRGB()) {
        DocumentState state = TestDocument({300, 200})
                                  .layer("Paper")
                                  .filled(PremultipliedColor::white())
                                  .layer("Veil")
                                  .filled(PixelRect{100, 50, 100, 100}, {0, 0.25f, 0, 0.5f})
                                  .active()
                                  .state();
        state.canvas.profile = profile;
        state.canvas.resolution = 300;
        state.canvas.blendUsingGamma1 = true;
        fixture.open(std::move(state));
        panel = std::make_unique<InfoPanel>(fixture.context());
        panel->resize(264, 200);
        panel->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
        fixture.settle();
    }
    std::string text(const char* name) {
        auto* label = panel->findChild<QLabel*>(QStringLiteral("info-") + name);
        return label != nullptr ? label->text().toStdString() : "missing";
    }
    void pointAt(std::optional<RealPoint> point) {
        fixture.session->_pointerLocation = point;
        EXPECT_TRUE(QTest::qWaitFor(
            [&] {
                fixture.settle();
                const bool isThere = text("x") != "–";
                const std::string x =
                    point ? std::to_string(static_cast<int>(std::floor(point->x))) : "–";
                return isThere == point.has_value() && text("x").starts_with(x);
            },
            5000));
    }
    void choose(const char* box, int index) {
        panel->findChild<QComboBox*>(box)->setCurrentIndex(index);
    }

    PanelFixture fixture;
    std::unique_ptr<InfoPanel> panel;
};

} // namespace

TEST_F(InfoPanelTest, itTellsTheColorPlaceAndLayerUnderThePointer) {
    make();
    pointAt(RealPoint{150.7, 60.2});
    EXPECT_EQ(text("layer"), "Veil");
    EXPECT_EQ(text("y"), "60");
    EXPECT_EQ(text("R"), "188"); // half of the light
    EXPECT_EQ(text("G"), "225");
    EXPECT_EQ(text("A"), "255");
    EXPECT_EQ(text("hex"), "BCE1BC");
    EXPECT_EQ(text("hsb"), "120° 17 88");
    saveScreenshot(*panel, "info");
    choose("infoFormat", 3);
    EXPECT_EQ(text("R"), "0.5000");
    EXPECT_EQ(text("G"), "0.7500");
    choose("infoFormat", 1);
    EXPECT_EQ(text("A"), "65535");
    choose("infoUnit", 1); // inches
    EXPECT_EQ(text("y").substr(0, 2), "60");
    EXPECT_NE(text("y").find("0.2"), std::string::npos) << text("y");
    EXPECT_EQ(fixture.settings.json("infoFormat"), "word");
    pointAt(RealPoint{10, 10});
    EXPECT_EQ(text("layer"), "Paper");
    // Beside the canvas there is a place and nothing else.
    pointAt(RealPoint{-5, 10});
    EXPECT_EQ(text("hex"), "–");
    EXPECT_EQ(text("layer"), "–");
    pointAt(std::nullopt);
    EXPECT_EQ(text("R"), "–");
}

TEST_F(InfoPanelTest, documentAndScreenHaveNumbersOfTheirOwn) {
    make(ColorProfile::displayP3());
    fixture.session->perform(
        EditCommand{"Fill", [&](DocumentState& state, const CommandContext&) -> CommandResult {
                        PixelLayer layer = *state.activePixelLayer();
                        layer.pixels.fill({0, 0, 300, 200}, {0, 1, 0, 1}, *fixture.store);
                        state.update(layer.id, [&](LayerNode& node) { node = LayerNode(layer); });
                        return {};
                    }});
    pointAt(RealPoint{20, 20});
    EXPECT_EQ(text("G"), "255");
    EXPECT_EQ(text("R"), "0");
    EXPECT_EQ(text("hex"), "00FF00 (nearest)");
    EXPECT_EQ(text("color"), "Display P3, 8 bits/channel");
    EXPECT_EQ(text("size"), "300 × 200 px, 300 ppi");
    EXPECT_NE(text("memory"), "");
    panel->hide();
    fixture.session->_pointerLocation = RealPoint{30, 30};
    fixture.settle();
    EXPECT_EQ(text("x"), "20") << "out of sight it samples nothing";
}

} // namespace ombrel
