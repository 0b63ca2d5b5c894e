// What a screen reader finds: every field and button of the window and its forms has words.
#include "App/Shell/WindowAction.h"
#include "ShellFixture.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QLabel>
#include <QLineEdit>
#include <QTabBar>

namespace ombrel {

namespace {

/// Parts of the toolkit's own controls, which name them by themselves, and plain text.
bool isPartOfAnother(const QWidget& widget) {
    const QString kind = widget.metaObject()->className();
    return kind.startsWith("QComboBox") || kind == "QLineEditIconButton" ||
           kind.contains("ScrollArea") || widget.objectName().startsWith("qt_") ||
           qobject_cast<const QLabel*>(&widget) != nullptr ||
           qobject_cast<const QTabBar*>(&widget) != nullptr ||
           qobject_cast<const QComboBox*>(widget.parentWidget()) != nullptr ||
           (widget.objectName().isEmpty() && !widget.parentWidget()->accessibleName().isEmpty());
}

bool hasWords(const QWidget& in, const QWidget& widget) {
    if (!widget.accessibleName().isEmpty()) return true;
    const auto* button = qobject_cast<const QAbstractButton*>(&widget);
    if (button != nullptr && !(button->text().isEmpty() && button->toolTip().isEmpty()))
        return true;
    return std::ranges::any_of(in.findChildren<QLabel*>(),
                               [&](const QLabel* label) { return label->buddy() == &widget; });
}

void expectWords(const QWidget& in, const char* where) {
    for (const QWidget* widget : in.findChildren<QWidget*>()) {
        const bool isReached = widget->focusPolicy() != Qt::NoFocus ||
                               qobject_cast<const QAbstractButton*>(widget) != nullptr;
        if (!isReached || qstrcmp(widget->metaObject()->className(), "QWidget") == 0) continue;
        if (qobject_cast<const QComboBox*>(widget) == nullptr && isPartOfAnother(*widget)) continue;
        EXPECT_TRUE(hasWords(in, *widget)) << where << ": " << widget->metaObject()->className()
                                           << " " << widget->objectName().toStdString();
    }
}

} // namespace

TEST_F(ShellTest, everyFieldOfTheWindowAndItsFormsSaysWhatItIs) {
    makeDocument({100, 80});
    DocumentWindow& window = *document().window();
    for (QDockWidget* dock : window.findChildren<QDockWidget*>())
        dock->raise(); // panels are made when they are seen
    QCoreApplication::processEvents();
    expectWords(window, "window");
    for (const WindowAction& entry : windowActions()) {
        if (entry.run == nullptr || !QString::fromUtf8(entry.text).endsWith("…")) continue;
        QAction* action = window.action(entry.identifier);
        QTest::qWait(1); // greying comes a little later
        if (!action->isEnabled()) continue;
        answers.opened = {std::vector<std::filesystem::path>{}};
        answers.places = {std::nullopt};
        action->trigger();
        QTest::qWait(5);
        for (QWidget* widget : QApplication::topLevelWidgets()) {
            auto* dialog = qobject_cast<QDialog*>(widget);
            if (dialog == nullptr || !dialog->isVisible()) continue;
            expectWords(*dialog, entry.identifier);
            dialog->close();
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

} // namespace ombrel
