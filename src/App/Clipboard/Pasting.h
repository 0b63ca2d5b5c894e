// What the clipboard or a drag holds, made layers of a document: reading and converting on the
// worker, with progress, then one edit for all of it. Main thread.
#pragma once

#include "Editor/LayerClip.h"

#include <QByteArray>

#include <memory>
#include <string>
#include <variant>
#include <vector>

class QMimeData;

namespace ombrel {

struct AppServices;
class ImageDocument;

/// One thing that can be pasted.
struct PasteSource {
    struct Native {
        QByteArray bytes;
    };
    struct Picture {
        QByteArray bytes; ///< in a raster format
    };
    using File = std::filesystem::path;

    std::variant<LayerClip, Native, Picture, File> value;

    std::string name() const; ///< for messages
};

/// Whether there is something, without fetching it.
bool canPaste(const QMimeData& data);
/// The best of what is offered: layers of ours, files, then pictures. Fetches the data.
std::vector<PasteSource> pasteSources(const QMimeData& data);

/// A failure is told to the user and nothing is pasted. `target.canvas` is the document's own.
void paste(ImageDocument& document, AppServices& services, std::vector<PasteSource> sources,
           PasteTarget target);

} // namespace ombrel
