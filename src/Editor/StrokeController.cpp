#include "Editor/StrokeController.h"

#include "Base/Log.h"
#include "Core/TileStore.h"
#include "Editor/DocumentSession.h"
#include "Editor/PixelTarget.h"

#include <utility>

namespace ombrel {

namespace {

PixelRect rectOf(const StrokeTiles& tiles) {
    PixelRect rect;
    for (const auto& [coord, content] : tiles)
        rect = unionOf(rect, PixelRect::ofTile(coord));
    return rect;
}

BrushDab moved(BrushDab dab, PixelOffset offset) {
    dab.x = static_cast<float>(static_cast<double>(dab.x) - static_cast<double>(offset.dx));
    dab.y = static_cast<float>(static_cast<double>(dab.y) - static_cast<double>(offset.dy));
    return dab;
}

} // namespace

std::shared_ptr<StrokeController> StrokeController::begin(DocumentSession& session, Plan plan) {
    auto stroke = std::make_shared<StrokeController>(Private{}, session, std::move(plan));
    if (!session.beginLiveInTurn([stroke] { stroke->start(); })) return nullptr;
    return stroke;
}

StrokeController::StrokeController(Private /*unused*/, DocumentSession& session, Plan plan)
    : session_(session.weak_from_this()), plan_(std::move(plan)) {}

StrokeController::~StrokeController() = default;

std::shared_ptr<StrokeHandle> StrokeController::handle() {
    return {static_cast<StrokeHandle*>(this),
            [self = shared_from_this()](StrokeHandle*) { self->cancel(); }};
}

// The session has opened the live edit.
void StrokeController::start() {
    const auto session = session_.lock();
    if (!session) return;
    const auto grid = routedGrid(*session->_state, plan_.layerID, plan_.target);
    if (isDone_ || !grid) {
        // Cancelled before its turn, or what stood before it in the queue took the layer away.
        const bool isRefused = !isDone_;
        close();
        session->cancelLive();
        if (isRefused && plan_.onFailure) plan_.onFailure(selectPixelLayer);
        return;
    }
    self_ = shared_from_this();
    // Whoever ends the live edit ends the stroke.
    liveEnds_ = session->_isLiveEditing.onChange([this](bool isLive) {
        if (!isLive) close();
    });
    startQueue(*session, *grid);
    if (!early_.empty()) extend(std::exchange(early_, {}));
    if (isEnded_) queue_->end();
}

void StrokeController::startQueue(DocumentSession& session, const RoutedGrid& grid) {
    offset_ = grid.offset;
    StrokeRenderer::Target target = targetOf(*session._state, grid);
    bounds_ = target.bounds;
    // The renderer cannot move to where make_shared would build it.
    painting_ = std::shared_ptr<Painting>( // NOLINT(modernize-make-shared)
        new Painting{session.store().shared_from_this(),
                     {session.device(), session.store(), std::move(target), styleFor(offset_)}});
    auto render = [painting = painting_, renderOn = plan_.renderOn](
                      std::span<const BrushDab> dabs) -> std::optional<StrokeTiles> {
        auto tiles = painting->renderer.render(dabs);
        if (tiles && !tiles->empty()) return *std::move(tiles);
        if (!tiles && !std::exchange(painting->hasFailed, true))
            Log::warning("A part of a stroke could not be painted: {}", tiles.error().text());
        return std::nullopt;
    };
    queue_.emplace(
        *plan_.renderOn, session.mainExecutor(), std::move(render),
        [this](const StrokeTiles& tiles) { deliver(tiles); }, [this] { finish(); });
}

StrokeRenderer::Target StrokeController::targetOf(const DocumentState& state,
                                                  const RoutedGrid& grid) const {
    const bool isMask = plan_.target == EditTarget::mask;
    return {.original = grid.tiles,
            .bounds =
                PixelRect::ofSize(state.canvas.size).offsetBy({-grid.offset.dx, -grid.offset.dy}),
            .perceptual = !isMask && !state.canvas.blendUsingGamma1,
            .absentValue = grid.background};
}

// The renderer knows the coordinates of the grid only.
StrokeStyle StrokeController::styleFor(PixelOffset offset) const {
    StrokeStyle style = plan_.style;
    if (style.clone) {
        style.clone->dx += offset.dx;
        style.clone->dy += offset.dy;
    }
    return style;
}

void StrokeController::extend(std::span<const BrushDab> dabs) {
    if (isDone_) return;
    if (!queue_) {
        early_.insert(early_.end(), dabs.begin(), dabs.end());
        return;
    }
    std::vector<BrushDab> inGrid;
    inGrid.reserve(dabs.size());
    for (const BrushDab& dab : dabs)
        inGrid.push_back(moved(dab, offset_));
    queue_->enqueue(std::move(inGrid));
}

void StrokeController::end() {
    if (!isOpen()) return;
    const auto self = shared_from_this();
    isEnded_ = true;
    if (queue_) queue_->end();
}

void StrokeController::setFinalizer(Finalizer finalizer) {
    if (!isOpen()) return;
    finalizer_ = std::move(finalizer);
    end();
}

void StrokeController::cancel() {
    if (!isOpen()) return;
    const bool hasBegun = queue_.has_value();
    const auto self = shared_from_this();
    close();
    const auto session = session_.lock();
    if (session && hasBegun) session->cancelLive();
}

void StrokeController::deliver(const StrokeTiles& tiles) {
    const auto self = shared_from_this();
    const auto session = session_.lock();
    if (!session) return close();
    renderedAnything_ = true;
    session->updateLive(
        [&](DocumentState& state) { writeTiles(state, plan_.layerID, plan_.target, tiles); });
    const PixelRect changed = intersectionOf(rectOf(tiles), bounds_).offsetBy(offset_);
    if (plan_.onSegment) plan_.onSegment(changed);
}

void StrokeController::finish() {
    const auto self = shared_from_this();
    const auto session = session_.lock();
    if (session && renderedAnything_ && finalizer_) return finishWithCoverage();
    close();
    if (!session) return;
    if (renderedAnything_)
        session->commitLive(plan_.name);
    else
        session->cancelLive();
}

void StrokeController::finishWithCoverage() {
    const auto session = session_.lock();
    postWithAnswer(
        *plan_.renderOn,
        [painting = painting_] {
            return std::make_shared<const Coverage>(painting->renderer.coverage());
        },
        session->mainExecutor(),
        [self = shared_from_this()](const std::shared_ptr<const Coverage>& coverage) {
            const auto present = self->session_.lock();
            if (self->isDone_ || !present) return self->close();
            const PixelOffset offset = self->offset_;
            Finalizer finalizer = std::move(self->finalizer_);
            self->close();
            present->commitLive(self->plan_.name, [finalizer = std::move(finalizer), coverage,
                                                   offset](DocumentState state) mutable {
                Coverage onCanvas = *coverage;
                if (onCanvas) onCanvas->rect = onCanvas->rect.offsetBy(offset);
                return finalizer(std::move(state), onCanvas ? &*onCanvas : nullptr);
            });
        });
}

void StrokeController::close() {
    if (std::exchange(isDone_, true)) return;
    const auto self = std::exchange(self_, nullptr);
    liveEnds_ = {};
    queue_.reset();
    early_.clear();
    // Masks of a large stroke take a while to free.
    if (painting_) plan_.renderOn->post([painting = std::move(painting_)] {});
}

} // namespace ombrel
