#include "App/Shell/PlaceImage.h"

#include "App/Shell/Activities.h"
#include "App/Shell/Dialogs.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "Commands/ClipStacks.h"
#include "Editor/LayerClip.h"

#include <QPointer>

#include <fmt/format.h>

namespace ombrel {

namespace {

using Picture = std::expected<PlaceImageCommand, std::string>;

/// On the worker.
Picture readPicture(const std::filesystem::path& path, const Canvas& canvas,
                    const CommandContext& in) {
    const LayerClip::Read clip = LayerClip::ofFile(path, in.store, *in.progress);
    if (!clip) return std::unexpected(clip.error());
    auto command = clip->placing(canvas, in);
    if (command) return *std::move(command);
    const bool isCancelled = command.error().kind == CommandError::Kind::cancelled;
    return std::unexpected(isCancelled ? "" : command.error().text());
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
            if (picture) {
                picture->above = ClipStacks::placeAbove(*into->session()->_state);
                return into->session()->perform(*picture);
            }
            if (picture.error().empty()) return; // cancelled
            services.dialogs.tellFailure(
                into->window(), fmt::format("“{}” could not be placed.", path.filename().string()),
                picture.error());
        });
}

} // namespace ombrel
