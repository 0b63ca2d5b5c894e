// A whole document small, for a glance at it: sampled where it is large, averaged from what was
// sampled. It follows a document by what changed, in slices of time, so that it can be made beside
// other work. One caller at a time, on any thread.
#pragma once

#include "Engine/FlatImage.h"
#include "Engine/PreviewCache.h"

#include <expected>
#include <optional>

namespace ombrel {

class SmallPicture {
public:
    using Clock = PreviewCache::Clock;

    SmallPicture(PixelDevice& device, TileStore& store) : cache_(device, store, nullptr) {}

    /// From now on of this state. The longer side of the picture is from `side` up to twice that,
    /// or the canvas's own where that is less.
    void follow(const DocumentState& state, int side);
    /// Works for about so long; true when the picture is complete.
    std::expected<bool, EngineError> advance(Clock::duration time);
    /// As far as it goes; what is missing is transparent. Nothing of an empty canvas.
    std::optional<FlatImage> picture() const;

private:
    PixelSize size() const;

    PreviewCache cache_;
    int halvings_ = 0;
};

} // namespace ombrel
