// The kinds of files as file dialogs and drops know them.
#pragma once

#include "IO/ImageFormat.h"

#include <QStringList>

#include <filesystem>
#include <vector>

class QMimeData;

namespace ombrel {

/// "All Readable Files (...)", then each kind, then all files.
QStringList openFilters();
/// "Ombrel Document (*.ombrel)"
QString nativeFilter();
/// "JPEG (*.jpg *.jpeg *.jpe)"
QString filterOf(ImageFormat format);

/// Local files that are being dragged or pasted.
std::vector<std::filesystem::path> filesOf(const QMimeData& data);

} // namespace ombrel
