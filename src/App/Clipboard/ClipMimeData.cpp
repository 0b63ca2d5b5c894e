#include "App/Clipboard/ClipMimeData.h"

#include "Base/Log.h"

#include <future>

namespace ombrel {

ClipMimeData::ClipMimeData(LayerClip clip, TileStore& store, PixelDevice& device)
    : clip_(std::move(clip)), store_(store), device_(device) {}

QStringList ClipMimeData::formats() const {
    QStringList formats;
    if (clip_.fitsNative()) formats << nativeType;
    if (clip_.fitsPicture()) formats << pictureType;
    return formats;
}

bool ClipMimeData::hasFormat(const QString& mimeType) const {
    return formats().contains(mimeType);
}

QVariant ClipMimeData::retrieveData(const QString& mimeType, QMetaType /*type*/) const {
    if (!hasFormat(mimeType)) return {};
    auto found = made_.find(mimeType);
    if (found == made_.end()) found = made_.emplace(mimeType, made(mimeType)).first;
    return found->second;
}

// The window system wants its answer now, so the main thread waits. Not on the pool: its threads
// may all be busy with something longer.
QByteArray ClipMimeData::made(const QString& mimeType) const {
    const auto make = [&]() -> QByteArray {
        Progress progress;
        const CommandContext in{store_, device_, &progress};
        const auto bytes = mimeType == nativeType ? clip_.native(in) : clip_.png(in);
        if (!bytes) {
            Log::warning("Couldn't copy for another program: {}", bytes.error());
            return {};
        }
        return {reinterpret_cast<const char*>(bytes->data()),
                static_cast<qsizetype>(bytes->size())};
    };
    return std::async(std::launch::async, make).get();
}

} // namespace ombrel
