// Rows of the layers panel on their way, with the document that they are of as it stood when the
// drag began: its own panel moves them by their identifiers, another document takes copies.
// Main thread.
#pragma once

#include "Core/DocumentState.h"

#include <QMimeData>

#include <utility>
#include <vector>

namespace ombrel {

class DraggedLayers final : public QMimeData {
public:
    static constexpr const char* mimeType = "com.ombrel.layer-row"; ///< an identifier a line

    DraggedLayers(DocumentState document, std::vector<LayerID> ids)
        : document_(std::move(document)), ids_(std::move(ids)) {
        QByteArray lines;
        for (const LayerID id : ids_)
            lines += QByteArray::fromStdString(id.rawValue.text()) + '\n';
        setData(QString::fromLatin1(mimeType), lines);
    }

    const DocumentState& document() const { return document_; }
    const std::vector<LayerID>& ids() const { return ids_; }

private:
    DocumentState document_;
    std::vector<LayerID> ids_;
};

} // namespace ombrel
