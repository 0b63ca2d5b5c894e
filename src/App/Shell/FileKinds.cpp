#include "App/Shell/FileKinds.h"

#include "App/Look/QtText.h"
#include "App/Shell/QtPath.h"
#include "IO/Native/NativeFormat.h"

#include <QMimeData>
#include <QUrl>

namespace ombrel {

namespace {

QStringList patternsOf(ImageFormat format) {
    QStringList patterns;
    for (const std::string_view extension : traitsOf(format).extensions) {
        if (!extension.empty()) patterns << "*." + toQt(extension);
    }
    return patterns;
}

QStringList nativePatterns() {
    return {"*." + toQt(NativeFormat::fileExtension),
            "*." + toQt(NativeFormat::olderFileExtension)};
}

} // namespace

QString nativeFilter() {
    return "Ombrel Document (*." + toQt(NativeFormat::fileExtension) + ")";
}

QString filterOf(ImageFormat format) {
    return toQt(traitsOf(format).displayName) + " (" + patternsOf(format).join(' ') + ")";
}

QStringList openFilters() {
    QStringList all = nativePatterns();
    QStringList filters{"Ombrel Document (" + all.join(' ') + ")"};
    for (const ImageFormatTraits& traits : imageFormats) {
        all << patternsOf(traits.format);
        filters << filterOf(traits.format);
    }
    filters.prepend("All Readable Files (" + all.join(' ') + ")");
    filters << "All Files (*)";
    return filters;
}

std::vector<std::filesystem::path> filesOf(const QMimeData& data) {
    std::vector<std::filesystem::path> files;
    for (const QUrl& url : data.urls()) {
        if (url.isLocalFile()) files.push_back(plainPath(url.toLocalFile()));
    }
    return files;
}

} // namespace ombrel
