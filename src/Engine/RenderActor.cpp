#include "Engine/RenderActor.h"

#include "Base/Check.h"
#include "Base/ThreadAnnotations.h"

#include <utility>

namespace ombrel {

namespace {

struct Request {
    Viewport viewport;
    DocumentState state;
};

} // namespace

/// Kept by every task that is on its way.
struct RenderActor::Core : std::enable_shared_from_this<Core> {
    Core(PixelDevice& device, TileStore& store, DocumentRenderer::Options options, Executor& owner,
         Deliver onFrame, Fail onError)
        : main(owner), deliver(std::move(onFrame)), fail(std::move(onError)),
          renderer(std::make_unique<DocumentRenderer>(device, store, std::move(options), &strand)) {
    }

    /// Posts a drawing, unless one is on its way already.
    void wake() {
        {
            const LockGuard lock(mutex);
            if (isScheduled || isStopped || !wanted) return;
            isScheduled = true;
        }
        strand.post([self = shared_from_this()] { self->draw(); });
    }

    void draw() {
        std::shared_ptr<const Request> request;
        {
            const LockGuard lock(mutex);
            isScheduled = false;
            if (isStopped) return;
            request = wanted;
        }
        if (!request) return;
        auto frame = renderer->draw(request->viewport, request->state);
        if (frame && !*frame) return; // too many in flight: the release of one wakes us
        {
            const LockGuard lock(mutex);
            const bool isDone = !frame || (*frame)->isComplete;
            if (isDone && wanted == request) wanted = nullptr;
        }
        main.post([self = shared_from_this(), result = std::move(frame)]() mutable {
            if (!self->isAlive) return;
            if (!result) {
                if (self->fail) self->fail(result.error());
            } else {
                self->deliver(*std::move(*result));
            }
        });
        wake();
    }

    Executor& main;
    Strand strand{"Render"};
    const Deliver deliver;
    const Fail fail;
    bool isAlive = true; ///< on `main` only
    std::unique_ptr<DocumentRenderer> renderer;

    Mutex mutex;
    std::shared_ptr<const Request> wanted OMBREL_GUARDED_BY(mutex); ///< null once it is complete
    bool isScheduled OMBREL_GUARDED_BY(mutex) = false;
    bool isStopped OMBREL_GUARDED_BY(mutex) = false;
};

RenderActor::RenderActor(PixelDevice& device, TileStore& store, DocumentRenderer::Options options,
                         Executor& main, Deliver deliver, Fail fail)
    : core_(std::make_shared<Core>(device, store, std::move(options), main, std::move(deliver),
                                   std::move(fail))) {
    core_->renderer->onFrameReleased([weak = std::weak_ptr(core_)] {
        if (const auto core = weak.lock()) core->wake();
    });
}

RenderActor::~RenderActor() {
    core_->isAlive = false;
    core_->renderer->onFrameReleased({});
    {
        const LockGuard lock(core_->mutex);
        core_->isStopped = true;
        core_->wanted = nullptr;
    }
    // The caches go on their own actor.
    core_->strand.post([core = core_.get()] { core->renderer.reset(); });
    core_->strand.drain();
}

void RenderActor::show(Viewport viewport, DocumentState state) {
    std::shared_ptr<const Request> request =
        std::make_shared<const Request>(std::move(viewport), std::move(state));
    {
        const LockGuard lock(core_->mutex);
        std::swap(core_->wanted, request);
    }
    core_->wake();
    // Nobody else may hold the state before: dropping it can be slow.
    if (request) core_->strand.post([overtaken = std::move(request)] {});
}

std::shared_ptr<Strand> RenderActor::strand() {
    return {core_, &core_->strand};
}

} // namespace ombrel
