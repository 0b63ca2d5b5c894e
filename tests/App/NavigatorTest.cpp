// The navigator and the histogram: what they show of a document and how one gets about with them.
#include "App/Look/Theme.h"
#include "App/PanelFixture.h"
#include "App/Panels/HistogramPanel.h"
#include "App/Panels/HistogramPlot.h"
#include "App/Panels/NavigatorPanel.h"
#include "App/Panels/NavigatorView.h"
#include "App/Panels/SlicedWork.h"
#include "App/Screenshot.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QSlider>
#include <QTest>
#include <QToolButton>
#include <QWheelEvent>
#include <cmath>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

constexpr PremultipliedColor red{1, 0, 0, 1};

/// Panels have timers: the toolkit's and ours go on until it holds.
template <typename Holds>
bool eventually(PanelFixture& fixture, Holds&& holds) {
    return QTest::qWaitFor(
        [&] {
            fixture.settle();
            return holds();
        },
        10'000);
}

struct NavigatorTest : testing::Test {
    void make(DocumentState state) {
        fixture.open(std::move(state));
        fixture.session->_contentsScale = 1;
        fixture.session->setViewTransform(
            {.center = {500, 250}, .scale = 1, .viewportSize = {200, 100}});
        panel = std::make_unique<NavigatorPanel>(fixture.context());
        panel->resize(240, 170);
        panel->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
        view = panel->findChild<NavigatorView*>("navigatorView");
        EXPECT_TRUE(eventually(fixture, [&] { return panel->isUpToDate(); }));
    }
    const ViewTransform& shown() const { return *fixture.session->_viewTransform; }
    /// On the canvas, in its pixels.
    QPoint place(double x, double y) const {
        const QRectF area = view->canvasArea();
        return (area.topLeft() + QPointF(x, y) * area.width() / 1000).toPoint();
    }
    QColor colorAt(double x, double y) const {
        const QImage picture = view->grab().toImage();
        return picture.pixelColor(place(x, y) * picture.devicePixelRatio());
    }

    PanelFixture fixture;
    std::unique_ptr<NavigatorPanel> panel;
    NavigatorView* view = nullptr;
};

DocumentState halves() {
    return TestDocument({1000, 500})
        .layer("White")
        .filled(PremultipliedColor::white())
        .layer("A")
        .filled(PixelRect{500, 0, 500, 500}, red)
        .active()
        .state();
}

} // namespace

TEST_F(NavigatorTest, itShowsThePictureAndFollowsEdits) {
    make(halves());
    EXPECT_EQ(colorAt(100, 100), QColor(255, 255, 255));
    EXPECT_EQ(colorAt(900, 400), QColor(255, 0, 0));
    saveScreenshot(*panel, "navigator");
    EditCommand hide{"Hide", [](DocumentState& state, const CommandContext&) -> CommandResult {
                         state.update(*state.activeLayerID, [](LayerNode& node) {
                             node.writeProperties().isVisible = false;
                         });
                         return {};
                     }};
    fixture.session->perform(hide);
    EXPECT_TRUE(eventually(fixture, [&] { return colorAt(900, 400) == QColor(255, 255, 255); }));
    fixture.session->undo();
    EXPECT_TRUE(eventually(fixture, [&] { return colorAt(900, 400) == QColor(255, 0, 0); }));
    // Hidden it works no more, and shows what there is once it is back.
    panel->hide();
    fixture.session->perform(hide);
    fixture.settle();
    EXPECT_TRUE(panel->isUpToDate());
    panel->show();
    EXPECT_TRUE(eventually(fixture, [&] { return colorAt(900, 400) == QColor(255, 255, 255); }));
}

TEST_F(NavigatorTest, clicksDragsWheelKeysAndNumbersMoveTheView) {
    make(halves());
    QTest::mousePress(view, Qt::LeftButton, {}, place(800, 400));
    EXPECT_NEAR(shown().center.x, 800, 5);
    EXPECT_NEAR(shown().center.y, 400, 5);
    QTest::mouseRelease(view, Qt::LeftButton, {}, place(800, 400));
    // Taken off its middle, the frame does not jump.
    QTest::mousePress(view, Qt::LeftButton, {}, place(760, 420));
    EXPECT_NEAR(shown().center.x, 800, 5);
    QMouseEvent drag(QEvent::MouseMove, QPointF(place(560, 220)),
                     QPointF(view->mapToGlobal(place(560, 220))), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(view, &drag);
    EXPECT_NEAR(shown().center.x, 600, 8);
    EXPECT_NEAR(shown().center.y, 200, 8);
    QTest::mouseRelease(view, Qt::LeftButton, {}, place(560, 220));
    const double x = shown().center.x;
    QTest::keyClick(view, Qt::Key_Right);
    EXPECT_NEAR(shown().center.x, x + 20, 1e-9);
    QTest::keyClick(view, Qt::Key_Plus);
    EXPECT_NEAR(shown().scale, std::sqrt(2.0), 1e-9);
    QWheelEvent turn(QPointF(50, 50), view->mapToGlobal(QPointF(50, 50)), {}, {0, 240},
                     Qt::NoButton, {}, Qt::NoScrollPhase, false);
    QApplication::sendEvent(view, &turn);
    EXPECT_NEAR(shown().scale, 2, 1e-9);
    auto* zoom = panel->findChild<QSlider*>("navigatorZoom");
    const int step = zoom->value();
    panel->findChild<QToolButton*>("zoom-out")->click();
    EXPECT_NEAR(shown().scale, 1, 1e-9);
    EXPECT_LT(zoom->value(), step);
    zoom->setValue(step);
    EXPECT_NEAR(shown().scale, 2, 0.02);
    auto* field = panel->findChild<QLineEdit*>("navigatorZoomField");
    field->selectAll();
    QTest::keyClicks(field, "50");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(shown().scale, 0.5);
    EXPECT_LT(zoom->value(), step);
}

TEST_F(NavigatorTest, aTurnedViewHasATurnedFrameAndIsTurnedBack) {
    make(halves());
    auto* turn = panel->findChild<QToolButton*>("navigatorTurn");
    EXPECT_FALSE(turn->isVisible());
    ViewTransform turned = shown();
    turned.rotation = std::atan(1.0); // 45 degrees
    fixture.session->setViewTransform(turned);
    EXPECT_TRUE(turn->isVisible());
    EXPECT_EQ(turn->text().toStdString(), "45°");
    const QPolygonF frame = view->frame();
    const QPointF top = frame[1] - frame[0];
    EXPECT_NEAR(std::abs(top.x()), std::abs(top.y()), 1e-6);
    saveScreenshot(*panel, "navigator-turned");
    turn->click();
    EXPECT_EQ(shown().rotation, 0);
    EXPECT_EQ(shown().center, turned.center);
}

TEST_F(NavigatorTest, anEmptyAndAThinDocumentAreShownToo) {
    make(TestDocument({0, 0}).layer("A").active().state());
    view->grab();
    fixture.open(halves());
    make(TestDocument({100'000, 2}).layer("A").filled(red).active().state());
    EXPECT_GT(view->canvasArea().width(), 100);
    view->grab();
}

TEST(SlicedWork, theNewestWishIsDoneAndOthersEnd) {
    ControlledExecutors executors;
    std::vector<std::string> log;
    SlicedWork work(executors.main, executors.worker);
    const auto start = [&](const std::string& name, int slices) {
        work.start(
            [&log, name, slices]() mutable {
                log.push_back(name);
                return --slices == 0;
            },
            [&log, name] { log.push_back(name + " done"); });
    };
    start("a", 2);
    start("b", 1);
    start("c", 2);
    executors.settle();
    EXPECT_EQ(log, (std::vector<std::string>{"c", "c", "c done"}));
    EXPECT_FALSE(work.isBusy());
    log.clear();
    start("d", 3);
    work.cancel();
    executors.settle();
    EXPECT_TRUE(log.empty());
    start("e", 1);
    executors.settle();
    EXPECT_EQ(log, (std::vector<std::string>{"e", "e done"}));
}

struct HistogramTest : testing::Test {
    void make(DocumentState state) {
        fixture.open(std::move(state));
        panel = std::make_unique<HistogramPanel>(fixture.context());
        panel->resize(264, 190);
        panel->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
    }
    std::string text(const char* label) {
        return panel->findChild<QLabel*>(label)->text().toStdString();
    }
    bool reads(const char* label, const char* words) {
        return eventually(fixture, [&] { return text(label) == words; });
    }
    void choose(const char* box, int index) {
        panel->findChild<QComboBox*>(box)->setCurrentIndex(index);
    }

    PanelFixture fixture;
    std::unique_ptr<HistogramPanel> panel;
};

TEST_F(HistogramTest, figuresAreThoseOfWhatIsChosen) {
    make(halves());
    EXPECT_TRUE(reads("histogramFigures", "Mean 191.1   Median 127   Std dev 63.9"))
        << text("histogramFigures");
    EXPECT_EQ(text("histogramClipped"), "Clipped: black 0 %, white 50.0 %");
    EXPECT_EQ(text("histogramReadout"), "500,000 pixels");
    choose("histogramChannel", 3); // green
    EXPECT_EQ(text("histogramClipped"), "Clipped: black 50.0 %, white 50.0 %");
    choose("histogramSource", 1);
    EXPECT_TRUE(reads("histogramReadout", "250,000 pixels"));
    EXPECT_EQ(text("histogramFigures"), "Mean 0.0   Median 0   Std dev 0.0");
    choose("histogramChannel", 0);
    choose("histogramScale", 1);
    EXPECT_EQ(text("histogramFigures"), "Mean 54.2   Median 54   Std dev 0.0");
    auto* plot = panel->findChild<HistogramPlot*>("histogramPlot");
    for (int i = 0; i < 55; ++i)
        QTest::keyClick(plot, Qt::Key_Right);
    EXPECT_EQ(text("histogramReadout"), "Level 54   100.0 %   up to here 100.0 %");
}

TEST_F(HistogramTest, whatIsStillBeingCountedIsNotShownForWhatHasNoPixels) {
    make(TestDocument({2000, 1500})
             .layer("A")
             .painted({0, 0, 2000, 1500},
                      [](std::int64_t, std::int64_t) { return PremultipliedColor{0, 0, 0, 1}; })
             .active()
             .group("G")
             .end()
             .state());
    choose("histogramSource", 1);
    ASSERT_TRUE(
        eventually(fixture, [&] { return text("histogramReadout").starts_with("One of "); }));
    QTest::qWait(700); // by then every pixel is being counted, and this test keeps it from its end
    fixture.session->setActiveLayer(fixture.state().root->children.back().id());
    ASSERT_TRUE(QTest::qWaitFor([&] { return text("histogramFigures") == "No pixels"; }));
    fixture.settle();
    EXPECT_EQ(text("histogramFigures"), "No pixels");
}

TEST_F(HistogramTest, aLargePictureIsSampledFirstAndThenCountedAsAWhole) {
    make(TestDocument({4000, 3000})
             .layer("A")
             .painted({0, 0, 4000, 3000},
                      [](std::int64_t x, std::int64_t y) {
                          const float shade = static_cast<float>((x * y) % 4000) / 4000;
                          return PremultipliedColor{shade, shade * shade, 0.2f, 1};
                      })
             .active()
             .state());
    EXPECT_TRUE(reads("histogramReadout", "One of 16 pixels so far"));
    EXPECT_TRUE(reads("histogramReadout", "12,000,000 pixels"));
    choose("histogramChannel", 1);
    saveScreenshot(*panel, "histogram");
    Theme::apply(*qApp, ThemeKind::light);
    fixture.settle();
    saveScreenshot(*panel, "histogram-light");
    Theme::apply(*qApp, ThemeKind::dark);
    fixture.session->perform(mark(3)); // changes no pixel, and yet is followed
    EXPECT_TRUE(reads("histogramReadout", "12,000,000 pixels"));
}

} // namespace ombrel
