#include "App/Panels/LayersPanel.h"

#include "App/LayersPanelFixture.h"
#include "App/Panels/BlendModeBox.h"
#include "App/Panels/LayerActions.h"
#include "App/Screenshot.h"
#include "TestSeed.h"

#include <QLineEdit>
#include <QSlider>
#include <QSpinBox>
#include <QTest>
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <random>

namespace ombrel {

namespace {

DocumentState manyLayers(int count) {
    TestDocument document;
    for (int i = 0; i < count; ++i) {
        document.layer(fmt::format("L{}", i));
        document.solid({0, 0}, PremultipliedColor::white());
    }
    return document.active().state();
}

} // namespace

TEST_F(LayersPanelTest, choosingRowsAndTheSessionsSelectionAreOne) {
    make(letters());
    EXPECT_EQ(chosenRows(), Names{"E"});
    click("B");
    EXPECT_EQ(chosen(), Names{"B"});
    EXPECT_EQ(active(), "B");
    click("D", Qt::ControlModifier);
    EXPECT_EQ(chosen(), (Names{"B", "D"}));
    EXPECT_EQ(active(), "D");
    click("E", Qt::ShiftModifier);
    EXPECT_EQ(chosen(), (Names{"D", "E", "G"}));
    click("D", Qt::ControlModifier); // no longer among them, so another becomes active
    EXPECT_EQ(chosen(), (Names{"E", "G"}));
    EXPECT_NE(active(), "D");
    EXPECT_EQ(entries(), 1u) << "choosing is no edit";

    fixture.session->_selectedLayerIDs.set({id("A"), id("C")});
    fixture.session->setActiveLayer(id("C"));
    EXPECT_EQ(chosenRows(), (Names{"A", "C"}));
    EXPECT_EQ(view->currentIndex().data().toString(), "C");
    LayerActions::addLayer(*fixture.session);
    EXPECT_EQ(chosenRows(), Names{"Layer 1"});
    fixture.session->undo();
    EXPECT_EQ(chosenRows(), Names{active()});
    key(Qt::Key_Up);
    EXPECT_EQ(chosenRows(), Names{active()});
}

TEST_F(LayersPanelTest, draggingTheOpacityShowsItAtOnceAndMakesOneEntry) {
    make(letters());
    click("A");
    click("B", Qt::ControlModifier);
    auto* slider = panel->findChild<QSlider*>("opacitySlider");
    const auto at = [&](double share) {
        return QPoint(static_cast<int>(share * slider->width()), slider->height() / 2);
    };
    int shown = 0;
    fixture.session->onNeedsDisplay = [&] { ++shown; };
    QTest::mousePress(slider, Qt::LeftButton, {}, at(0.9));
    for (int step = 8; step > 3; --step) {
        QTest::mouseMove(slider, at(step / 10.0));
        QMouseEvent move(QEvent::MouseMove, at(step / 10.0), slider->mapToGlobal(at(step / 10.0)),
                         Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(slider, &move);
        EXPECT_NEAR(properties("B").opacity, step / 10.0, 0.08);
    }
    EXPECT_EQ(entries(), 1u);
    QTest::mouseRelease(slider, Qt::LeftButton, {}, at(0.4));
    fixture.settle();
    EXPECT_GE(shown, 5);
    EXPECT_EQ(entries(), 2u);
    EXPECT_EQ(lastEntry(), "Layer Opacity");
    EXPECT_EQ(properties("A").opacity, properties("B").opacity);
    EXPECT_LT(properties("A").opacity, 0.5f);
    EXPECT_EQ(properties("C").opacity, 1);
    fixture.session->undo();
    EXPECT_EQ(properties("A").opacity, 1);
    EXPECT_EQ(panel->findChild<QSpinBox*>("opacity")->value(), 100);
}

TEST_F(LayersPanelTest, whileTheSessionWorksAnOpacityIsChangedInItsTurn) {
    make(letters());
    fixture.session->perform(queuedMark(7));
    auto* slider = panel->findChild<QSlider*>("opacitySlider");
    const QPoint middle(slider->width() / 2, slider->height() / 2);
    QTest::mousePress(slider, Qt::LeftButton, {}, middle);
    QTest::mouseRelease(slider, Qt::LeftButton, {}, middle);
    EXPECT_EQ(properties("E").opacity, 1);
    fixture.settle();
    EXPECT_NEAR(properties("E").opacity, 0.5, 0.05);
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Mark 7", "Layer Opacity"}));
}

TEST_F(LayersPanelTest, movingThroughTheBlendModesShowsThemAndChoosingMakesOneEntry) {
    make(letters());
    auto* box = dynamic_cast<BlendModeBox*>(panel->findChild<QComboBox*>("blendMode"));
    EXPECT_EQ(box->count() - 6, static_cast<int>(blendModeCount)) << "with six lines between";
    const auto look = [&](int steps) {
        for (; steps > 0; --steps)
            QTest::keyClick(box->view(), Qt::Key_Down);
    };
    box->showPopup();
    look(3);
    EXPECT_EQ(properties("E").blendMode, BlendMode::multiply);
    EXPECT_EQ(entries(), 1u);
    QTest::keyClick(box->view(), Qt::Key_Escape);
    fixture.settle();
    EXPECT_EQ(properties("E").blendMode, BlendMode::normal);
    EXPECT_EQ(box->mode(), BlendMode::normal);
    EXPECT_EQ(entries(), 1u);

    box->showPopup();
    look(7);
    QTest::keyClick(box->view(), Qt::Key_Return);
    fixture.settle();
    EXPECT_EQ(properties("E").blendMode, BlendMode::screen);
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Blend Mode"}));
    EXPECT_FALSE(*fixture.session->_isLiveEditing);

    const int last = box->count() - 1;
    EXPECT_EQ(box->model()->flags(box->model()->index(last, 0)) & Qt::ItemIsEnabled, 0);
    click("G");
    EXPECT_NE(box->model()->flags(box->model()->index(last, 0)) & Qt::ItemIsEnabled, 0);
}

TEST_F(LayersPanelTest, aDragOverTheEyesSwitchesThemAllInOneEntry) {
    make(letters());
    QTest::mousePress(view->viewport(), Qt::LeftButton, {}, eye("E"));
    EXPECT_FALSE(properties("E").isVisible) << "at once";
    QMouseEvent move(QEvent::MouseMove, eye("C"), view->viewport()->mapToGlobal(eye("C")),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(view->viewport(), &move);
    QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, eye("C"));
    for (const char* name : {"E", "G", "D", "C"})
        EXPECT_FALSE(properties(name).isVisible) << name << ", also where the drag skipped it";
    EXPECT_TRUE(properties("B").isVisible);
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Layer Visibility"}));
    EXPECT_EQ(active(), "E") << "eyes choose nothing";
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, eye("G"));
    EXPECT_TRUE(properties("G").isVisible);
}

TEST_F(LayersPanelTest, aDoubleClickOrAKeyRenames) {
    make(letters());
    const QPoint name = view->visualRect(index("B")).center() + QPoint(20, 0);
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, name);
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, name);
    auto* editor = view->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->text(), "B");
    QTest::keyClicks(editor, "Sky");
    saveScreenshot(*panel, "layers-rename");
    QTest::keyClick(editor, Qt::Key_Return);
    fixture.settle();
    EXPECT_EQ(order(), "EG(DC)SkyA");
    EXPECT_EQ(lastEntry(), "Rename Layer");

    key(Qt::Key_F2);
    editor = view->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(editor, "Sea");
    QTest::keyClick(editor, Qt::Key_Escape);
    fixture.settle();
    EXPECT_EQ(order(), "EG(DC)SkyA");
}

TEST_F(LayersPanelTest, draggedRowsLandWhereTheLineIs) {
    make(letters());
    click("E");
    click("A", Qt::ControlModifier);
    drop(view->visualRect(index("D")).bottomLeft() + QPoint(40, 0));
    EXPECT_EQ(order(), "G(DEAC)B");
    EXPECT_EQ(rowOrder(), order());
    EXPECT_EQ(chosenRows(), (Names{"A", "E"})) << "what was dragged stays chosen";
    EXPECT_EQ(lastEntry(), "Move Layers");
    click("B");
    drop(place("G"));
    EXPECT_EQ(order(), "G(BDEAC)");
    click("C");
    drop(view->visualRect(index("G")).bottomLeft() + QPoint(40, 0)); // the line is inside
    EXPECT_EQ(order(), "G(CBDEA)");
    drop({60, view->viewport()->height() - 5});
    EXPECT_EQ(order(), "G(BDEA)C");
    click("G");
    drop(place("B"));
    EXPECT_EQ(order(), "G(BDEA)C") << "not into itself";
    EXPECT_EQ(entries(), 5u);
}

TEST_F(LayersPanelTest, keysAndButtonsAct) {
    make(letters());
    click("A");
    click("B", Qt::ControlModifier);
    key(Qt::Key_G, Qt::ControlModifier);
    EXPECT_EQ(order(), "EG(DC)Group 1(BA)");
    EXPECT_TRUE(view->isExpanded(index("Group 1", 0)));
    key(Qt::Key_G, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(order(), "EG(DC)BA");
    click("D");
    key(Qt::Key_Delete);
    EXPECT_EQ(order(), "EG(C)BA");
    click("E");
    press("clip");
    EXPECT_TRUE(properties("E").clipsToBelow);
    press("lockPixels");
    EXPECT_EQ(properties("E").locks, LayerLocks::pixels);
    press("lockAll");
    EXPECT_EQ(properties("E").locks, LayerLocks::all);
    press("lockAll");
    EXPECT_EQ(properties("E").locks, LayerLocks{});
    press("newLayer");
    press("newGroup");
    EXPECT_EQ(order(), "Group 1()Layer 1EG(C)BA");
    click("A");
    click("Group 1", Qt::ShiftModifier);
    EXPECT_FALSE(panel->findChild<QToolButton*>("delete")->isEnabled()) << "something must stay";
    // A letter is for the window: it chooses a tool.
    QKeyEvent letter(QEvent::KeyPress, Qt::Key_B, {}, "b");
    letter.accept();
    QCoreApplication::sendEvent(view, &letter);
    EXPECT_FALSE(letter.isAccepted());
}

TEST_F(LayersPanelTest, followsTheDocumentWhateverHappensToIt) {
    make(letters());
    std::mt19937_64 random(testSeed());
    constexpr std::array actions{LayerActions::addLayer,       LayerActions::addGroup,
                                 LayerActions::duplicate,      LayerActions::remove,
                                 LayerActions::group,          LayerActions::ungroup,
                                 LayerActions::toggleClipping, LayerActions::toggleVisibility};
    for (int step = 0; step < 400; ++step) {
        const std::vector<LayerNode> nodes = fixture.state().allNodes();
        switch (random() % 6) {
        case 0:
            fixture.session->undo();
            break;
        case 1:
            fixture.session->jump(static_cast<std::int64_t>(random() % 20));
            break;
        case 2: {
            std::set<LayerID> ids;
            for (std::size_t count = random() % 4; count > 0; --count)
                ids.insert(nodes[random() % nodes.size()].id());
            fixture.session->_selectedLayerIDs.set(ids);
            break;
        }
        case 3:
            fixture.session->setActiveLayer(nodes[random() % nodes.size()].id());
            break;
        default:
            actions[random() % actions.size()](*fixture.session);
        }
        if (random() % 4 == 0) fixture.settle();
        ASSERT_EQ(rowOrder(), order()) << "step " << step;
        ASSERT_EQ(chosenRows(), chosen()) << "step " << step;
        const QModelIndex current = view->currentIndex().siblingAtColumn(1);
        ASSERT_EQ(current, model().indexOf(*fixture.state().activeLayerID)) << "step " << step;
    }
}

TEST_F(LayersPanelTest, ofManyLayersOnlyThoseInViewGetPictures) {
    make(manyLayers(500));
    EXPECT_EQ(rowOrder(), order());
    QTest::qWait(120); // wishes gather
    std::size_t answers = 0;
    while (fixture.executors.worker.pending() > 0)
        fixture.executors.worker.run();
    answers = fixture.executors.main.pending();
    EXPECT_GT(answers, 5u);
    EXPECT_LT(answers, 30u);
    fixture.settle();
    QTest::qWait(120);
    EXPECT_EQ(fixture.executors.worker.pending(), 0u) << "then there is nothing to do";
    // Two updates of a layer out of sight: no picture is made, nothing is drawn.
    for (const float opacity : {0.5f, 0.6f})
        fixture.session->perform(propertiesCommand(
            fixture.state(), std::array{id("L3")},
            [&](LayerProperties& changed) { changed.opacity = opacity; }, "x", false));
    QTest::qWait(120);
    EXPECT_EQ(fixture.session->_history->count(), 3);
}

TEST_F(LayersPanelTest, thePanelMayGoWhileItsPicturesAreMade) {
    make(letters());
    QTest::qWait(120);
    panel.reset();
    fixture.settle();
    LayerActions::addLayer(*fixture.session);
    EXPECT_EQ(entries(), 2u);
}

TEST_F(LayersPanelTest, showsADocumentAsWeWouldHaveIt) {
    const PremultipliedColor sky{0.1f, 0.3f, 0.8f, 1};
    make(TestDocument({1200, 800})
             .layer("Background")
             .filled({0.8f, 0.75f, 0.6f, 1})
             .locked(LayerLocks::transparency | LayerLocks::position)
             .layer("Sky")
             .filled({0, 0, 1200, 400}, sky)
             .mask(0)
             .maskFilled({0, 0, 900, 600}, 255)
             .group("Mountains")
             .layer("Ridge with a very long name that does not fit")
             .painted({200, 300, 700, 400},
                      [](int x, int y) {
                          return y - 300 > std::abs(x - 550)
                                     ? PremultipliedColor{0.1f, 0.2f, 0.1f, 1}
                                     : PremultipliedColor{};
                      })
             .layer("Snow")
             .filled({400, 300, 200, 120}, PremultipliedColor::white())
             .clipped()
             .layer("Haze")
             .filled({0, 350, 1200, 200}, {0.4f, 0.4f, 0.4f, 0.4f})
             .mask(1)
             .maskDisabled()
             .hidden()
             .end()
             .layer("Title")
             .locked()
             .filled({100, 100, 500, 300}, {0.6f, 0, 0, 1})
             .group("Hidden group")
             .hidden()
             .layer("Inside it")
             .end()
             .layer("Layer 1")
             .active()
             .state());
    click("Haze");
    click("Snow", Qt::ControlModifier);
    QTest::qWait(120);
    fixture.settle();
    const QImage picture = view->grab().toImage();
    const QRect row = view->visualRect(index("Title"));
    const qreal scale = picture.devicePixelRatio();
    const auto thumbnail = [&](double x, double y) {
        const QPointF at(row.left() + 4 + 28 * x, row.center().y() - 9.3 + 18.7 * y);
        return QColor(picture.pixel((at * scale).toPoint()));
    };
    EXPECT_NEAR(thumbnail(0.3, 0.3).red(), 203, 12); // 0.6 as a display shows it
    EXPECT_LT(thumbnail(0.3, 0.3).green(), 12);
    EXPECT_EQ(thumbnail(0.3, 0.8).red(), thumbnail(0.3, 0.8).green()) << "checks";
    saveScreenshot(*panel, "layers-panel");
}

} // namespace ombrel
