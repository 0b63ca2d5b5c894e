#include "App/Panels/HistoryPanel.h"

#include "App/PanelFixture.h"
#include "App/Screenshot.h"
#include "TestSeed.h"

#include <QAbstractItemModelTester>
#include <QListView>
#include <QMenu>
#include <QTest>
#include <gtest/gtest.h>
#include <random>

namespace ombrel {

namespace {

struct HistoryPanelTest : testing::Test {
    void make() {
        panel = std::make_unique<HistoryPanel>(fixture.context());
        list = panel->findChild<QListView*>("historyList");
        tester = std::make_unique<QAbstractItemModelTester>(
            list->model(), QAbstractItemModelTester::FailureReportingMode::Fatal);
        panel->resize(220, 240);
        panel->show();
        fixture.settle();
    }
    std::vector<std::string> rows() const {
        std::vector<std::string> rows;
        for (int row = 0; row < list->model()->rowCount(); ++row)
            rows.push_back(list->model()->index(row, 0).data().toString().toStdString());
        return rows;
    }
    void expectAlike() const {
        EXPECT_EQ(rows(), fixture.historyNames());
        EXPECT_EQ(list->currentIndex().row(), fixture.session->_history->currentIndex());
    }
    void click(int row) {
        const QPoint place = list->visualRect(list->model()->index(row, 0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, place);
        fixture.settle();
    }

    PanelFixture fixture;
    std::unique_ptr<HistoryPanel> panel;
    QListView* list = nullptr;
    std::unique_ptr<QAbstractItemModelTester> tester;
};

} // namespace

TEST_F(HistoryPanelTest, showsTheHistoryWhateverHappensToIt) {
    fixture.settings.setJson("historyStates", 6);
    fixture.open(fixture.state());
    make();
    std::mt19937_64 random(testSeed());
    for (int step = 0; step < 300; ++step) {
        switch (random() % 5) {
        case 0:
            fixture.session->undo();
            break;
        case 1:
            fixture.session->redo();
            break;
        case 2:
            fixture.session->jump(static_cast<std::int64_t>(random() % 8));
            break;
        default:
            fixture.session->perform(mark(step, random() % 4 == 0));
        }
        if (random() % 2 == 0) fixture.settle();
        if (!*fixture.session->_isBusy) expectAlike();
    }
    fixture.settle();
    expectAlike();
}

TEST_F(HistoryPanelTest, aClickAndTheArrowKeysGoThere) {
    for (int i = 1; i <= 5; ++i)
        fixture.session->perform(mark(i));
    make();
    click(2);
    EXPECT_EQ(fixture.markShown(), 2);
    expectAlike();
    saveScreenshot(*panel, "history-panel");
    QTest::keyClick(list, Qt::Key_Down);
    fixture.settle();
    EXPECT_EQ(fixture.markShown(), 3);
    QTest::keyClick(list, Qt::Key_Home);
    fixture.settle();
    EXPECT_EQ(fixture.session->_history->currentIndex(), 0);
    EXPECT_EQ(list->model()->index(1, 0).data(Qt::AccessibleTextRole).toString().toStdString(),
              "Mark 1, undone");
}

TEST_F(HistoryPanelTest, duringALiveEditTheMarkStaysAtThePresent) {
    fixture.session->perform(mark(1));
    make();
    ASSERT_TRUE(fixture.session->beginLive());
    click(0);
    EXPECT_EQ(list->currentIndex().row(), 1);
    fixture.session->cancelLive();
    click(0);
    EXPECT_EQ(list->currentIndex().row(), 0);
}

TEST_F(HistoryPanelTest, theMenuGoesThereAndTheOtherButtonAloneDoesNot) {
    for (int i = 1; i <= 3; ++i)
        fixture.session->perform(mark(i));
    make();
    const QPoint place = list->visualRect(list->model()->index(1, 0)).center();
    QTest::mouseClick(list->viewport(), Qt::RightButton, {}, place);
    fixture.settle();
    EXPECT_EQ(fixture.markShown(), 3);
    Q_EMIT list->customContextMenuRequested(place);
    auto* menu = panel->findChild<QMenu*>("historyMenu");
    ASSERT_NE(menu, nullptr);
    const QList<QAction*> actions = menu->actions();
    EXPECT_FALSE(actions.back()->isEnabled()) << "there is nothing to redo";
    actions.front()->trigger();
    menu->close();
    fixture.settle();
    EXPECT_EQ(fixture.markShown(), 1);
    expectAlike();
}

TEST_F(HistoryPanelTest, aThousandEntriesAreFollowedByWhatChanged) {
    fixture.settings.setJson("historyStates", 1000);
    fixture.open(fixture.state());
    for (int i = 1; i <= 1100; ++i)
        fixture.session->perform(mark(i));
    make();
    int inserted = 0;
    int removed = 0;
    QObject::connect(
        list->model(), &QAbstractItemModel::rowsInserted, panel.get(),
        [&](const QModelIndex&, int first, int last) { inserted += last - first + 1; });
    QObject::connect(list->model(), &QAbstractItemModel::rowsRemoved, panel.get(),
                     [&](const QModelIndex&, int first, int last) { removed += last - first + 1; });
    for (int i = 0; i < 20; ++i)
        fixture.session->perform(mark(i));
    EXPECT_EQ(inserted, 20);
    EXPECT_EQ(removed, 20);
    fixture.session->jump(3);
    EXPECT_EQ(inserted + removed, 40) << "a jump moves the mark alone";
    expectAlike();
}

TEST_F(HistoryPanelTest, thePanelMayGoBeforeTheSession) {
    make();
    fixture.session->perform(mark(1));
    tester.reset();
    panel.reset();
    fixture.session->perform(mark(2));
    EXPECT_EQ(fixture.markShown(), 2);
}

} // namespace ombrel
