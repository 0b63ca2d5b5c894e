#include "App/Panels/HistoryPanel.h"

#include "App/PanelFixture.h"
#include "App/Screenshot.h"
#include "TestSeed.h"

#include <QAbstractItemModelTester>
#include <QListView>
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

TEST_F(HistoryPanelTest, thePanelMayGoBeforeTheSession) {
    make();
    fixture.session->perform(mark(1));
    tester.reset();
    panel.reset();
    fixture.session->perform(mark(2));
    EXPECT_EQ(fixture.markShown(), 2);
}

} // namespace ombrel
