#include "App/Shell/PlaceImage.h"

#include "App/Shell/Activities.h"
#include "App/Shell/Dialogs.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "Commands/AddLayerCommands.h"
#include "Commands/ColorModeCommands.h"
#include "Commands/MergeCommands.h"
#include "IO/DocumentReader.h"

#include <QPointer>

#include <fmt/format.h>

namespace ombrel {

namespace {

using Picture = std::expected<PlaceImageCommand, std::string>;

bool isOnePicture(const DocumentState& state) {
    if (state.root->children.size() != 1) return false;
    const PixelLayer* layer = state.root->children.front().pixelLayer();
    return layer != nullptr && layer->offset == PixelOffset{} && !layer->mask &&
           layer->properties.isVisible && layer->properties.opacity == 1;
}

/// What the document shows as one layer; the active one afterwards.
CommandResult flatten(DocumentState& state, const CommandContext& in) {
    if (isOnePicture(state)) return {};
    return StampVisibleCommand{}.apply(state, in);
}

/// On the worker.
Picture readPicture(const std::filesystem::path& path, const Canvas& canvas,
                    const CommandContext& in) {
    auto opened = readDocument(path, in.store, *in.progress);
    if (!opened) return std::unexpected(opened.error().isCancelled() ? "" : opened.error().text());
    DocumentState state = opened->state();
    auto done = flatten(state, in);
    if (done && state.canvas.profile != canvas.profile)
        done = ConvertProfileCommand{canvas.profile}.apply(state, in);
    if (!done) return std::unexpected(done.error().text());
    const LayerNode* node =
        isOnePicture(state) ? &state.root->children.front() : state.activeLayer();
    const PixelLayer* layer = node != nullptr ? node->pixelLayer() : nullptr;
    if (layer == nullptr) return std::unexpected("There is no picture in it.");
    return PlaceImageCommand{.layerID = LayerID::make(),
                             .layerName = path.stem().string(),
                             .pixels = layer->pixels,
                             .size = state.canvas.size,
                             .center = {static_cast<double>(canvas.size.width) / 2,
                                        static_cast<double>(canvas.size.height) / 2}};
}

} // namespace

void choosePlacedImage(DocumentWindow& on, ImageDocument& document,
                       DocumentController& controller) {
    controller.services().dialogs.chooseFilesToOpen(
        &on, controller.lastFolder(),
        [weak = document.weak_from_this(),
         &controller](const std::vector<std::filesystem::path>& paths) {
            const auto into = weak.lock();
            if (!into || into->window() == nullptr) return;
            for (const auto& path : paths)
                placeImage(*into, controller, path);
        });
}

void placeImage(ImageDocument& document, DocumentController& controller,
                const std::filesystem::path& path) {
    AppServices& services = controller.services();
    auto activity =
        services.activities.begin(fmt::format("Placing {}", path.filename().string()), &document);
    const auto work = [&services, path, canvas = document.session()->_state->canvas,
                       progress = activity->progress()] {
        return readPicture(path, canvas, {services.store, services.device, progress.get()});
    };
    postWithAnswer(
        services.worker, work, services.main,
        [weak = document.weak_from_this(), &services, activity, path](Picture picture) mutable {
            activity.reset();
            const auto into = weak.lock();
            if (!into || into->window() == nullptr) return;
            if (picture) return into->session()->perform(*picture);
            if (picture.error().empty()) return; // cancelled
            services.dialogs.tellFailure(
                into->window(), fmt::format("“{}” could not be placed.", path.filename().string()),
                picture.error());
        });
}

} // namespace ombrel
