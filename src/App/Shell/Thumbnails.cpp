#include "App/Shell/Thumbnails.h"

#include "App/Canvas/RasterPresenter.h"
#include "App/Shell/QtPath.h"
#include "Base/AtomicFile.h"
#include "Base/XdgFolders.h"
#include "Engine/DocumentRenderer.h"

#include <QBuffer>
#include <QImageReader>

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <functional>

namespace ombrel {

namespace {

/// Time for the exact picture of a huge document; what is not done by then is a coarser look.
constexpr auto drawingTime = std::chrono::milliseconds(400);
constexpr std::uint32_t ground = 0x2A2A2C;

std::filesystem::path folder() {
    return XdgFolders::fromEnvironment().cache / "thumbnails";
}

/// Nothing where the file is not there.
std::optional<std::filesystem::path> pictureOf(const std::filesystem::path& file) {
    std::error_code error;
    const auto time = std::filesystem::last_write_time(file, error);
    if (error) return std::nullopt;
    const auto count = time.time_since_epoch().count();
    return folder() / fmt::format("{:016x}-{:016x}.png", std::hash<std::string>{}(file.native()),
                                  static_cast<std::uint64_t>(count));
}

void keep(const std::filesystem::path& path, const QImage& picture) {
    if (!createPrivateFolder(path.parent_path())) return;
    const std::string prefix = path.filename().string().substr(0, 17);
    std::error_code error;
    for (const auto& old : std::filesystem::directory_iterator(path.parent_path(), error)) {
        if (old.path().filename().string().starts_with(prefix))
            std::filesystem::remove(old.path(), error);
    }
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!picture.save(&buffer, "PNG")) return;
    // A cache: what cannot be written is made again another time.
    static_cast<void>(writeFileAtomically(path, bytes.toStdString()));
}

} // namespace

Thumbnails::Thumbnails(AppServices& services)
    : services_(services), strand_(std::make_shared<Strand>("Thumbnails", TaskPriority::utility)) {}

QImage Thumbnails::draw(const DocumentState& state, PixelDevice& device, TileStore& store) {
    const PixelSize size = state.canvas.size;
    if (size.isEmpty()) return {};
    const auto width = static_cast<double>(size.width);
    const auto height = static_cast<double>(size.height);
    const double scale = std::min(1.0, side / std::max(width, height));
    Viewport viewport;
    viewport.transform = {.center = {width / 2, height / 2},
                          .scale = scale,
                          .viewportSize = {std::max(1.0, std::round(width * scale)),
                                           std::max(1.0, std::round(height * scale))}};
    viewport.pasteboard = ground;
    DocumentRenderer renderer(device, store, {.frameTime = drawingTime, .makeEffects = {}});
    auto frame = renderer.draw(viewport, state);
    if (!frame || !*frame) return {};
    RasterPresenter presenter;
    presenter.present(**frame);
    return presenter.picture().copy();
}

void Thumbnails::make(const std::filesystem::path& file, const DocumentState& state) {
    strand_->post([&device = services_.device, &store = services_.store, file, state] {
        const auto path = pictureOf(file);
        if (!path || std::filesystem::exists(*path)) return;
        const QImage picture = draw(state, device, store);
        if (!picture.isNull()) keep(*path, picture);
    });
}

void Thumbnails::find(const std::filesystem::path& file,
                      std::function<void(const QImage&)> answer) {
    postWithAnswer(
        *strand_,
        [file] {
            const auto path = pictureOf(file);
            return path ? QImage(qtPath(*path), "PNG") : QImage();
        },
        services_.main,
        [alive = std::weak_ptr<int>(alive_), answer = std::move(answer)](const QImage& picture) {
            if (!alive.expired()) answer(picture);
        });
}

} // namespace ombrel
