#include "App/Canvas/GraphicsProbe.h"
#include "App/Look/Theme.h"

#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    ombrel::Theme::apply(application, ombrel::ThemeKind::dark);
    testing::InitGoogleTest(&argc, argv);
    const int status = RUN_ALL_TESTS();
    ombrel::GraphicsProbe::finish();
    return status;
}
