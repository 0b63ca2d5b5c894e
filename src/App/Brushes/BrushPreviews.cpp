#include "App/Brushes/BrushPreviews.h"

#include <QColor>
#include <QPainter>
#include <algorithm>

namespace ombrel {

namespace {

constexpr std::size_t mostPictures = 400;

} // namespace

BrushPreviews::BrushPreviews(Services services, Keep keep)
    : services_(services), keep_(keep), self_(std::make_shared<BrushPreviews*>(this)) {}

BrushPreviews::~BrushPreviews() = default;

QImage BrushPreviews::of(const BrushPreviewWish& wish) {
    std::string key = wish.key();
    if (const auto found = pictures_.find(key); found != pictures_.end()) return found->second;
    if (key == working_ || std::ranges::find(wishes_, key, &Named::key) != wishes_.end()) return {};
    if (keep_ == Keep::newest) wishes_.clear();
    wishes_.push_back({std::move(key), wish});
    if (working_.empty()) start();
    return {};
}

void BrushPreviews::start() {
    Named next = std::move(wishes_.front());
    wishes_.pop_front();
    working_ = next.key;
    services_.worker.post([next = std::move(next), &main = services_.main,
                           &device = services_.device, &store = services_.store,
                           weak = std::weak_ptr(self_)]() mutable {
        QImage picture;
        if (!weak.expired()) picture = brushStrokePreview(next.wish, device, store);
        main.post([weak = std::move(weak), key = std::move(next.key),
                   picture = std::move(picture)]() mutable {
            if (const auto self = weak.lock()) (*self)->take(key, std::move(picture));
        });
    });
}

void BrushPreviews::take(const std::string& key, QImage picture) {
    if (keep_ == Keep::newest || pictures_.size() >= mostPictures) pictures_.clear();
    pictures_[key] = std::move(picture);
    working_.clear();
    if (!wishes_.empty()) start();
    if (onReady) onReady();
}

QImage tinted(const QImage& coverage, const QColor& color, double scale) {
    if (coverage.isNull()) return {};
    QImage picture(coverage.size(), QImage::Format_ARGB32_Premultiplied);
    picture.fill(color);
    QPainter painter(&picture);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationIn);
    painter.drawImage(0, 0, coverage);
    painter.end();
    picture.setDevicePixelRatio(scale);
    return picture;
}

} // namespace ombrel
