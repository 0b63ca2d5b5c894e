// The thumbnails of a document's layers, made on a worker a moment after somebody looked at one
// that is missing or old, all that were looked at together. Until then the old one is shown, so
// nobody waits. While a layer keeps changing, as under a brush, they rest several times as long as
// they took. Main thread only.
#pragma once

#include "App/Panels/LayerThumbnail.h"
#include "Base/Executor.h"

#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <unordered_map>
#include <vector>

namespace ombrel {

class LayerThumbnails {
public:
    LayerThumbnails(Executor& main, Executor& worker);
    ~LayerThumbnails();

    std::function<void(LayerID)> onReady;

    /// What is there; may be old or empty, and is then made anew.
    const LayerThumbnail& of(const LayerNode& node, const Canvas& canvas, int side);
    void markOld(LayerID id);
    void markAllOld();
    void forget(LayerID id);

private:
    struct Entry {
        LayerThumbnail thumbnail;
        int side = 0;
        std::uint64_t version = 1; ///< of the content; what is shown and asked for may be older
        std::uint64_t shownVersion = 0;
        std::uint64_t wantedVersion = 0;
    };
    struct Wish {
        LayerNode node;
        Canvas canvas;
        int side;
        std::uint64_t version;
    };

    void start();
    void take(LayerID id, std::uint64_t version, LayerThumbnail thumbnail);
    void finish(std::chrono::milliseconds took);

    Executor& main_;
    Executor& worker_;
    QTimer pause_; ///< between a first wish and the work, so that wishes gather
    std::unordered_map<Uuid, Entry> entries_;
    std::vector<Wish> wishes_;
    bool isWorking_ = false;
    std::shared_ptr<LayerThumbnails*> self_; ///< answers that come too late find nobody
};

} // namespace ombrel
