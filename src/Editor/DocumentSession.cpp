#include "Editor/DocumentSession.h"

#include "Base/Check.h"
#include "Base/Log.h"
#include "Base/Settings.h"
#include "Core/TileStore.h"

#include <cmath>
#include <utility>

namespace ombrel {

std::shared_ptr<DocumentSession> DocumentSession::create(const Services& services,
                                                         DocumentState state,
                                                         std::string historyName,
                                                         PaintColors paintColors, ToolSet toolSet) {
    return std::make_shared<DocumentSession>(Private{}, services, std::move(state),
                                             std::move(historyName), paintColors,
                                             std::move(toolSet));
}

DocumentSession::DocumentSession(Private /*unused*/, const Services& services, DocumentState state,
                                 std::string historyName, PaintColors paintColors, ToolSet toolSet)
    : _state(state),
      _history(History(std::move(state), std::move(historyName),
                       services.settings.get(SettingKeys::historyStates), services.historyBudget)),
      _recentTools(std::vector{ToolKind::brush}), _activeTool(ToolKind::brush), colors(paintColors),
      main_(services.main), worker_(services.worker), store_(services.store.shared_from_this()),
      device_(services.device), now_(services.now), tools_(std::move(toolSet)) {
    checkThread();
}

DocumentSession::~DocumentSession() {
    checkThread();
    discard(std::move(queue_));
    discard(std::move(pendingPreview_));
    discard(std::move(liveBase_));
    discard(_state.updateQuietly([](DocumentState& state) { return std::move(state); }));
    discard(_history.updateQuietly([](History& history) { return std::move(history); }));
}

void DocumentSession::checkThread() const {
    OMBREL_CHECK(main_.isCurrent(), "a document session is used on the main thread");
}

void DocumentSession::undo() {
    checkThread();
    if (queuedOperations_ < 1) return undoNow();
    enqueueStep([](DocumentSession& session) { session.undoNow(); });
}

void DocumentSession::redo() {
    checkThread();
    if (queuedOperations_ < 1) return redoNow();
    enqueueStep([](DocumentSession& session) { session.redoNow(); });
}

void DocumentSession::jump(std::int64_t index) {
    checkThread();
    if (queuedOperations_ < 1) return jumpNow(index);
    enqueueStep([index](DocumentSession& session) { session.jumpNow(index); });
}

bool DocumentSession::canUndo() const {
    checkThread();
    return _history->canUndo();
}

bool DocumentSession::canRedo() const {
    checkThread();
    return _history->canRedo();
}

std::optional<std::string> DocumentSession::undoName() const {
    checkThread();
    return _history->undoName();
}

std::optional<std::string> DocumentSession::redoName() const {
    checkThread();
    return _history->redoName();
}

Uuid DocumentSession::currentEntryID() const {
    checkThread();
    return _history->currentEntry().id;
}

void DocumentSession::commit(const DocumentState& before, DocumentState next, std::string name,
                             std::optional<std::string> coalescingKey) {
    const auto self = shared_from_this();
    {
        const TimingInterval interval("Commit");
        // Only history holds these from now on.
        TileStore::compress(before.tilesNotIn(next));
        discard(_history.updateQuietly([&](History& history) {
            return history.record(next, std::move(name), std::move(coalescingKey), now_());
        }));
        discard(_state.updateQuietly(
            [&](DocumentState& state) { return std::exchange(state, std::move(next)); }));
    }
    _state.tell();
    _history.tell();
    if (onDocumentChange) onDocumentChange(ChangeType::done);
    announceChange();
}

void DocumentSession::undoNow() {
    if (*_isLiveEditing || !_history->canUndo()) return;
    travelTo(_history.updateQuietly([](History& history) { return *history.undo(); }));
    announceMove(ChangeType::undone, 1);
}

void DocumentSession::redoNow() {
    if (*_isLiveEditing || !_history->canRedo()) return;
    travelTo(_history.updateQuietly([](History& history) { return *history.redo(); }));
    announceMove(ChangeType::redone, 1);
}

void DocumentSession::jumpNow(std::int64_t index) {
    if (*_isLiveEditing) return;
    const std::int64_t before = _history->currentIndex();
    travelTo(_history.updateQuietly([&](History& history) { return history.jump(index); }));
    const std::int64_t steps = _history->currentIndex() - before;
    announceMove(steps < 0 ? ChangeType::undone : ChangeType::redone, std::abs(steps));
}

// What only the history holds from now on can go cold at once, as after a commit.
void DocumentSession::travelTo(DocumentState next) {
    TileStore::compress(_state->tilesNotIn(next));
    show(std::move(next));
}

// Puts a state in place, unheard.
void DocumentSession::show(DocumentState next) {
    discard(_state.updateQuietly(
        [&](DocumentState& state) { return std::exchange(state, std::move(next)); }));
}

void DocumentSession::announceMove(ChangeType change, std::int64_t count) {
    const auto self = shared_from_this();
    _state.tell();
    _history.tell();
    for (; count > 0; --count) {
        if (onDocumentChange) onDocumentChange(change);
    }
    announceChange();
}

void DocumentSession::announceChange() {
    announceDisplay();
    if (onContentChange) onContentChange();
}

void DocumentSession::announceDisplay() {
    if (onNeedsDisplay) onNeedsDisplay();
}

void DocumentSession::setActiveLayer(LayerID id) {
    checkThread();
    if (*_isLiveEditing || _state->find(id) == nullptr) return;
    const auto self = shared_from_this();
    _state.updateQuietly([&](DocumentState& state) { state.activeLayerID = id; });
    if (!_selectedLayerIDs->contains(id)) _selectedLayerIDs = std::set{id};
    _state.tell();
    announceChange();
}

void DocumentSession::setHistoryStates(std::int64_t count) {
    checkThread();
    discard(
        _history.updateQuietly([&](History& history) { return history.setMaximumStates(count); }));
    _history.tell();
}

bool DocumentSession::replaceDocument(DocumentState state, std::string historyName) {
    checkThread();
    if (*_isLiveEditing || queuedOperations_ > 0) return false;
    const auto self = shared_from_this();
    discard(_history.updateQuietly([&](History& history) {
        return std::exchange(history, History(state, std::move(historyName),
                                              history.maximumStates(), history.memoryBudget()));
    }));
    show(std::move(state));
    _selectedLayerIDs.updateQuietly([](std::set<LayerID>& selected) { selected.clear(); });
    _maskTargetID.updateQuietly([](std::optional<LayerID>& target) { target.reset(); });
    _maskViewID.updateQuietly([](std::optional<LayerID>& shown) { shown.reset(); });
    _state.tell();
    _history.tell();
    _selectedLayerIDs.tell();
    _maskTargetID.tell();
    _maskViewID.tell();
    announceChange();
    return true;
}

std::optional<LayerID> DocumentSession::maskTarget() const {
    checkThread();
    if (!*_maskTargetID || *_maskTargetID != _state->activeLayerID) return std::nullopt;
    const LayerNode* layer = _state->activeLayer();
    return layer != nullptr && layer->mask() ? *_maskTargetID : std::nullopt;
}

void DocumentSession::setViewTransform(const ViewTransform& transform) {
    checkThread();
    if (transform == *_viewTransform) return;
    const auto self = shared_from_this();
    _viewTransform = transform;
    if (onViewChange) onViewChange();
}

void DocumentSession::setTool(ToolKind kind) {
    checkThread();
    const auto self = shared_from_this();
    if (isHidden(kind)) {
        _activeTool = kind;
        return;
    }
    const bool isSwitch = kind != *_activeTool;
    if (isSwitch && !leaveTool()) return;
    std::vector<ToolKind> recent = *_recentTools;
    std::erase(recent, kind);
    recent.insert(recent.begin(), kind);
    _activeTool.updateQuietly([&](ToolKind& active) { active = kind; });
    _recentTools = std::move(recent);
    if (isSwitch) _activeTool.tell();
    if (onToolChange) onToolChange();
}

// Whoever asked for another tool may show it already, so a refusal tells which one stays.
bool DocumentSession::leaveTool() {
    Tool* const leaving = tool();
    const std::shared_ptr<ToolContext> context = toolContext.lock();
    if (isRevertingTool_ || leaving == nullptr || !context || leaving->mayLeave(*context))
        return true;
    isRevertingTool_ = true;
    _activeTool.tell();
    isRevertingTool_ = false;
    return false;
}

Tool* DocumentSession::tool() const {
    return toolOf(*_activeTool);
}

Tool* DocumentSession::toolOf(ToolKind kind) const {
    checkThread();
    const auto found = tools_.find(kind);
    return found != tools_.end() ? found->second.get() : nullptr;
}

} // namespace ombrel
