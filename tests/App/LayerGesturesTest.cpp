#include "App/LayersPanelFixture.h"
#include "App/Panels/LayerActions.h"
#include "App/Screenshot.h"

#include <QComboBox>
#include <QContextMenuEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSpinBox>
#include <QTimer>
#include <QWindow>

namespace ombrel {

namespace {

using LayerGestures = LayersPanelTest;
using Names = std::vector<std::string>;

constexpr auto alt = Qt::AltModifier;
constexpr auto shift = Qt::ShiftModifier;

/// From the top: Top, a clip run of Shade and Light on Base, a group of Inner.
DocumentState clips() {
    return TestDocument()
        .group("Group")
        .layer("Inner")
        .end()
        .layer("Base")
        .layer("Light")
        .clipped()
        .layer("Shade")
        .clipped()
        .layer("Top")
        .active()
        .state();
}

/// The names of what is visible, sorted.
Names visible(const DocumentState& state) {
    Names names;
    for (const LayerNode& node : state.allNodes())
        if (node.properties().isVisible) names.push_back(node.properties().name);
    std::ranges::sort(names);
    return names;
}

} // namespace

TEST_F(LayerGestures, anEyeWithAltShowsALayerAloneAndAgainWhatWasShownBefore) {
    make(letters());
    QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, eye("B"));
    const Names before = visible(fixture.state());
    clickAt(eye("C"), alt);
    EXPECT_EQ(visible(fixture.state()), (Names{"C", "G"})) << "with the group around it";
    EXPECT_EQ(entries(), 3u);
    clickAt(eye("C"), alt);
    EXPECT_EQ(visible(fixture.state()), before) << "B stays hidden";
    clickAt(eye("C"), alt);
    clickAt(eye("A"), alt);
    EXPECT_EQ(visible(fixture.state()), (Names{"A", "C"})) << "C within the hidden group";
    clickAt(eye("A"), alt);
    EXPECT_EQ(visible(fixture.state()), before) << "also over a layer between";

    clickAt(eye("E"), alt);
    clickAt(eye("B")); // something else was shown meanwhile
    clickAt(eye("E"), alt);
    EXPECT_EQ(visible(fixture.state()), (Names{"C", "D", "E"}));
}

TEST_F(LayerGestures, aClippedLayerAloneKeepsWhatItClipsTo) {
    make(clips());
    clickAt(eye("Shade"), alt);
    EXPECT_EQ(visible(fixture.state()), (Names{"Base", "Inner", "Shade"}));
}

TEST_F(LayerGestures, aBorderWithAltClipsAndReleases) {
    make(clips());
    const auto border = [&](std::string_view upper) {
        return row(upper).bottomLeft() + QPoint(60, 0);
    };
    dragTo(view->viewport(), border("Top")); // nothing is held: a move without Alt says nothing
    EXPECT_EQ(view->viewport()->cursor().shape(), Qt::ArrowCursor);
    dragTo(view->viewport(), border("Top"), alt);
    EXPECT_EQ(view->viewport()->cursor().shape(), Qt::BitmapCursor) << "the pointer tells";
    clickAt(border("Top"), alt);
    EXPECT_TRUE(properties("Top").clipsToBelow);
    EXPECT_EQ(lastEntry(), "Create Clipping Mask");
    clickAt(border("Light"), alt);
    for (const char* name : {"Light", "Shade", "Top"})
        EXPECT_FALSE(properties(name).clipsToBelow) << name << ", also above the one released";
    EXPECT_EQ(lastEntry(), "Release Clipping Mask");
    clickAt(border("Base") + QPoint(0, 1), alt); // just below it, above the group
    EXPECT_TRUE(properties("Base").clipsToBelow) << "to the group";
    EXPECT_EQ(active(), "Top") << "borders choose nothing";
    const std::size_t done = entries();
    clickAt(border("Group"), alt); // above its own child
    EXPECT_EQ(entries(), done);
}

TEST_F(LayerGestures, droppedIntoAClipRunALayerJoinsItAndOutOfItIsReleased) {
    make(clips());
    click("Top");
    drop(row("Light").topLeft() + QPoint(60, 2));
    EXPECT_EQ(order(), "ShadeTopLightBaseGroup(Inner)");
    EXPECT_TRUE(properties("Top").clipsToBelow);
    drop(row("Shade").topLeft() + QPoint(60, 2)); // on top of its own run
    EXPECT_EQ(order(), "TopShadeLightBaseGroup(Inner)");
    EXPECT_TRUE(properties("Top").clipsToBelow);
    drop(place("Group"));
    EXPECT_EQ(order(), "ShadeLightBaseGroup(TopInner)");
    EXPECT_FALSE(properties("Top").clipsToBelow);
    click("Base");
    click("Shade", shift);
    drop({60, view->viewport()->height() - 5});
    EXPECT_EQ(order(), "Group(TopInner)ShadeLightBase");
    EXPECT_TRUE(properties("Light").clipsToBelow) << "base and run went together";
}

TEST_F(LayerGestures, aBaseTakesAlongWhatClipsToItAndGroupsGoAboveRuns) {
    make(clips());
    click("Base");
    drop(row("Top").topLeft() + QPoint(60, 2));
    EXPECT_EQ(order(), "ShadeLightBaseTopGroup(Inner)");
    EXPECT_TRUE(properties("Light").clipsToBelow);
    drop(row("Shade").bottomLeft() + QPoint(60, -2));
    EXPECT_EQ(entries(), 2u) << "into its own run: it stays";
    click("Group");
    drop(row("Shade").bottomLeft() + QPoint(60, -2));
    EXPECT_EQ(order(), "Group(Inner)ShadeLightBaseTop") << "a group clips to nothing";
    click("Top");
    drop(row("Light").topLeft() + QPoint(60, 2), alt);
    EXPECT_EQ(order(), "Group(Inner)TopShadeLightBaseTop") << "nor does a copy of a plain layer";
    fixture.session->undo();
    click("Light");
    drop(row("Shade").topLeft() + QPoint(60, 2), alt);
    EXPECT_EQ(order(), "Group(Inner)LightShadeLightBaseTop");
    fixture.session->jump(0);
    EXPECT_EQ(order(), "TopShadeLightBaseGroup(Inner)");
}

TEST_F(LayerGestures, newLayersComeBetweenNoLayerAndItsBase) {
    make(clips());
    click("Base");
    press("newLayer");
    EXPECT_EQ(order(), "TopLayer 1ShadeLightBaseGroup(Inner)");
    EXPECT_FALSE(properties("Layer 1").clipsToBelow);
    click("Light");
    press("newLayer");
    EXPECT_EQ(order(), "TopLayer 1ShadeLayer 2LightBaseGroup(Inner)");
    EXPECT_TRUE(properties("Layer 2").clipsToBelow) << "among clipped layers it is one of them";
    press("newGroup");
    EXPECT_EQ(order(), "TopLayer 1Group 1()ShadeLayer 2LightBaseGroup(Inner)");
    click("Shade");
    press("newLayer");
    EXPECT_EQ(order(), "TopLayer 1Group 1()Layer 3ShadeLayer 2LightBaseGroup(Inner)");
    EXPECT_FALSE(properties("Layer 3").clipsToBelow) << "on top of the run it is free";
    EXPECT_EQ(lastEntry(), "New Layer");
    fixture.session->jump(0);
    EXPECT_EQ(order(), "TopShadeLightBaseGroup(Inner)");
}

TEST_F(LayerGestures, whatSetsWhatIsSetMakesNoEntry) {
    make(clips());
    DocumentSession& session = *fixture.session;
    const auto set = [&](float opacity) {
        LayerActions::changeProperties(session, "Layer Opacity",
                                       [=](LayerProperties& each) { each.opacity = opacity; });
    };
    set(1);
    EXPECT_EQ(entries(), 1u);
    session._selectedLayerIDs = {id("Top"), id("Base")};
    set(0.5f);
    set(0.5f);
    EXPECT_EQ(entries(), 2u);
    session._selectedLayerIDs = {id("Top"), id("Light")};
    set(0.5f);
    EXPECT_EQ(entries(), 3u) << "one of two changes";
    EXPECT_EQ(properties("Light").opacity, 0.5f);
    session._selectedLayerIDs = {id("Light")};
    for (const auto far : {ArrangeLayersCommand::Arrangement::sendToBack,
                           ArrangeLayersCommand::Arrangement::sendBackward})
        LayerActions::arrange(session, far);
    EXPECT_EQ(entries(), 3u) << "it is the lowest of its run";
}

TEST_F(LayerGestures, theLowestLayerHasNothingToClipTo) {
    make(clips());
    auto* clip = panel->findChild<QToolButton*>("clip");
    click("Inner");
    EXPECT_FALSE(clip->isEnabled());
    LayerActions::toggleClipping(*fixture.session);
    EXPECT_EQ(entries(), 1u);
    click("Top", Qt::ControlModifier);
    EXPECT_TRUE(clip->isEnabled());
    EXPECT_FALSE(clip->isChecked());
    press("clip");
    EXPECT_TRUE(properties("Top").clipsToBelow);
    EXPECT_FALSE(properties("Inner").clipsToBelow);
    EXPECT_TRUE(clip->isChecked());
    press("clip");
    EXPECT_FALSE(properties("Top").clipsToBelow);
}

TEST_F(LayerGestures, droppedWhereItIsALayerStaysWithoutAnEntry) {
    make(letters());
    click("B");
    drop(row("B").topLeft() + QPoint(60, 2));
    drop(row("B").bottomLeft() + QPoint(60, -2));
    EXPECT_EQ(entries(), 1u);
    drop(row("E").topLeft() + QPoint(60, 2), alt);
    EXPECT_EQ(order(), "BEG(DC)BA") << "Alt copies";
    EXPECT_EQ(lastEntry(), "Duplicate Layers");
}

TEST_F(LayerGestures, belowAGroupsLastLayerThePointerSaysHowDeep) {
    make(letters());
    click("E");
    drop(row("C").bottomLeft() + QPoint(60, -2));
    EXPECT_EQ(order(), "G(DCE)BA");
    click("D");
    drop(QPoint(LayerDelegate::eyeWidth + 4, row("E").bottom() - 2));
    EXPECT_EQ(order(), "G(CE)DBA");
}

// The toolkit's own loop of a drag, with a pointer that moves as a person's does.
TEST_F(LayerGestures, rowsAreDraggedByThePointer) {
    make(letters());
    click("A");
    click("B", Qt::ControlModifier);
    QWidget* rows = view->viewport();
    const auto moveTo = [&](QPoint point) {
        QTest::mouseMove(panel->windowHandle(), rows->mapTo(panel.get(), point));
    };
    std::optional<QImage> underWay;
    QTimer steps;
    int step = 0;
    QObject::connect(&steps, &QTimer::timeout, [&] {
        ++step;
        const QPoint target = row("E").topLeft() + QPoint(60, 3);
        if (step < 5) return moveTo(place("B") + (target - place("B")) * step / 4);
        if (step == 6) underWay = view->grab().toImage();
        if (step == 7)
            QTest::mouseRelease(panel->windowHandle(), Qt::LeftButton, {},
                                rows->mapTo(panel.get(), target));
        if (step > 40) QTest::keyClick(panel->windowHandle(), Qt::Key_Escape);
    });
    steps.start(30);
    QTest::mousePress(rows, Qt::LeftButton, {}, place("B"));
    for (int by = 5; by <= 30 && order() == "EG(DC)BA"; by += 5)
        dragTo(rows, place("B") - QPoint(0, by)); // returns when the drag has ended
    steps.stop();
    QTest::mouseRelease(rows, Qt::LeftButton, {}, place("E")); // the drag took the real one
    fixture.settle();
    EXPECT_EQ(order(), "BAEG(DC)");
    EXPECT_EQ(chosenRows(), (Names{"A", "B"}));
    EXPECT_EQ(lastEntry(), "Move Layers");
    ASSERT_TRUE(underWay);
    const QColor line = underWay->pixelColor(
        (QPointF(120, row("B").top() + 3) * underWay->devicePixelRatio()).toPoint());
    EXPECT_GT(line.blue(), 180) << "the line that tells where they land";
}

TEST_F(LayerGestures, draggingTheWordOpacityScrubsItInOneEntry) {
    make(letters());
    auto* label = panel->findChild<QLabel*>("opacityLabel");
    EXPECT_EQ(label->cursor().shape(), Qt::SizeHorCursor);
    QTest::mousePress(label, Qt::LeftButton, {}, {5, 5});
    dragTo(label, {-25, 5});
    EXPECT_FLOAT_EQ(properties("E").opacity, 0.7f) << "at once";
    dragTo(label, {-28, 5}, shift);
    EXPECT_FLOAT_EQ(properties("E").opacity, 0.4f) << "ten times as fast";
    dragTo(label, {-900, 5});
    EXPECT_EQ(entries(), 1u);
    dragTo(label, {-880, 5});
    QTest::mouseRelease(label, Qt::LeftButton, {}, {-880, 5});
    fixture.settle();
    EXPECT_EQ(fixture.historyNames(), (Names{"Open", "Layer Opacity"}));

    QTest::mousePress(label, Qt::LeftButton, {}, {5, 5});
    dragTo(label, {500, 5});
    QTest::mousePress(label, Qt::RightButton, {}, {5, 5});
    QTest::mouseRelease(label, Qt::RightButton, {}, {5, 5});
    QTest::mouseRelease(label, Qt::LeftButton, {}, {5, 5});
    EXPECT_EQ(entries(), 2u) << "the other button takes it back";
    EXPECT_FALSE(*session()._isLiveEditing);
}

TEST_F(LayerGestures, digitsInTheListSetTheOpacity) {
    make(letters());
    click("A");
    click("B", Qt::ControlModifier);
    key(Qt::Key_3);
    EXPECT_FLOAT_EQ(properties("A").opacity, 0.3f);
    key(Qt::Key_5);
    EXPECT_FLOAT_EQ(properties("A").opacity, 0.35f) << "the second of two in quick order";
    EXPECT_FLOAT_EQ(properties("B").opacity, 0.35f);
    QTest::qWait(750);
    key(Qt::Key_0);
    EXPECT_FLOAT_EQ(properties("B").opacity, 1);
    EXPECT_EQ(panel->findChild<QSpinBox*>("opacity")->value(), 100);
}

TEST_F(LayerGestures, aFilterShowsLayersOfAKindAndANameAndTheGroupsAroundThem) {
    make(TestDocument()
             .layer("Sea")
             .mask()
             .group("Sky")
             .layer("Cloud")
             .layer("Sun")
             .hidden()
             .end()
             .layer("Seagull")
             .locked()
             .active()
             .state());
    view->collapseAll();
    auto* name = panel->findChild<QLineEdit*>("filterName");
    auto* kind = panel->findChild<QComboBox*>("filterKind");
    QTest::keyClicks(name, "SEA");
    EXPECT_EQ(shownRows(), "SeagullSea");
    QTest::keyClick(name, Qt::Key_Escape);
    EXPECT_EQ(shownRows(), rowOrder());
    kind->setCurrentIndex(kind->findText("Hidden"));
    EXPECT_EQ(shownRows(), "Sky(Sun)");
    EXPECT_TRUE(view->isExpanded(index("Sky", 0)));
    clickAt(eye("Sun"));
    EXPECT_EQ(shownRows(), "") << "it follows the document";
    fixture.session->undo();
    EXPECT_EQ(shownRows(), "Sky(Sun)");
    kind->setCurrentIndex(kind->findText("With a mask"));
    EXPECT_EQ(shownRows(), "Sea");
    kind->setCurrentIndex(kind->findText("Groups"));
    EXPECT_EQ(shownRows(), "Sky()");
    saveScreenshot(*panel, "layers-filter");
}

TEST_F(LayerGestures, tabGoesOnToTheNextName) {
    make(letters());
    click("E");
    key(Qt::Key_F2);
    auto* editor = view->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(editor, "One");
    QTest::keyClick(editor, Qt::Key_Tab);
    fixture.settle();
    editor = view->viewport()->findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->text(), "G");
    QTest::keyClicks(editor, "Two");
    QTest::keyClick(editor, Qt::Key_Return);
    fixture.settle();
    EXPECT_EQ(order(), "OneTwo(DC)BA");
}

TEST_F(LayerGestures, theMenuOfARowDoesWhatItSaysAndGreysWhatCannotBe) {
    make(letters());
    click("B");
    const auto menu = [&] {
        QContextMenuEvent event(QContextMenuEvent::Mouse, place("B"),
                                view->viewport()->mapToGlobal(place("B")));
        QCoreApplication::sendEvent(view->viewport(), &event);
        fixture.settle();
        return panel->findChild<QMenu*>();
    };
    const auto action = [&](QMenu* in, const char* words) -> QAction* {
        for (QAction* each : in->findChildren<QAction*>())
            if (each->text() == words) return each;
        ADD_FAILURE() << words;
        return nullptr;
    };
    QMenu* open = menu();
    saveScreenshot(*open, "layers-menu");
    EXPECT_FALSE(action(open, "Ungroup")->isEnabled());
    EXPECT_FALSE(action(open, "Apply")->isEnabled()) << "no mask";
    action(open, "Bring to Front")->trigger();
    open->close();
    fixture.settle();
    EXPECT_EQ(order(), "BEG(DC)A");
    open = menu();
    EXPECT_FALSE(action(open, "Bring to Front")->isEnabled());
    action(open, "Position")->trigger();
    EXPECT_EQ(properties("B").locks, LayerLocks::position);
    action(open, "Merge Visible")->trigger();
    open->close();
    fixture.settle();
    EXPECT_EQ(lastEntry(), "Merge Visible");
}

TEST_F(LayerGestures, aMaskIsAddedTargetedTurnedOffAndDeleted) {
    make(letters());
    press("mask");
    ASSERT_TRUE(node("E").mask().has_value());
    EXPECT_EQ(node("E").mask()->background, 1);
    EXPECT_EQ(session().maskTarget(), id("E")) << "the new mask receives edits";
    clickAt(part("E", Part::thumbnail));
    EXPECT_EQ(session().maskTarget(), std::nullopt);
    clickAt(part("E", Part::mask), shift);
    EXPECT_FALSE(node("E").mask()->isEnabled);
    EXPECT_EQ(lastEntry(), "Disable Layer Mask");
    clickAt(part("E", Part::link));
    EXPECT_FALSE(node("E").mask()->isLinked);
    EXPECT_EQ(session().maskTarget(), std::nullopt) << "neither chooses the mask";

    click("B");
    clickAt(part("E", Part::mask));
    EXPECT_EQ(active(), "E");
    EXPECT_EQ(session().maskTarget(), id("E"));
    saveScreenshot(*panel, "layers-mask-target");
    key(Qt::Key_Delete);
    EXPECT_FALSE(node("E").mask().has_value()) << "the mask, not the layer";
    EXPECT_EQ(lastEntry(), "Delete Layer Mask");
    press("delete");
    EXPECT_EQ(order(), "G(DC)BA") << "now the layer";
    click("G");
    press("mask");
    EXPECT_TRUE(node("G").mask().has_value()) << "groups have masks, too";
}

TEST_F(LayerGestures, aMaskWithAltIsLookedAtUntilOneWorksElsewhere) {
    make(TestDocument().layer("A").mask().layer("B").mask().active().state());
    clickAt(part("A", Part::mask), alt);
    EXPECT_EQ(*session()._maskViewID, id("A"));
    EXPECT_EQ(session().maskTarget(), id("A"));
    saveScreenshot(*panel, "layers-mask-view");
    clickAt(part("A", Part::mask), alt);
    EXPECT_EQ(*session()._maskViewID, std::nullopt);
    clickAt(part("B", Part::mask), alt);
    click("A");
    EXPECT_EQ(*session()._maskViewID, std::nullopt);
    clickAt(part("A", Part::mask), alt);
    key(Qt::Key_Delete);
    EXPECT_EQ(*session()._maskViewID, std::nullopt) << "it is gone";
    EXPECT_EQ(entries(), 2u);
}

TEST_F(LayerGestures, aMaskIsDraggedToAnotherLayerAndWithAltCopied) {
    make(TestDocument().layer("A").group("G").layer("B").end().layer("C").mask(0).active().state());
    drop(place("A"), LayerTreeModel::maskData(id("C")), alt);
    EXPECT_EQ(node("A").mask()->background, 0);
    EXPECT_TRUE(node("C").mask().has_value());
    EXPECT_EQ(lastEntry(), "Copy Layer Mask");
    drop(place("G"), LayerTreeModel::maskData(id("C")));
    EXPECT_TRUE(node("G").mask().has_value());
    EXPECT_FALSE(node("C").mask().has_value());
    EXPECT_EQ(order(), "CG(B)A") << "no layer moved";
    const std::size_t done = entries();
    drop(place("G"), LayerTreeModel::maskData(id("G")));
    EXPECT_EQ(entries(), done) << "not onto itself";
}

TEST_F(LayerGestures, keysOfThePanelComeBeforeTheWindowsShortcuts) {
    make(letters());
    const auto isTaken = [&](int key, Qt::KeyboardModifiers modifiers) {
        QKeyEvent event(QEvent::ShortcutOverride, key, modifiers);
        event.ignore();
        QCoreApplication::sendEvent(view, &event);
        return event.isAccepted();
    };
    EXPECT_TRUE(isTaken(Qt::Key_F2, {}));
    EXPECT_TRUE(isTaken(Qt::Key_Delete, {}));
    EXPECT_TRUE(isTaken(Qt::Key_4, {}));
    EXPECT_FALSE(isTaken(Qt::Key_B, {})) << "letters choose tools";
    EXPECT_FALSE(isTaken(Qt::Key_S, Qt::ControlModifier));
}

TEST_F(LayerGestures, everythingIsReachedByTabAndHasAName) {
    make(letters());
    for (const QWidget* widget : panel->findChildren<QWidget*>()) {
        if (widget->focusPolicy() == Qt::NoFocus || !widget->isVisible()) continue;
        if (qobject_cast<const QSpinBox*>(widget->parentWidget()) != nullptr) continue;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->metaObject()->className();
        EXPECT_TRUE(widget->focusPolicy() & Qt::TabFocus) << widget->objectName().toStdString();
    }
}

} // namespace ombrel
