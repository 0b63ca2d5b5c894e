#include "App/Look/Theme.h"

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ombrel::Theme::apply(application, ombrel::ThemeKind::dark);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
