// Pictures of widgets for people to look at, in the build folder's "screenshots".
#pragma once

#include "support/TestPlaces.h"

#include <QPixmap>
#include <QWidget>
#include <filesystem>
#include <string>

namespace ombrel {

/// At the scale of the run, which the name tells: "layers@2x.png".
inline void saveScreenshot(QWidget& widget, const std::string& name) {
    const std::filesystem::path folder = TestPlaces::screenshots();
    std::filesystem::create_directories(folder);
    const std::string scale = std::to_string(static_cast<int>(widget.devicePixelRatioF()));
    const auto file = folder / (name + "@" + scale + "x.png");
    widget.grab().save(QString::fromStdString(file.string()));
}

} // namespace ombrel
