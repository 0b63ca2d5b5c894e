// A clip as the window system's clipboard holds it: to our own documents the clip itself, to other
// processes of ours the layers as a native document, to other programs a 16-bit PNG. What others
// want is made when they ask for it, on a thread of its own, and kept. Main thread.
#pragma once

#include "Editor/LayerClip.h"

#include <QMimeData>

#include <map>

namespace ombrel {

class ClipMimeData final : public QMimeData {
public:
    static constexpr const char* nativeType = "application/x-ombrel";
    static constexpr const char* pictureType = "image/png";

    /// `store` and `device` outlive the clipboard's interest in this.
    ClipMimeData(LayerClip clip, TileStore& store, PixelDevice& device);

    const LayerClip& clip() const { return clip_; }

    QStringList formats() const override;
    bool hasFormat(const QString& mimeType) const override;

protected:
    QVariant retrieveData(const QString& mimeType, QMetaType type) const override;

private:
    QByteArray made(const QString& mimeType) const;

    const LayerClip clip_;
    TileStore& store_;
    PixelDevice& device_;
    mutable std::map<QString, QByteArray> made_; ///< by type; empty where it could not be made
};

} // namespace ombrel
