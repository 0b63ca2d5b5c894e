// Between our paths and Qt's: file names are the system's bytes.
#pragma once

#include <QFile>
#include <QString>
#include <filesystem>

namespace ombrel {

inline QString qtPath(const std::filesystem::path& path) {
    return QFile::decodeName(QByteArray::fromStdString(path.native()));
}
inline std::filesystem::path plainPath(const QString& path) {
    return QFile::encodeName(path).toStdString();
}

} // namespace ombrel
