#include "App/Panels/LayerThumbnails.h"

#include <chrono>
#include <utility>

namespace ombrel {

namespace {

constexpr std::chrono::milliseconds pause{50};

} // namespace

LayerThumbnails::LayerThumbnails(Executor& main, Executor& worker)
    : main_(main), worker_(worker), self_(std::make_shared<LayerThumbnails*>(this)) {
    pause_.setSingleShot(true);
    pause_.setInterval(pause);
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
        for (const Wish& wish : wishes) {
            if (weak.expired()) return;
            main.post([weak, id = wish.node.id(), version = wish.version,
                       thumbnail = layerThumbnail(wish.node, wish.canvas, wish.side)]() mutable {
                if (const auto self = weak.lock()) (*self)->take(id, version, std::move(thumbnail));
            });
        }
        wishes.clear(); // what nobody else holds by now ends here
        main.post([weak = std::move(weak)] {
            if (const auto self = weak.lock()) (*self)->finish();
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

void LayerThumbnails::finish() {
    isWorking_ = false;
    if (!wishes_.empty()) pause_.start();
}

} // namespace ombrel
