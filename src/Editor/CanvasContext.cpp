// What tools ask of the canvas and the document.
#include "Commands/RasterizeLayersCommand.h"
#include "Editor/CanvasController.h"
#include "Editor/HitTest.h"
#include "Editor/PixelTarget.h"

#include <fmt/format.h>
#include <utility>

namespace ombrel {

ViewTransform CanvasController::viewTransform() const {
    return *session_->_viewTransform;
}

void CanvasController::setViewTransform(const ViewTransform& transform) {
    navigation_.set(transform);
}

void CanvasController::updateViewTransform(const std::function<void(ViewTransform&)>& change) {
    ViewTransform transform = viewTransform();
    change(transform);
    setViewTransform(transform);
}

double CanvasController::contentsScale() const {
    return *session_->_contentsScale;
}

PremultipliedColor CanvasController::foregroundColor() const {
    return session_->colors->foreground;
}

PremultipliedColor CanvasController::backgroundColor() const {
    return session_->colors->background;
}

// Layers and masks alike are told in canvas pixels.
RealRect CanvasController::targetRect(const RealRect& rect) const {
    return rect;
}

void CanvasController::setInvalidationInterceptor(Interceptor interceptor) {
    interceptor_ = std::move(interceptor);
}

void CanvasController::invalidate(CanvasPart part, const RealRect& rect) {
    if (interceptor_) return interceptor_(part, rect);
    if (host_ == nullptr) return;
    if (part == CanvasPart::picture) {
        host_->needsDisplay();
    } else {
        host_->needsOverlayDisplay();
    }
}

std::optional<HitRecord> CanvasController::hitTest(HitKind kind, RealPoint point) const {
    return hitLayer(*session_->_state, kind, point);
}

void CanvasController::perform(const Command& command) {
    session_->perform(routed(command));
}

void CanvasController::performInstantly(const Command& command) {
    session_->performInstantly(command);
}

std::set<LayerID> CanvasController::selectedLayerIDs() const {
    return *session_->_selectedLayerIDs;
}

void CanvasController::performAfterQueue(const Command& command,
                                         std::move_only_function<void()> then) {
    session_->perform(routed(command), std::move(then));
}

PixelRect CanvasController::canvasBounds() const {
    return PixelRect::ofSize(session_->_state->canvas.size);
}

bool CanvasController::confirmPerspectiveCrop() {
    if (host_ == nullptr) return false;
    return host_->ask({"Rasterize all layers?",
                       "A perspective crop straightens the pixels of every layer, so shapes and "
                       "text become pixel layers. They will no longer be editable.",
                       {"Rasterize and Crop", "Cancel"}}) == 0;
}

std::optional<LayerID> CanvasController::pixelTarget(LayerLocks locks) {
    const auto mask = session_->maskTarget();
    const Tool* tool = activeTool();
    const auto target = pixelTargetOf(
        *session_->_state, {tool != nullptr ? tool->kind() : *session_->_activeTool, locks, mask});
    if (!target) {
        refuse(target.error());
        return std::nullopt;
    }
    if (!mask && session_->_state->find(*target)->pixelLayer()->isLive()) {
        refuse(selectPixelLayer);
        return std::nullopt;
    }
    return *target;
}

bool CanvasController::preparePixelEdit(LayerLocks locks) {
    const auto mask = session_->maskTarget();
    const LayerNode* layer = session_->_state->activeLayer();
    const bool isLive =
        layer != nullptr && layer->pixelLayer() != nullptr && layer->pixelLayer()->isLive();
    if (mask || !isLive) return pixelTarget(locks).has_value();
    const Tool* tool = activeTool();
    const auto target = pixelTargetOf(
        *session_->_state, {tool != nullptr ? tool->kind() : *session_->_activeTool, locks, mask});
    if (!target) {
        refuse(target.error());
        return false;
    }
    if (!requireIdle() || !offersRasterizing(*layer)) return false;
    session_->performInstantly(RasterizeLayersCommand{{*target}});
    const LayerNode* made = session_->_state->find(*target);
    return made != nullptr && made->pixelLayer() != nullptr && !made->pixelLayer()->isLive();
}

bool CanvasController::offersRasterizing(const LayerNode& layer) {
    const PixelLayer& pixels = *layer.pixelLayer();
    if (!pixels.shape && !pixels.text) {
        refuse(selectPixelLayer);
        return false;
    }
    const bool isShape = static_cast<bool>(pixels.shape);
    if (host_ == nullptr) return false;
    return host_->ask({fmt::format("Rasterize the {} layer “{}”?", isShape ? "shape" : "type",
                                   pixels.properties.name),
                       fmt::format(
                           "This tool paints pixels, so the layer must become a pixel layer first. "
                           "Its {} will no longer be editable.",
                           isShape ? "shape" : "text"),
                       {"Rasterize", "Cancel"}}) == 0;
}

bool CanvasController::requireIdle() {
    if (!isBusy()) return true;
    refuse(waitForOperation);
    return false;
}

void CanvasController::previewState(std::optional<DocumentState> state) {
    preview_ = std::move(state);
    if (host_ != nullptr) host_->needsDisplay();
}

void CanvasController::commitEdit(std::string name, const Edit& edit) {
    editLive(edit);
    commitLive(std::move(name));
}

void CanvasController::commitLive(std::string name) {
    if (std::exchange(ownsLive_, false)) session_->commitLive(std::move(name));
}

void CanvasController::beginTransform() {
    if (requireIdle()) refuse("The free transform isn't available yet.");
}

void CanvasController::endTransform(bool /*apply*/) {}

void CanvasController::updateTransform(const TransformValues& /*values*/) {}

bool CanvasController::isBusy() const {
    return *session_->_isBusy;
}

ApplyTransformChoice CanvasController::confirmTransform() {
    if (host_ == nullptr) return ApplyTransformChoice::cancel;
    const std::size_t button =
        host_->ask({"Apply the transformation?", "", {"Apply", "Don't Apply", "Cancel"}});
    return button < 2 ? static_cast<ApplyTransformChoice>(button) : ApplyTransformChoice::cancel;
}

std::optional<LayerID> CanvasController::editTargetLayer() const {
    if (const auto mask = session_->maskTarget()) return mask;
    return session_->_state->activeLayerID;
}

void CanvasController::setNeedsOverlayDisplay() {
    if (host_ != nullptr) host_->needsOverlayDisplay();
}

void CanvasController::showStatus(const std::string& text) {
    if (host_ != nullptr) host_->showStatus(text);
}

void CanvasController::refuse(const std::string& text) {
    if (host_ == nullptr) return;
    host_->beep();
    host_->showStatus(text);
}

void CanvasController::selectTool(ToolKind kind) {
    session_->setTool(kind);
}

} // namespace ombrel
