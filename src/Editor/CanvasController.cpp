#include "Editor/CanvasController.h"

#include "Core/ViewMapping.h"

#include <utility>

namespace ombrel {

std::shared_ptr<CanvasController> CanvasController::create(std::shared_ptr<DocumentSession> session,
                                                           CanvasHost& host, Settings& settings) {
    auto canvas =
        std::make_shared<CanvasController>(Private{}, std::move(session), host, &settings);
    canvas->connect();
    return canvas;
}

std::shared_ptr<CanvasController> CanvasController::create(std::shared_ptr<DocumentSession> session,
                                                           CanvasHost& host) {
    auto canvas = std::make_shared<CanvasController>(Private{}, std::move(session), host, nullptr);
    canvas->connect();
    return canvas;
}

CanvasController::CanvasController(Private /*unused*/, std::shared_ptr<DocumentSession> session,
                                   CanvasHost& host, Settings* settings)
    : session_(std::move(session)), host_(&host), navigation_(*session_),
      activeLayer_(session_->_state->activeLayerID) {
    if (settings != nullptr) toolSettings_.emplace(session_->tools(), *settings);
}

CanvasController::~CanvasController() {
    close();
}

void CanvasController::close() {
    if (host_ == nullptr) return;
    cancelGesture();
    cancelLive(); // a stroke that has ended goes on by itself
    connections_.clear();
    // Another canvas may have taken the session over.
    const auto present = session_->toolContext.lock();
    if (!present || present.get() == this) disconnectTools();
    host_ = nullptr;
}

void CanvasController::connect() {
    DocumentSession& session = *session_;
    session.toolContext = weak_from_this();
    connections_.push_back(session._state.onChange([this](const DocumentState& state) {
        keepSelection(state);
        if (host_ != nullptr) host_->needsDisplay();
    }));
    connections_.push_back(session._maskViewID.onChange([this](const auto&) {
        if (host_ != nullptr) host_->needsDisplay();
    }));
    connections_.push_back(session._viewTransform.onChange([this](const ViewTransform&) {
        if (host_ == nullptr) return;
        host_->viewChanged();
        host_->needsDisplay();
    }));
    connections_.push_back(session._activeTool.onChange([this](ToolKind) { followTools(); }));
    // Whoever ends a live edit, it is not ours any more.
    connections_.push_back(session._isLiveEditing.onChange([this](bool isLive) {
        if (!isLive) ownsLive_ = false;
    }));
    connectTools();
    chosenTool_ = session.tool();
    followTools();
}

void CanvasController::connectTools() {
    if (auto* eyedropper = dynamic_cast<EyedropperTool*>(session_->toolOf(ToolKind::eyedropper))) {
        eyedropper->onPick = [this](PaintSlot slot, const PremultipliedColor& color) {
            PaintColors colors = *session_->colors;
            (slot == PaintSlot::foreground ? colors.foreground : colors.background) = color;
            session_->colors = colors;
            if (host_ != nullptr) host_->colorPicked(slot, color);
        };
    }
    if (auto* move = dynamic_cast<MoveTool*>(session_->toolOf(ToolKind::move))) {
        move->onChooseLayer = [this](LayerID id, MoveTool::Choice choice) {
            chooseLayer(id, choice == MoveTool::Choice::added);
        };
    }
}

void CanvasController::disconnectTools() {
    if (auto* eyedropper = dynamic_cast<EyedropperTool*>(session_->toolOf(ToolKind::eyedropper)))
        eyedropper->onPick = nullptr;
    if (auto* move = dynamic_cast<MoveTool*>(session_->toolOf(ToolKind::move)))
        move->onChooseLayer = nullptr;
}

void CanvasController::chooseLayer(LayerID id, bool isAdded) {
    if (isAdded) {
        std::set<LayerID> selected = *session_->_selectedLayerIDs;
        selected.insert(id);
        session_->_selectedLayerIDs = std::move(selected);
    }
    session_->setActiveLayer(id);
}

// An edit may make another layer the active one; then the layers that are selected follow.
void CanvasController::keepSelection(const DocumentState& state) {
    if (state.activeLayerID == activeLayer_) return;
    activeLayer_ = state.activeLayerID;
    if (activeLayer_ && !session_->_selectedLayerIDs->contains(*activeLayer_))
        session_->_selectedLayerIDs = std::set{*activeLayer_};
}

const DocumentState& CanvasController::displayState() const {
    if (preview_) return *preview_;
    if (const auto mask = *session_->_maskViewID) {
        const auto* state = maskPicture_.stateOf(*session_->_state, *mask, session_->store());
        if (state != nullptr) return *state;
    } else {
        maskPicture_.drop();
    }
    return *session_->_state;
}

ToolCursor CanvasController::cursor() const {
    if (pan_) return ToolCursor::handClosed;
    const Tool* tool = activeTool();
    return tool != nullptr ? tool->currentCursor(seenModifiers()) : ToolCursor::arrow;
}

std::vector<OverlayShape> CanvasController::overlayShapes() const {
    const Tool* tool = activeTool();
    return tool != nullptr ? tool->overlayShapes(*this) : std::vector<OverlayShape>{};
}

std::vector<ToolMenuItem> CanvasController::contextMenu(RealPoint at) {
    Tool* tool = activeTool();
    if (tool == nullptr || isGestureActive()) return {};
    return tool->contextMenu(documentPoint(viewTransform(), at), *this);
}

Tool* CanvasController::activeTool() const {
    return press_ ? press_->tool : toolNow();
}

Tool* CanvasController::toolNow() const {
    if (const auto lent = temporary_.kind(modifiers_)) {
        if (Tool* tool = session_->toolOf(*lent)) return tool;
    }
    return session_->tool();
}

// Tells tools that they come or go. A gesture goes on with the tool that took it, so all of that
// waits for its end.
void CanvasController::followTools() {
    if (isGestureActive()) return;
    if (Tool* const chosen = session_->tool(); chosen != chosenTool_) {
        Tool* const left = std::exchange(chosenTool_, chosen);
        if (left != nullptr) left->toolDidLeave(*this);
    }
    if (Tool* const now = toolNow(); now != hoveredTool_) {
        Tool* const left = std::exchange(hoveredTool_, now);
        if (left != nullptr) left->pointerMoved(std::nullopt, *this);
        if (now != nullptr && hover_) now->pointerMoved(sampleOf(*hover_), *this);
    }
    if (host_ == nullptr) return;
    host_->cursorChanged();
    host_->needsOverlayDisplay();
}

} // namespace ombrel
