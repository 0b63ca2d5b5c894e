// The live editing session of one open document: its present state, its history, the active tool
// and the selection of layers. Every change of the document passes through here. Everything runs
// on the main thread; heavy work leaves it only as a pure function from one state to the next, on
// the worker, and comes back to be committed. Operations that are queued run one after another, in
// the order in which they were asked for, each on the state that is present when its turn comes.
//
// Panels observe the fields with a leading underscore; window and canvas take the callbacks. All
// values of a change are in place before anybody hears of it, so a callback may use the session
// freely, and even drop it. A session that goes takes nothing back: work under way ends unheard.
#pragma once

#include "Base/Executor.h"
#include "Base/Observable.h"
#include "Base/Progress.h"
#include "Commands/Command.h"
#include "Core/DocumentState.h"
#include "Core/History.h"
#include "Core/RealGeometry.h"
#include "Core/ViewTransform.h"
#include "Tools/PaintColors.h"
#include "Tools/Tool.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace ombrel {

class Settings;

class DocumentSession : public std::enable_shared_from_this<DocumentSession> {
    struct Private {};

public:
    /// What a session stands on. Everything referred to outlives it and its work.
    struct Services {
        Executor& main;   ///< on which the session lives and answers
        Executor& worker; ///< runs commands, transforms, and the end of states nobody needs
        TileStore& store;
        PixelDevice& device;
        const Settings& settings;
        std::int64_t historyBudget = std::int64_t{4} << 30; ///< bytes
        std::function<History::Date()> now = History::Date::clock::now;
    };

    /// A change as documents count them to know whether they must be saved.
    enum class ChangeType : std::uint8_t { done = 0, undone = 1, redone = 5 };
    using ApplyTransformChoice = ombrel::ApplyTransformChoice;

    /// A queued command that is being applied.
    struct RunningCommand {
        std::string name;
        std::shared_ptr<Progress> progress; ///< never null; cancelling it ends the command

        bool operator==(const RunningCommand&) const = default;
    };

    /// Runs off the main thread on a copy of the state.
    using Transform = std::move_only_function<DocumentState(DocumentState)>;
    using Callback = std::function<void()>;

    /// `historyName` is the name of the first entry of the history, as "Open".
    static std::shared_ptr<DocumentSession> create(const Services& services, DocumentState state,
                                                   std::string historyName, PaintColors paintColors,
                                                   ToolSet toolSet);
    DocumentSession(Private, const Services& services, DocumentState state, std::string historyName,
                    PaintColors paintColors, ToolSet toolSet);
    ~DocumentSession();

    template <typename T>
    using Field = ObservableOf<DocumentSession, T>;

    Field<DocumentState> _state;
    Field<History> _history;
    Field<bool> _isBusy; ///< while operations are queued
    Field<std::optional<RunningCommand>> _runningCommand;
    Field<bool> _isLiveEditing;
    Field<std::vector<ToolKind>> _recentTools; ///< most recent first
    Field<ToolKind> _activeTool;
    Field<ViewTransform> _viewTransform;

    Observable<std::set<LayerID>> _selectedLayerIDs;     ///< in the layers panel
    Observable<std::optional<LayerID>> _maskTargetID;    ///< whose mask receives edits
    Observable<std::optional<LayerID>> _maskViewID;      ///< whose mask is shown as a picture
    Observable<bool> _isEditingType;                     ///< a text edit is open on the canvas
    Observable<double> _contentsScale = Observable(2.0); ///< backing pixels a view point
    /// Over the canvas, in document coordinates; nothing while the pointer is elsewhere.
    Observable<std::optional<RealPoint>> _pointerLocation;

    Callback onNeedsDisplay;  ///< the picture changed, previews included
    Callback onContentChange; ///< pixels or layers changed, previews excluded
    Callback onViewChange;
    Callback onToolChange;
    std::function<void(ChangeType)> onDocumentChange;
    std::function<void(const CommandError&)> onError;
    std::function<void(const std::string&)> onMessage; ///< short words for the status area
    /// Asks the user before a live layer of this name is made pixels.
    std::function<bool(const std::string&)> confirmRasterize;
    std::function<ApplyTransformChoice()> confirmApplyTransform;

    Observable<PaintColors> colors;         ///< told as they change, by whoever changes them
    std::weak_ptr<ToolContext> toolContext; ///< the canvas

    // Commands.

    /// Applies at once, or on the queue where the command wants that or operations are queued. A
    /// command that fails changes nothing and is told to onError; a cancelled one tells nothing.
    /// One that has words for having changed nothing tells them to onMessage, without an entry.
    void perform(const Command& command);
    /// The same, then calls `completion`: at once where nothing is queued, else in its turn.
    void perform(const Command& command, std::move_only_function<void()> completion);
    /// At once where nothing is queued, even where the command would rather be; else in its turn.
    void performInstantly(const Command& command);
    /// At once, or in their turn where operations are queued. Nothing during a live edit.
    void undo();
    void redo();
    void jump(std::int64_t index);

    bool canUndo() const;
    bool canRedo() const;
    std::optional<std::string> undoName() const;
    std::optional<std::string> redoName() const;
    Uuid currentEntryID() const;
    /// Most states that the history keeps from now on; the oldest ones above it go at once.
    void setHistoryStates(std::int64_t count);
    std::int64_t queuedOperations() const; ///< not finished, the running one included

    // Live edits: a slider or a drag shows its result and makes one history entry at its end.

    /// False, and nothing is begun, during a live edit and while operations are queued.
    bool beginLive();
    /// Shows what the transform makes of the state at the beginning. At most one runs; of those
    /// that come meanwhile only the newest will.
    void previewLive(Transform transform);
    /// Changes the present state at once.
    void updateLive(const std::function<void(DocumentState&)>& change);
    /// Records what is shown, or what `finish` makes of the state at the beginning, on the queue.
    void commitLive(std::string name, Transform finish = nullptr);
    /// Back to the state at the beginning.
    void cancelLive();
    /// A live edit that takes a turn in the queue, as a stroke does: until it is committed or
    /// cancelled, whatever is asked for waits, undo included. `begun` is called when it has begun:
    /// at once where nothing is queued, else when what is queued is done. False, and nothing will
    /// be called, during another live edit and where something slow is queued.
    [[nodiscard]] bool beginLiveInTurn(std::move_only_function<void()> begun);
    /// Whether a live edit is open that everything else waits for.
    bool isLiveInTurn() const { return isLiveInTurn_; }
    /// Whether undo() changes something, now or in its turn.
    bool takesUndo() const;
    bool takesRedo() const;

    // Layers, view and tools.

    /// Makes a layer the active one, without a history entry, and selects it alone unless it is
    /// selected already. Nothing during a live edit or for an unknown layer.
    void setActiveLayer(LayerID id);
    /// Another document from its beginning: its state, and a history of the one entry named. False,
    /// and nothing is done, during a live edit and while operations are queued.
    [[nodiscard]] bool replaceDocument(DocumentState state, std::string historyName);
    /// The layer whose mask receives edits: the one asked for, while it is active and has a mask.
    std::optional<LayerID> maskTarget() const;
    void setViewTransform(const ViewTransform& transform);
    /// The active tool is asked whether it may be left; where it refuses, it stays and
    /// _activeTool is told once more. Hidden tools come without being asked for or remembered.
    void setTool(ToolKind kind);
    Tool* tool() const; ///< the active one; null where there is none of its kind
    Tool* toolOf(ToolKind kind) const;
    const ToolSet& tools() const { return tools_; }

    // What it stands on.

    Executor& mainExecutor() const { return main_; }
    TileStore& store() const { return *store_; }
    PixelDevice& device() const { return device_; }

private:
    using Operation = std::move_only_function<void(DocumentSession&)>;
    /// What came of applying a command.
    struct Applied {
        CommandResult result;
        DocumentState state;
        bool isNothing = false; ///< the command has words for it, and has changed nothing
    };

    void checkThread() const;

    // The queue (DocumentSessionQueue.cpp).
    void enqueue(Operation operation); ///< which calls endOperation, now or later
    void enqueueStep(std::move_only_function<void(DocumentSession&)> step);
    void startNextOperation();
    void endOperation();
    void runCommand(const Command& command);
    static Applied applied(const Command& command, const DocumentState& before,
                           const CommandContext& in);
    void finishCommand(const Command& command, Applied applied);
    void performNow(const Command& command);
    template <typename Work, typename Answer>
    void runAway(Work work, Answer answer);

    // Changes of the present (DocumentSession.cpp).
    void commit(const DocumentState& before, DocumentState next, std::string name,
                std::optional<std::string> coalescingKey);
    void undoNow();
    void redoNow();
    void jumpNow(std::int64_t index);
    void travelTo(DocumentState next);
    void show(DocumentState next);
    void announceMove(ChangeType change, std::int64_t count);
    void announceChange();
    void announceDisplay();
    template <typename T>
    void discard(T value);

    // Live edits (DocumentSessionLive.cpp).
    void openLive();
    void runNextPreview();
    void finishPreview(std::int64_t generation, DocumentState result);
    void runFinish(std::string name, Transform finish, DocumentState base);
    DocumentState endLive();

    bool leaveTool();

    Executor& main_;
    Executor& worker_;
    const std::shared_ptr<TileStore> store_;
    PixelDevice& device_;
    const std::function<History::Date()> now_;
    ToolSet tools_;
    bool isRevertingTool_ = false; ///< while a refused switch of tools is put back

    std::deque<Operation> queue_;     ///< not begun yet
    std::int64_t slowOperations_ = 0; ///< of all: those that strokes do not wait for
    std::int64_t queuedOperations_ = 0;

    std::optional<DocumentState> liveBase_; ///< the state at the beginning of the live edit
    std::int64_t liveGeneration_ = 0;       ///< raised at each beginning and end
    Transform pendingPreview_;              ///< the newest that has not begun
    bool isPreviewRunning_ = false;
    bool isLiveInTurn_ = false; ///< the live edit is the operation that has begun
};

/// Runs `work` on the worker, then `answer` with the session and what it returned on the main
/// thread, if the session is still there.
template <typename Work, typename Answer>
void DocumentSession::runAway(Work work, Answer answer) {
    worker_.post([weak = weak_from_this(), &main = main_, &worker = worker_, work = std::move(work),
                  answer = std::move(answer)]() mutable {
        main.post([weak = std::move(weak), &worker, answer = std::move(answer),
                   result = work()]() mutable {
            if (const auto self = weak.lock()) {
                answer(*self, std::move(result));
            } else {
                auto left = std::pair(std::move(answer), std::move(result));
                worker.post([left = std::move(left)] { static_cast<void>(left); });
            }
        });
    });
}

// States that nobody else holds may take long to drop, so they end on the worker.
template <typename T>
void DocumentSession::discard(T value) {
    worker_.post([value = std::move(value)] {});
}

} // namespace ombrel
