#include "App/Clipboard/Pasting.h"

#include "App/Clipboard/ClipMimeData.h"
#include "App/Look/QtText.h"
#include "App/Shell/Activities.h"
#include "App/Shell/Dialogs.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/FileKinds.h"
#include "App/Shell/ImageDocument.h"

#include <QBuffer>
#include <QImage>
#include <QMimeData>

#include <fmt/format.h>

#include <algorithm>

namespace ombrel {

namespace {

std::span<const std::byte> bytesOf(const QByteArray& array) {
    return std::as_bytes(std::span(array.constData(), static_cast<std::size_t>(array.size())));
}

const ImageFormatTraits* offeredFormat(const QMimeData& data) {
    const auto found = std::ranges::find_if(imageFormats, [&](const ImageFormatTraits& traits) {
        return data.hasFormat(toQt(traits.mimeType));
    });
    return found == imageFormats.end() ? nullptr : &*found;
}

/// What only the toolkit can read, as a PNG.
QByteArray pictureByToolkit(const QMimeData& data) {
    const auto image = qvariant_cast<QImage>(data.imageData());
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!image.isNull()) image.save(&buffer, "PNG", 100); // 100: hardly compressed
    return bytes;
}

LayerClip::Read read(const PasteSource& source, TileStore& store, Progress& progress) {
    if (const auto* clip = std::get_if<LayerClip>(&source.value)) return *clip;
    if (const auto* native = std::get_if<PasteSource::Native>(&source.value))
        return LayerClip::ofNative(bytesOf(native->bytes), store, progress);
    if (const auto* picture = std::get_if<PasteSource::Picture>(&source.value))
        return LayerClip::ofImage(bytesOf(picture->bytes), store, progress);
    return LayerClip::ofFile(std::get<PasteSource::File>(source.value), store, progress);
}

struct Failure {
    std::string name;
    std::string text; ///< empty where it was cancelled
};
using Pasted = std::expected<PasteLayersCommand, Failure>;

/// On the worker.
Pasted prepared(const std::vector<PasteSource>& sources, const PasteTarget& target,
                const CommandContext& in) {
    PasteLayersCommand all;
    for (const PasteSource& source : sources) {
        const auto clip = read(source, in.store, *in.progress);
        if (!clip) return std::unexpected(Failure{source.name(), clip.error()});
        auto command = clip->pasting(target, in);
        if (!command) {
            const bool isCancelled = command.error().kind == CommandError::Kind::cancelled;
            return std::unexpected(
                Failure{source.name(), isCancelled ? "" : command.error().text()});
        }
        std::ranges::move(command->layers, std::back_inserter(all.layers));
    }
    return all;
}

} // namespace

std::string PasteSource::name() const {
    const auto* file = std::get_if<File>(&value);
    return file != nullptr ? fmt::format("“{}”", file->filename().string()) : "The clipboard";
}

bool canPaste(const QMimeData& data) {
    return dynamic_cast<const ClipMimeData*>(&data) != nullptr ||
           data.hasFormat(ClipMimeData::nativeType) || !filesOf(data).empty() ||
           offeredFormat(data) != nullptr || data.hasImage();
}

std::vector<PasteSource> pasteSources(const QMimeData& data) {
    if (const auto* own = dynamic_cast<const ClipMimeData*>(&data)) return {{own->clip()}};
    if (data.hasFormat(ClipMimeData::nativeType))
        return {{PasteSource::Native{data.data(ClipMimeData::nativeType)}}};
    std::vector<PasteSource> sources;
    for (const auto& path : filesOf(data))
        sources.push_back({path});
    if (!sources.empty()) return sources;
    if (const ImageFormatTraits* format = offeredFormat(data))
        return {{PasteSource::Picture{data.data(toQt(format->mimeType))}}};
    if (QByteArray bytes = pictureByToolkit(data); !bytes.isEmpty())
        return {{PasteSource::Picture{std::move(bytes)}}};
    return {};
}

void paste(ImageDocument& document, AppServices& services, std::vector<PasteSource> sources,
           PasteTarget target) {
    target.canvas = document.session()->_state->canvas;
    auto activity = services.activities.begin("Pasting", &document);
    auto work = [&services, sources = std::move(sources), target, progress = activity->progress()] {
        return prepared(sources, target, {services.store, services.device, progress.get()});
    };
    postWithAnswer(services.worker, std::move(work), services.main,
                   [weak = document.weak_from_this(), &services, activity](Pasted pasted) mutable {
                       activity.reset();
                       const auto into = weak.lock();
                       if (!into || into->window() == nullptr) return;
                       if (pasted) return into->session()->perform(*std::move(pasted));
                       if (pasted.error().text.empty()) return;
                       services.dialogs.tellFailure(
                           into->window(),
                           fmt::format("{} could not be pasted.", pasted.error().name),
                           pasted.error().text);
                   });
}

} // namespace ombrel
