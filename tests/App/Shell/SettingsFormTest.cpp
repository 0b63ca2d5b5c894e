// The form of settings: what people choose there and what windows then do.
#include "App/Shell/SettingsForm.h"
#include "App/Canvas/CanvasView.h"
#include "App/Screenshot.h"
#include "ShellFixture.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointingDevice>
#include <QSlider>
#include <QSpinBox>
#include <QWheelEvent>

namespace ombrel {

namespace {

void choose(QWidget& form, const char* name, const char* value) {
    auto* box = child<QComboBox>(form, name);
    box->setCurrentIndex(box->findData(QString(value)));
    Q_EMIT box->activated(box->currentIndex());
}

class SettingsFormTest : public ShellTest {
protected:
    SettingsFormTest() : form(*settings, *store, nullptr) { form.QDialog::show(); }
    SettingsForm form;
};

} // namespace

TEST_F(SettingsFormTest, whatIsChosenIsStoredWithinItsRange) {
    child<QSpinBox>(form, "memoryFraction")->setValue(95);
    EXPECT_DOUBLE_EQ(settings->get(SettingKeys::memoryFraction), 0.8);
    child<QSlider>(form, "memoryFractionSlider")->setValue(30);
    EXPECT_DOUBLE_EQ(settings->get(SettingKeys::memoryFraction), 0.3);
    EXPECT_EQ(child<QSpinBox>(form, "memoryFraction")->value(), 30) << "both show the same";
    child<QSpinBox>(form, "historyStates")->setValue(7);
    EXPECT_EQ(settings->get(SettingKeys::historyStates), 7);
    child<QSpinBox>(form, "jpegQuality")->setValue(75);
    EXPECT_DOUBLE_EQ(settings->get(SettingKeys::jpegQuality), 0.75);
    choose(form, "colorScheme", "light");
    EXPECT_EQ(settings->get(SettingKeys::colorScheme), "light");
    settings->set(SettingKeys::colorScheme, "dark");
    EXPECT_EQ(child<QComboBox>(form, "colorScheme")->currentText(), "Dark") << "follows";
    ASSERT_TRUE(settings->save().has_value());
    const Settings again(folder / "settings.json");
    EXPECT_EQ(again.get(SettingKeys::historyStates), 7);
}

TEST_F(SettingsFormTest, openDocumentsFollowAtOnce) {
    makeDocument({720, 360});
    DocumentSession& session = *document().session();
    for (int i = 0; i < 6; ++i)
        addLayer(document());
    ASSERT_EQ(session._history->count(), 7);
    child<QSpinBox>(form, "historyStates")->setValue(3);
    ASSERT_TRUE(eventually([&] { return session._history->count() == 3; }));
    EXPECT_TRUE(session.canUndo());
    choose(form, "lengthUnit", "in");
    const auto* text = child<QLabel>(*document().window(), "canvasText");
    EXPECT_TRUE(text->text().startsWith("10.000 × 5.000 in")) << text->text().toStdString();
}

TEST_F(SettingsFormTest, aLockedZoomIsLeftByTheWheel) {
    makeDocument();
    CanvasView& canvas = document().window()->canvas();
    const auto wheel = [&] {
        const QPointF middle = canvas.rect().center();
        QWheelEvent event(middle, canvas.mapToGlobal(middle), {}, {0, 120}, Qt::NoButton,
                          Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&canvas, &event);
    };
    const double before = canvas.navigation().magnification();
    wheel();
    const double zoomed = canvas.navigation().magnification();
    EXPECT_GT(zoomed, before);
    child<QCheckBox>(form, "zoomLocked")->click();
    EXPECT_TRUE(settings->get(SettingKeys::zoomLocked));
    wheel();
    EXPECT_EQ(canvas.navigation().magnification(), zoomed);
}

TEST_F(SettingsFormTest, aScratchFolderThatWillNotDoIsToldAndNotStored) {
    auto* field = child<QLineEdit>(form, "scratchFolder");
    auto* words = child<QLabel>(form, "scratchWords");
    const auto enter = [&](const std::string& text) {
        field->setText(QString::fromStdString(text));
        Q_EMIT field->editingFinished();
    };
    enter((folder / "none").string());
    EXPECT_TRUE(words->text().contains("no such folder"));
    EXPECT_EQ(settings->get(SettingKeys::scratchFolder), "");
    enter("/proc");
    EXPECT_TRUE(words->text().contains("Nothing can be written"));
    EXPECT_EQ(settings->get(SettingKeys::scratchFolder), "");
    enter(folder.path().string());
    EXPECT_TRUE(words->text().contains("free"));
    EXPECT_TRUE(words->text().contains("started again"));
    EXPECT_EQ(settings->get(SettingKeys::scratchFolder), folder.path().string());
    enter("");
    EXPECT_TRUE(settings->json("scratchFolder").is_null());
}

TEST_F(SettingsFormTest, itsPagesAreReadable) {
    const auto* titles = child<QListWidget>(form, "settingsPages");
    for (int page = 0; page < titles->count(); ++page) {
        form.showPage(page);
        QTest::qWait(1);
        saveScreenshot(form, "settings-" + std::to_string(page));
    }
    EXPECT_EQ(titles->count(), 5);
}

} // namespace ombrel
