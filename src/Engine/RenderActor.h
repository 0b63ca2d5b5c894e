// The serial executor of everything on the screen: owns the renderer with its caches, and runs
// whatever else works on live pixels. A view asks from the main thread and gets frames there, the
// newest wish first: requests that were overtaken are never drawn. While a frame is incomplete the
// next one follows by itself, as soon as fewer than three are in flight.
#pragma once

#include "Base/Strand.h"
#include "Engine/DocumentRenderer.h"

#include <functional>
#include <memory>

namespace ombrel {

class RenderActor {
public:
    /// Gets every frame, on the executor that was given; the frame shares pixels with the caches.
    using Deliver = std::function<void(Frame frame)>;
    using Fail = std::function<void(const EngineError& error)>;

    /// Created and destroyed on `main`, which must outlive it, as must the device and the store.
    /// Neither callback is called after the destructor.
    RenderActor(PixelDevice& device, TileStore& store, DocumentRenderer::Options options,
                Executor& main, Deliver deliver, Fail fail = {});
    /// Waits for the frame in hand.
    ~RenderActor();
    RenderActor(const RenderActor&) = delete;
    RenderActor& operator=(const RenderActor&) = delete;

    /// What is to be seen from now on. Never blocks.
    void show(Viewport viewport, DocumentState state);
    /// For work that must not overlap with drawing. May be held longer than the actor.
    std::shared_ptr<Strand> strand();

private:
    struct Core;

    std::shared_ptr<Core> core_;
};

} // namespace ombrel
