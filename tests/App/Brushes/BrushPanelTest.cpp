#include "App/Brushes/BrushPanel.h"

#include "App/Brushes/BrushPresetGrid.h"
#include "App/Brushes/BrushPresetModel.h"
#include "App/Brushes/BrushTipDial.h"
#include "App/Look/Theme.h"
#include "App/PanelFixture.h"
#include "App/Panels/OptionsBar.h"
#include "App/Screenshot.h"
#include "Base/AtomicFile.h"
#include "Tools/BrushTool.h"
#include "Tools/BuiltInBrushes.h"
#include "Tools/ToolRegistry.h"
#include "support/FakeToolContext.h"
#include "support/TestStore.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenu>
#include <QMimeData>
#include <QSlider>
#include <QTest>
#include <QToolButton>
#include <QVBoxLayout>
#include <gtest/gtest.h>

namespace ombrel {

namespace {

using Names = std::vector<std::string>;

/// The panel and the bar beside a canvas.
struct BrushPanelTest : testing::Test {
    BrushPanelTest() {
        fixture.open(TestDocument({1200, 800}).layer("A").active().state(),
                     ToolRegistry::makeTools());
        fixture.session->setTool(ToolKind::brush);
        bar = new OptionsBar(fixture.context(), &window);
        window.addToolBar(Qt::TopToolBarArea, bar);
        panel = new BrushPanel(fixture.context(), &window);
        window.setCentralWidget(panel);
        grid = panel->findChild<BrushPresetGrid*>("brushPresets");
        window.resize(900, 720);
        panel->setMaximumWidth(270);
        window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
        QApplication::setActiveWindow(&window);
        fixture.settle();
    }
    BrushTool& tool(ToolKind kind = ToolKind::brush) {
        return dynamic_cast<BrushTool&>(*fixture.session->toolOf(kind));
    }
    BrushOptions& options() { return tool().options(); }
    template <typename Widget>
    Widget* in(QWidget* where, const std::string& name) {
        auto* found = where->findChild<Widget*>(QString::fromStdString(name));
        EXPECT_NE(found, nullptr) << name;
        return found;
    }
    void press(const char* button) {
        QTest::mouseClick(in<QToolButton>(panel, button), Qt::LeftButton);
        fixture.settle();
    }
    void click(const std::string& brush) {
        grid->scrollTo(rowOf(brush));
        fixture.settle();
        QTest::mouseClick(grid->viewport(), Qt::LeftButton, {},
                          grid->visualRect(rowOf(brush)).center());
        fixture.settle();
    }
    QModelIndex rowOf(const std::string& brush) {
        for (int row = 0; row < grid->model()->rowCount(); ++row)
            if (grid->model()->index(row, 0).data().toString().toStdString() == brush)
                return grid->model()->index(row, 0);
        ADD_FAILURE() << "no brush " << brush;
        return {};
    }
    Names ownBrushes() {
        Names names;
        for (int row = 8; row < grid->model()->rowCount(); ++row)
            names.push_back(grid->model()->index(row, 0).data().toString().toStdString());
        return names;
    }
    void typeName(const char* name) {
        auto* line = in<QLineEdit>(grid, "brushName");
        ASSERT_NE(line, nullptr);
        line->selectAll();
        QTest::keyClicks(line, name);
        QTest::keyClick(line, Qt::Key_Return);
        fixture.settle();
    }

    PanelFixture fixture;
    QMainWindow window;
    OptionsBar* bar = nullptr;
    BrushPanel* panel = nullptr;
    BrushPresetGrid* grid = nullptr;
};

int sumOf(const QImage& coverage, int fromColumn, int toColumn) {
    int sum = 0;
    for (int y = 0; y < coverage.height(); ++y)
        for (int x = fromColumn; x < toColumn; ++x)
            sum += coverage.constScanLine(y)[x];
    return sum;
}

} // namespace

TEST_F(BrushPanelTest, aBrushThatIsChosenIsPutOnAndPaintedWith) {
    fixture.session->setTool(ToolKind::eraser);
    fixture.session->setTool(ToolKind::move);
    click("Charcoal");
    EXPECT_EQ(*fixture.session->_activeTool, ToolKind::eraser) << "the last of its kind";
    EXPECT_EQ(tool(ToolKind::eraser).options()->size, 50);
    EXPECT_EQ(tool(ToolKind::eraser).options()->tipImage->id, BuiltInBrushes::tipIDs()[1]);
    EXPECT_EQ(options()->size, 30) << "each tool has its own";
    fixture.session->setTool(ToolKind::brush);
    grid->setFocus();
    grid->setCurrentIndex(rowOf("Spatter"));
    QTest::keyClick(grid, Qt::Key_Return);
    EXPECT_EQ(options()->size, 60);
    EXPECT_EQ(grid->used(), options()->presetID);
    fixture.settle();
    saveScreenshot(window, "brushes");
    Theme::apply(*qApp, ThemeKind::light);
    click("Bristle");
    saveScreenshot(window, "brushes-light");
    Theme::apply(*qApp, ThemeKind::dark);
}

TEST_F(BrushPanelTest, everyNumberIsTypedMovedAndFollowed) {
    click("Spatter"); // nothing of it is off
    options().update([](BrushSettings& settings) { settings.transfer.enabled = true; });
    std::vector<const BrushField*> fields;
    for (const BrushField& field : tipFields())
        fields.push_back(&field);
    for (const BrushSection& section : brushSections())
        for (const BrushField& field : section.fields)
            fields.push_back(&field);
    EXPECT_EQ(fields.size(), 19U);
    for (const BrushField* field : fields) {
        SCOPED_TRACE(field->name);
        auto* box = in<QDoubleSpinBox>(panel, field->name);
        auto* slider = in<QSlider>(panel, std::string(field->name) + "Slider");
        ASSERT_TRUE(box->isEnabled());
        EXPECT_FALSE(box->accessibleName().isEmpty());
        const double typed = std::round((field->minimum + field->maximum) / 4 + 3);
        box->setFocus();
        box->selectAll();
        QTest::keyClicks(box, QString::number(typed));
        QTest::keyClick(box, Qt::Key_Return);
        EXPECT_NEAR(field->shown(options().get()), typed, 1e-9);
        slider->setValue(slider->maximum());
        EXPECT_NEAR(field->shown(options().get()), field->maximum, 1e-9);
        EXPECT_EQ(box->value(), field->maximum);
        options().update([&](BrushSettings& settings) { field->setShown(settings, typed); });
        EXPECT_EQ(box->value(), typed) << "as by keys on the canvas";
    }
}

TEST_F(BrushPanelTest, partsThatAreOffCannotBeChangedAndKeepTheirPlace) {
    auto* jitter = in<QDoubleSpinBox>(panel, "sizeJitter");
    const QPoint before = jitter->mapTo(panel, QPoint());
    EXPECT_FALSE(jitter->isEnabled());
    in<QCheckBox>(panel, "shapeOn")->click();
    EXPECT_TRUE(options()->shape.enabled);
    EXPECT_TRUE(jitter->isEnabled());
    EXPECT_EQ(jitter->mapTo(panel, QPoint()), before);
    auto* control = in<QComboBox>(panel, "angleControl");
    EXPECT_EQ(control->count(), 6);
    QTest::keyClick(control, Qt::Key_End);
    EXPECT_EQ(options()->shape.angleControl, DynamicsControl::initialDirection);
    in<QCheckBox>(panel, "bothAxes")->click();
    EXPECT_FALSE(options()->scattering.bothAxes) << "scattering is off";
    fixture.session->setTool(ToolKind::pencil);
    EXPECT_FALSE(in<QDoubleSpinBox>(panel, "hardness")->isEnabled());
    EXPECT_EQ(in<QDoubleSpinBox>(panel, "size")->value(), 1);
}

TEST_F(BrushPanelTest, ownBrushesAreKeptNamedChangedMovedAndDeleted) {
    options().setSize(77);
    press("keepBrush");
    typeName("Wash");
    EXPECT_EQ(ownBrushes(), Names{"Wash"});
    EXPECT_EQ(grid->used(), options()->presetID);
    EXPECT_FALSE(in<QToolButton>(panel, "updateBrush")->isEnabled());
    options().setSize(99);
    EXPECT_TRUE(in<QToolButton>(panel, "updateBrush")->isEnabled());
    press("updateBrush");
    EXPECT_EQ(fixture.brushes._userPresets->front().size, 99);
    EXPECT_EQ(ownBrushes(), Names{"Wash"});
    press("keepBrush");
    typeName("Line");
    EXPECT_EQ(ownBrushes(), (Names{"Wash", "Line"}));
    grid->setFocus();
    QTest::keyClick(grid, Qt::Key_Up, Qt::AltModifier);
    EXPECT_EQ(ownBrushes(), (Names{"Line", "Wash"}));
    EXPECT_EQ(grid->current()->name, "Line") << "the keyboard goes along";
    QTest::keyClick(grid, Qt::Key_F2);
    typeName("Liner");
    const std::unique_ptr<QMimeData> dragged(grid->model()->mimeData({rowOf("Wash")}));
    EXPECT_FALSE(grid->model()->canDropMimeData(dragged.get(), Qt::MoveAction, 3, 0, {}))
        << "among the built-in ones";
    grid->model()->dropMimeData(dragged.get(), Qt::MoveAction, 8, 0, {});
    EXPECT_EQ(ownBrushes(), (Names{"Wash", "Liner"}));
    grid->setCurrentIndex(rowOf("Wash"));
    QTest::keyClick(grid, Qt::Key_Delete);
    EXPECT_EQ(ownBrushes(), Names{"Liner"});
    grid->setCurrentIndex(rowOf("Chalk"));
    EXPECT_FALSE(in<QToolButton>(panel, "removeBrush")->isEnabled());
    QTest::keyClick(grid, Qt::Key_Delete);
    EXPECT_EQ(grid->model()->rowCount(), 9);
}

TEST_F(BrushPanelTest, aPictureBecomesATip) {
    QImage picture(40, 20, QImage::Format_RGB32);
    picture.fill(Qt::black);
    const auto file = fixture.folder / "Thumb print.png";
    picture.save(QString::fromStdString(file.string()));
    auto* menu = in<QToolButton>(panel, "brushTip")->menu();
    const auto choose = [&](const char* words) {
        Q_EMIT menu->aboutToShow();
        for (QAction* action : menu->actions())
            if (action->text() == words) action->trigger();
        fixture.settle();
    };
    fixture.answers.opened.push_back({file});
    choose("Import Tip…");
    ASSERT_NE(options()->tipImage, nullptr);
    EXPECT_EQ(options()->tipImage->width, 40);
    EXPECT_EQ(fixture.brushes._userTips->front().name, "Thumb print");
    choose("Round");
    EXPECT_EQ(options()->tipImage, nullptr);
    choose("Thumb print");
    EXPECT_EQ(options()->tipImage->width, 40);
    choose("Spatter");
    EXPECT_EQ(options()->tipImage->id, BuiltInBrushes::tipIDs()[2]);
    ASSERT_TRUE(writeFileAtomically(file, "no picture"));
    fixture.answers.opened.push_back({file});
    choose("Import Tip…");
    EXPECT_EQ(fixture.answers.failures.size(), 1U);
    EXPECT_EQ(options()->tipImage->id, BuiltInBrushes::tipIDs()[2]);
}

TEST_F(BrushPanelTest, theDialTurnsAndFlattensTheTip) {
    auto* dial = in<BrushTipDial>(panel, "brushDial");
    const QPoint middle = dial->rect().center();
    const int reach = dial->width() / 2 - 6;
    QTest::mousePress(dial, Qt::LeftButton, {}, middle + QPoint(0, -reach + 4));
    QTest::mouseMove(dial, middle + QPoint(2, -reach / 2));
    QTest::mouseRelease(dial, Qt::LeftButton, {}, middle + QPoint(2, -reach / 2));
    EXPECT_NEAR(options()->roundness, 0.5, 0.08) << "by its handle";
    QTest::mouseClick(dial, Qt::LeftButton, {}, middle + QPoint(reach / 2, -reach / 2));
    EXPECT_NEAR(options()->angle, 45, 6) << "up is counterclockwise";
    dial->setFocus();
    const double before = options()->angle;
    QTest::keyClick(dial, Qt::Key_Left);
    EXPECT_EQ(options()->angle, before + 1);
    QTest::keyClick(dial, Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(options()->angle, before - 14);
    options().update([](BrushSettings& settings) { settings.angle = 180; });
    QTest::keyClick(dial, Qt::Key_Left);
    EXPECT_EQ(options()->angle, -179);
    for (int i = 0; i < 30; ++i)
        QTest::keyClick(dial, Qt::Key_Down);
    EXPECT_EQ(options()->roundness, 0.01);
}

TEST_F(BrushPanelTest, theBarOffersWhatTheToolHas) {
    auto* size = in<QDoubleSpinBox>(bar, "size");
    auto* blend = in<QComboBox>(bar, "paintBlend");
    EXPECT_EQ(blend->findText("Pass Through"), -1);
    blend->setFocus();
    for (const char* title : {"Behind", "Clear", "Multiply"}) {
        const int place = blend->findText(title);
        ASSERT_GE(place, 0) << title;
        blend->setCurrentIndex(place);
        Q_EMIT blend->activated(place);
        EXPECT_EQ(rawValueOf(options()->blend), blend->itemText(place).toLower().toStdString());
    }
    const auto typeInto = [](QDoubleSpinBox* box, const char* number) {
        box->selectAll();
        QTest::keyClicks(box, number);
        QTest::keyClick(box, Qt::Key_Return);
    };
    typeInto(size, "250");
    typeInto(in<QDoubleSpinBox>(bar, "opacity"), "40");
    typeInto(in<QDoubleSpinBox>(bar, "flow"), "55");
    in<QToolButton>(bar, "pressureSize")->click();
    in<QToolButton>(bar, "pressureOpacity")->click();
    EXPECT_EQ(options()->size, 250);
    EXPECT_EQ(options()->opacity, 0.4);
    EXPECT_EQ(options()->flow, 0.55);
    EXPECT_FALSE(options()->pressureControlsSize);
    EXPECT_TRUE(options()->pressureControlsOpacity);
    FakeToolContext canvas;
    tool().keyDown(ToolKey::bracketLeft(), {}, canvas);
    EXPECT_EQ(size->value(), 208);
    EXPECT_EQ(in<QDoubleSpinBox>(panel, "size")->value(), 208);
    fixture.session->setTool(ToolKind::pencil);
    fixture.settle();
    EXPECT_EQ(bar->findChild<QDoubleSpinBox*>("hardness"), nullptr);
    fixture.session->setTool(ToolKind::eraser);
    fixture.settle();
    EXPECT_EQ(bar->findChild<QComboBox*>("paintBlend"), nullptr);
    EXPECT_NE(bar->findChild<QDoubleSpinBox*>("hardness"), nullptr);
}

TEST_F(BrushPanelTest, theBarsBrushOpensAListToChooseFrom) {
    auto* picker = in<QToolButton>(bar, "brushPicker");
    EXPECT_EQ(picker->accessibleName(), "Brush: Own settings");
    QTest::mouseClick(picker, Qt::LeftButton);
    fixture.settle();
    auto* list = in<BrushPresetGrid>(picker, "brushPresets");
    ASSERT_NE(list, nullptr);
    auto* size = in<QDoubleSpinBox>(list->parentWidget(), "size");
    size->selectAll();
    QTest::keyClicks(size, "64");
    QTest::keyClick(size, Qt::Key_Return);
    EXPECT_EQ(options()->size, 64);
    saveScreenshot(*list->parentWidget(), "brush-list");
    list->setCurrentIndex(list->model()->index(2, 0));
    QTest::keyClick(list, Qt::Key_Return);
    fixture.settle();
    EXPECT_EQ(options()->tipImage->id, BuiltInBrushes::tipIDs()[0]);
    EXPECT_EQ(picker->findChild<QWidget*>("brushList"), nullptr) << "closed";
    EXPECT_EQ(picker->accessibleName(), "Brush: Chalk");
}

TEST_F(BrushPanelTest, whileASliderIsDraggedOnlyTheNewestStrokeIsDrawn) {
    fixture.settle();
    auto* preview = panel->findChild<QWidget*>("brushPreview");
    for (int size = 1; size < 40; ++size) {
        options().setSize(size);
        preview->repaint();
    }
    EXPECT_LE(fixture.executors.worker.pending(), 2U) << "one for the panel, one for the bar";
    int drawn = 0;
    while (fixture.executors.worker.pending() + fixture.executors.main.pending() > 0) {
        drawn += static_cast<int>(fixture.executors.worker.runAll());
        fixture.executors.main.runAll();
        preview->repaint();
    }
    EXPECT_LE(drawn, 6);
}

TEST(BrushStrokePreview, showsWhatTheSettingsDo) {
    const auto store = makeTestStore();
    CpuDevice device;
    const auto draw = [&](const BrushSettings& settings) {
        return brushStrokePreview({settings, false, {240, 60}, 1}, device, *store);
    };
    BrushSettings settings;
    settings.hardness = 1;
    const QImage plain = draw(settings);
    EXPECT_GT(sumOf(plain, 110, 130), 2 * sumOf(plain, 10, 30)) << "pressure rises to the middle";
    EXPECT_EQ(sumOf(plain, 0, 2), 0);
    settings.pressureControlsSize = false;
    EXPECT_GT(sumOf(draw(settings), 10, 30), 2 * sumOf(plain, 10, 30));
    settings.size = 1900;
    const QImage huge = draw(settings);
    EXPECT_EQ(*std::max_element(huge.constScanLine(0), huge.constScanLine(0) + 240), 0) << "fits";
    settings.opacity = 0.5;
    EXPECT_NEAR(sumOf(draw(settings), 0, 240), sumOf(huge, 0, 240) / 2, 9000);
    settings.hardness = 0;
    EXPECT_LT(sumOf(draw(settings), 0, 240), sumOf(huge, 0, 240) / 2 - 2000);
    for (const BrushPreset& preset : BuiltInBrushes::presets()) {
        preset.applyTo(settings, preset.tipID ? BuiltInBrushes::tip(*preset.tipID) : nullptr);
        EXPECT_GT(sumOf(draw(settings), 0, 240), 20'000) << preset.name;
    }
}

} // namespace ombrel
