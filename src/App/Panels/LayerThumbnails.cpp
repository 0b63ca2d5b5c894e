#include "App/Panels/LayerThumbnails.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace ombrel {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds shortestPause{50};
constexpr milliseconds longestPause{2000};
constexpr int restingShare = 5; ///< times as long as the work took

} // namespace

LayerThumbnails::LayerThumbnails(Executor& main, Executor& worker)
    : main_(main), worker_(worker), self_(std::make_shared<LayerThumbnails*>(this)) {
    pause_.setSingleShot(true);
    pause_.setInterval(shortestPause);
    QObject::connect(&pause_, &QTimer::timeout, [this] { start(); });
}

LayerThumbnails::~LayerThumbnails() = default;

const LayerThumbnail& LayerThumbnails::of(const LayerNode& node, const Canvas& canvas, int side) {
    Entry& entry = entries_[node.id().rawValue];
    if (entry.side != side) {
        entry.side = side;
        ++entry.version;
    }
    if (entry.shownVersion != entry.version && entry.wantedVersion != entry.version) {
        entry.wantedVersion = entry.version;
        wishes_.push_back({node, canvas, side, entry.version});
        if (!isWorking_ && !pause_.isActive()) pause_.start();
    }
    return entry.thumbnail;
}

void LayerThumbnails::markOld(LayerID id) {
    const auto entry = entries_.find(id.rawValue);
    if (entry != entries_.end()) ++entry->second.version;
}

void LayerThumbnails::markAllOld() {
    for (auto& [id, entry] : entries_)
        ++entry.version;
}

void LayerThumbnails::forget(LayerID id) {
    entries_.erase(id.rawValue);
}

void LayerThumbnails::start() {
    isWorking_ = true;
    worker_.post([wishes = std::exchange(wishes_, {}), &main = main_,
                  weak = std::weak_ptr(self_)]() mutable {
        const auto began = std::chrono::steady_clock::now();
        for (const Wish& wish : wishes) {
            if (weak.expired()) return;
            main.post([weak, id = wish.node.id(), version = wish.version,
                       thumbnail = layerThumbnail(wish.node, wish.canvas, wish.side)]() mutable {
                if (const auto self = weak.lock()) (*self)->take(id, version, std::move(thumbnail));
            });
        }
        wishes.clear(); // what nobody else holds by now ends here
        const auto took =
            std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - began);
        main.post([weak = std::move(weak), took] {
            if (const auto self = weak.lock()) (*self)->finish(took);
        });
    });
}

void LayerThumbnails::take(LayerID id, std::uint64_t version, LayerThumbnail thumbnail) {
    const auto found = entries_.find(id.rawValue);
    if (found == entries_.end()) return;
    found->second.thumbnail = std::move(thumbnail);
    found->second.shownVersion = version;
    if (onReady) onReady(id);
}

void LayerThumbnails::finish(milliseconds took) {
    isWorking_ = false;
    pause_.setInterval(std::clamp(restingShare * took, shortestPause, longestPause));
    if (!wishes_.empty()) pause_.start();
}

} // namespace ombrel
