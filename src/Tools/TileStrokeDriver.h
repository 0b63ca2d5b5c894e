// Drives a renderer that makes new tiles of dabs, and gathers what it made: later tiles over
// earlier ones. A segment queue does the waiting, and its rules of threads and life are the same.
// Main thread.
#pragma once

#include "Core/Geometry.h"
#include "Core/TileGrid.h"
#include "Tools/SegmentQueue.h"

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace ombrel {

template <typename Dab>
class TileStrokeDriver {
public:
    using Tiles = std::map<TileCoord, TileContent>;
    using Queue = SegmentQueue<Dab, Tiles>;
    /// Gets the tiles of one batch, after they have been gathered.
    using Changed = std::move_only_function<void(const Tiles&)>;

    TileStrokeDriver(Executor& renderOn, Executor& main, typename Queue::Render render,
                     Changed changed, typename Queue::Finish finish)
        : gathered_(std::make_shared<Gathered>(std::move(changed))),
          queue_(
              renderOn, main, std::move(render),
              [gathered = gathered_](Tiles tiles) {
                  for (const auto& [coord, content] : tiles)
                      gathered->tiles.insert_or_assign(coord, content);
                  gathered->changed(tiles);
              },
              std::move(finish)) {}

    void extend(std::vector<Dab> dabs) { queue_.enqueue(std::move(dabs)); }
    void end() { queue_.end(); }
    /// All that has been made so far.
    const Tiles& tiles() const { return gathered_->tiles; }

private:
    /// Held by the queue's callbacks, too, which may destroy the driver.
    struct Gathered {
        explicit Gathered(Changed toTell) : changed(std::move(toTell)) {}

        Tiles tiles;
        Changed changed;
    };

    const std::shared_ptr<Gathered> gathered_;
    Queue queue_;
};

} // namespace ombrel
