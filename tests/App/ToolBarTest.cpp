#include "App/Panels/ToolBar.h"

#include "App/Color/ColorDialog.h"
#include "App/Look/Theme.h"
#include "App/PanelFixture.h"
#include "App/Panels/ColorWells.h"
#include "App/Panels/OptionsBar.h"
#include "App/Panels/ScreenColor.h"
#include "App/Panels/StatusFields.h"
#include "App/Screenshot.h"
#include "Tools/EyedropperTool.h"
#include "Tools/MoveTool.h"
#include "Tools/ToolRegistry.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QPushButton>
#include <QStatusBar>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

/// A window with all that stands around a canvas.
struct BarsTest : testing::Test {
    BarsTest() {
        fixture.open(TestDocument({1200, 800}).layer("A").active().state(),
                     ToolRegistry::makeTools());
        fixture.session->setViewTransform(
            {.center = {600, 400}, .scale = 0.25, .viewportSize = {800, 600}});
        fixture.session->setTool(ToolKind::brush);
        const PanelContext context = fixture.context();
        tools = new ToolBar(context, &window);
        options = new OptionsBar(context, &window);
        fields = new StatusFields(context, &window);
        window.addToolBar(Qt::TopToolBarArea, options);
        window.addToolBar(Qt::LeftToolBarArea, tools);
        window.statusBar()->addPermanentWidget(fields);
        auto* canvas = new QWidget(&window);
        canvas->setFocusPolicy(Qt::StrongFocus);
        window.setCentralWidget(canvas);
        window.resize(760, 700);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
        QApplication::setActiveWindow(&window);
        canvas->setFocus();
        fixture.settle();
    }
    QToolButton* slot(const char* name) { return tools->findChild<QToolButton*>(name); }
    void click(QWidget* widget) {
        QTest::mouseClick(widget, Qt::LeftButton);
        fixture.settle();
    }
    ToolKind active() const { return *fixture.session->_activeTool; }
    std::string toolName() { return options->findChild<QLabel*>("toolName")->text().toStdString(); }
    std::vector<std::string> checked() {
        std::vector<std::string> names;
        for (const auto* button : tools->findChildren<QToolButton*>())
            if (button->isChecked()) names.push_back(button->objectName().toStdString());
        return names;
    }

    PanelFixture fixture;
    QMainWindow window;
    ToolBar* tools = nullptr;
    OptionsBar* options = nullptr;
    StatusFields* fields = nullptr;
};

} // namespace

TEST_F(BarsTest, theIconOfTheOptionsFollowsTheTheme) {
    const auto ink = [&] {
        const QImage picture =
            options->findChild<QLabel*>("toolIcon")->pixmap(Qt::ReturnByValue).toImage();
        int darkest = 255;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                if (picture.pixelColor(x, y).alpha() > 200)
                    darkest = std::min(darkest, picture.pixelColor(x, y).lightness());
        }
        return darkest;
    };
    Theme::apply(*qApp, ThemeKind::light);
    fixture.settle();
    EXPECT_LT(ink(), 100);
    Theme::apply(*qApp, ThemeKind::dark);
    fixture.settle();
    EXPECT_GT(ink(), 150);
}

TEST_F(BarsTest, aToolThatIsNotThereYetSaysSoBeforeItIsUsed) {
    EXPECT_EQ(options->findChild<QLabel*>("toolMissing"), nullptr);
    fixture.session->setTool(ToolKind::text);
    fixture.settle();
    ASSERT_NE(options->findChild<QLabel*>("toolMissing"), nullptr);
    EXPECT_TRUE(options->findChild<QLabel*>("toolMissing")->isVisible());
}

TEST_F(BarsTest, aSlotShowsTheToolOfItsSectionThatWasUsedLast) {
    EXPECT_EQ(checked(), std::vector<std::string>{"brush"});
    click(slot("crop"));
    EXPECT_EQ(active(), ToolKind::crop);
    EXPECT_EQ(checked(), std::vector<std::string>{"crop"});
    EXPECT_EQ(toolName(), "Crop");
    fixture.session->setTool(ToolKind::sprayPaint); // as by its letter
    EXPECT_EQ(checked(), std::vector<std::string>{"brush"}) << "the slot is named by its first";
    EXPECT_EQ(slot("brush")->toolTip(), "Spray Paint (B)");
    click(slot("crop"));
    EXPECT_EQ(slot("brush")->toolTip(), "Spray Paint (B)");
    click(slot("brush"));
    EXPECT_EQ(active(), ToolKind::sprayPaint);
    slot("rectangle")->menu()->findChild<QAction*>("star")->trigger();
    EXPECT_EQ(active(), ToolKind::star);
    EXPECT_EQ(slot("rectangle")->toolTip(), "Star (U)");
    fixture.session->setTool(ToolKind::cloneStamp); // in no slot
    EXPECT_TRUE(checked().empty());
    fixture.session->setTool(ToolKind::move);
    fixture.settle();
    saveScreenshot(window, "bars");
}

TEST_F(BarsTest, everyToolOfTheTablesCanBeHad) {
    std::set<std::string> offered;
    for (const auto* button : tools->findChildren<QToolButton*>()) {
        if (button->menu() == nullptr) {
            offered.insert(button->objectName().toStdString());
            continue;
        }
        for (const QAction* action : button->menu()->actions())
            offered.insert(action->objectName().toStdString());
    }
    for (const ToolGroup& group : toolGroups()) {
        for (const ToolKind kind : group.tools())
            EXPECT_TRUE(offered.contains(std::string(descriptionOf(kind).identifier)));
    }
    for (const char* name : {"zoom", "rotateView"})
        EXPECT_TRUE(offered.contains(name));
    EXPECT_FALSE(offered.contains("remove"));
}

TEST_F(BarsTest, lettersThatNobodyTakesChooseTools) {
    QTest::keyClick(window.centralWidget(), Qt::Key_V);
    EXPECT_EQ(active(), ToolKind::move);
    QTest::keyClick(window.centralWidget(), Qt::Key_U, Qt::ControlModifier);
    EXPECT_EQ(active(), ToolKind::move);
    auto* zoom = fields->findChild<QLineEdit*>("zoom");
    QTest::keyClick(zoom, Qt::Key_U);
    EXPECT_EQ(active(), ToolKind::move) << "where one types, letters are text";
}

TEST_F(BarsTest, theWellsShowTheColoursAndSwapAndResetThem) {
    fixture.session->colors = PaintColors{.foreground = {0.5f, 0, 0, 1}};
    const auto shown = [&](const char* name) {
        QWidget* well = tools->findChild<QWidget*>(name);
        const QImage picture = well->grab().toImage();
        return QColor(picture.pixel(picture.width() / 4, picture.height() / 4));
    };
    EXPECT_EQ(shown("foregroundColor"), QColor(188, 0, 0)); // 0.5 of the light
    click(tools->findChild<QToolButton*>("swapColors"));
    EXPECT_EQ(fixture.session->colors->background.red, 0.5f);
    EXPECT_EQ(shown("foregroundColor"), QColor(255, 255, 255));
    click(tools->findChild<QToolButton*>("defaultColors"));
    EXPECT_EQ(*fixture.session->colors, PaintColors{});
    click(tools->findChild<QToolButton*>("foregroundColor"));
    auto* dialog = dynamic_cast<ColorDialog*>(tools->findChild<QDialog*>("colorDialog"));
    ASSERT_NE(dialog, nullptr);
    auto* code = dialog->findChild<QLineEdit*>("hex");
    code->selectAll();
    QTest::keyClicks(code, "#0f0");
    QTest::keyClick(code, Qt::Key_Tab);
    dialog->accept();
    EXPECT_EQ(fixture.session->colors->foreground, (PremultipliedColor{0, 1, 0, 1}));
}

TEST(ScreenColor, goesThroughTheDocumentsProfileAndBack) {
    const ColorProfile& wide = ColorProfile::displayP3();
    const PremultipliedColor red = documentColor(ColorMath::DisplayRgb{1, 0, 0}, wide);
    EXPECT_NEAR(red.red, 0.8225f, 0.002f); // of the wider red
    EXPECT_NEAR(red.green, 0.0332f, 0.002f);
    for (const QColor& color : {QColor(255, 0, 0), QColor(12, 200, 99), QColor(1, 2, 3)}) {
        const ColorMath::DisplayRgb rgb{color.redF(), color.greenF(), color.blueF()};
        EXPECT_EQ(screenColor(documentColor(rgb, wide), wide).rgb(), color.rgb());
    }
    EXPECT_EQ(screenColor({0, 1, 0, 1}, wide).rgb(), QColor(0, 255, 0).rgb()) << "out of reach";
}

TEST_F(BarsTest, optionsChangeTheToolAndFollowIt) {
    fixture.session->setTool(ToolKind::move);
    auto* select = options->findChild<QCheckBox*>("autoSelect");
    auto& move = dynamic_cast<MoveTool&>(*fixture.session->tool());
    ASSERT_TRUE(move.settings().autoSelect);
    select->click();
    EXPECT_FALSE(move.settings().autoSelect);
    move.setSettings({.autoSelect = true, .target = HitKind::group}); // as a menu does
    EXPECT_TRUE(select->isChecked());
    EXPECT_EQ(options->findChild<QComboBox*>("autoSelectTarget")->currentIndex(), 1);

    click(slot("eyedropper"));
    EXPECT_EQ(options->findChild<QCheckBox*>("autoSelect"), nullptr) << "one row at a time";
    auto* size = options->findChild<QComboBox*>("sampleSize");
    ASSERT_EQ(size->count(), 7);
    QTest::keyClick(size, Qt::Key_Down);
    QTest::keyClick(size, Qt::Key_Down);
    EXPECT_EQ(dynamic_cast<EyedropperTool&>(*fixture.session->tool()).settings().sampleSide, 5);

    click(slot("zoom"));
    click(options->findChild<QPushButton*>("fullSize"));
    EXPECT_EQ(fixture.session->_viewTransform->scale, 0.5) << "two screen pixels a point";
    EXPECT_EQ(fixture.session->_viewTransform->center, (ViewTransform::Point{600, 400}));
    click(options->findChild<QPushButton*>("fitView"));
    EXPECT_LT(fixture.session->_viewTransform->scale, 800.0 / 1200);
    EXPECT_GT(fixture.session->_viewTransform->scale, 700.0 / 1200);
    click(slot("crop"));
    EXPECT_EQ(options->findChildren<QPushButton*>().size(), 0);
}

TEST_F(BarsTest, theMagnificationIsShownAndTyped) {
    auto* zoom = fields->findChild<QLineEdit*>("zoom");
    EXPECT_EQ(zoom->text(), "50 %");
    const auto type = [&](const char* text) {
        zoom->selectAll();
        QTest::keyClicks(zoom, text);
        QTest::keyClick(zoom, Qt::Key_Return);
    };
    type("200");
    EXPECT_EQ(fixture.session->_viewTransform->scale, 1);
    EXPECT_EQ(zoom->text(), "200 %");
    type("33,3 %");
    EXPECT_NEAR(fixture.session->_viewTransform->scale, 0.1665, 1e-9);
    type("nonsense");
    EXPECT_EQ(zoom->text(), "33.3 %");
    type("9999999");
    EXPECT_EQ(zoom->text(), "12800 %");
}

TEST_F(BarsTest, whatTheTilesTakeIsToldSoonAfterAChange) {
    auto* memory = fields->findChild<QLabel*>("memory");
    EXPECT_EQ(memory->text(), "0 KB");
    const Tile tile = makeTestTile(*fixture.store, TileFormat::rgba16Float);
    fixture.session->perform(mark(1));
    EXPECT_TRUE(QTest::qWaitFor([&] { return memory->text() == "512 KB"; }, 5000));
    EXPECT_EQ(memoryText(5 << 20), "5 MB");
    EXPECT_EQ(memoryText(std::int64_t{3} << 29), "1.5 GB");
    auto* text = fields->findChild<QLabel*>("canvasText");
    EXPECT_EQ(text->text().toStdString(), "1200 × 800 px    8 bits/channel    sRGB IEC61966-2.1");
}

} // namespace ombrel
