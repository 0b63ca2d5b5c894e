// Pictures of strokes, made on a worker when somebody looks at one that is missing, one after
// another. Until it is ready nobody waits. Main thread only.
#pragma once

#include "App/Brushes/BrushStrokePreview.h"
#include "Base/Executor.h"

#include <QImage>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>

namespace ombrel {

class BrushPreviews {
public:
    /// What becomes of wishes that were not begun when another comes.
    enum class Keep { all, newest };

    struct Services {
        Executor& main;
        Executor& worker;
        PixelDevice& device;
        TileStore& store;
    };

    BrushPreviews(Services services, Keep keep);
    ~BrushPreviews();
    BrushPreviews(const BrushPreviews&) = delete;
    BrushPreviews& operator=(const BrushPreviews&) = delete;

    std::function<void()> onReady;

    /// Null while it is being made.
    QImage of(const BrushPreviewWish& wish);

private:
    struct Named {
        std::string key;
        BrushPreviewWish wish;
    };

    void start();
    void take(const std::string& key, QImage picture);

    const Services services_;
    const Keep keep_;
    std::unordered_map<std::string, QImage> pictures_;
    std::deque<Named> wishes_;
    std::string working_;                  ///< the key of the picture in hand; empty: none
    std::shared_ptr<BrushPreviews*> self_; ///< answers that come too late find nobody
};

/// The picture in a colour, for a screen of that scale.
QImage tinted(const QImage& coverage, const QColor& color, double scale);

} // namespace ombrel
