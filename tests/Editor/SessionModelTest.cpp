// Random use of a session beside a plain model of it: a list of recorded states and the operations
// that wait. Tasks run in random order, one at a time.
#include "Editor/SessionFixture.h"
#include "TestSeed.h"
#include "support/HistoryModel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace ombrel {

namespace {

using Random = std::mt19937_64;

TileCoord randomCoord(Random& random) {
    return {static_cast<std::int32_t>(random() % 6) - 2, static_cast<std::int32_t>(random() % 3)};
}

LayerID randomLayer(const DocumentState& state, Random& random) {
    const std::vector<LayerNode> nodes = state.allNodes();
    return nodes.empty() ? LayerID::make() : nodes[random() % nodes.size()].id();
}

CommandResult layerNotFound() {
    return std::unexpected(CommandError::of(CommandError::Kind::layerNotFound));
}

CommandResult paint(DocumentState& state, Random& random, TileStore& store) {
    const bool found = state.update(randomLayer(state, random), [&](LayerNode& node) {
        if (random() % 3 == 0 && !node.mask()) node.writeMask().emplace();
        for (std::size_t count = random() % 5; count > 0; --count) {
            const TileCoord coord = randomCoord(random);
            if (node.mask() && random() % 2 == 0)
                node.writeMask()->pixels.set(coord, makeTestTile(store, TileFormat::r8));
            else if (PixelLayer* layer = node.writePixelLayer())
                layer->pixels.set(coord, makeTestTile(store, TileFormat::rgba16Float));
        }
    });
    return found ? CommandResult{} : layerNotFound();
}

CommandResult rearrange(DocumentState& state, Random& random) {
    switch (random() % 6) {
    case 0:
        state.insert({PixelLayer::named("New")}, std::nullopt, 100);
        return {};
    case 1:
        state.insert({GroupLayer::named("Group")}, std::nullopt, 0);
        return {};
    case 2: { // a copy shares the tiles
        const PixelLayer* layer = state.activePixelLayer();
        if (layer == nullptr) return layerNotFound();
        PixelLayer copy = *layer;
        copy.id = LayerID::make();
        state.activeLayerID = copy.id;
        state.insert({std::move(copy)}, std::nullopt, 100);
        return {};
    }
    case 3:
        return state.remove(randomLayer(state, random)) ? CommandResult{} : layerNotFound();
    default: { // into another group, or to the top
        std::optional<LayerNode> node = state.remove(randomLayer(state, random));
        if (!node) return layerNotFound();
        if (!state.insert({*node}, randomLayer(state, random), 0))
            state.insert({*node}, std::nullopt, 0);
        return {};
    }
    }
}

/// A random edit that does the same whenever it is given the same state, up to new tiles and IDs.
EditCommand randomCommand(Random& random) {
    const std::uint64_t seed = random();
    EditCommand command{"Edit",
                        [seed](DocumentState& state, const CommandContext& in) -> CommandResult {
                            Random own(seed);
                            switch (own() % 6) {
                            case 0:
                                state.canvas.resolution = static_cast<double>(own() % 100);
                                return {};
                            case 1:
                                static_cast<void>(paint(state, own, in.store)); // half done
                                return std::unexpected(
                                    CommandError::of(CommandError::Kind::lastLayer));
                            case 2:
                                return rearrange(state, own);
                            default:
                                return paint(state, own, in.store);
                            }
                        },
                        random() % 2 == 0};
    if (random() % 2 == 0) command.key = random() % 2 == 0 ? "a" : "b";
    return command;
}

/// What a function of the session's made of which state.
struct Outcome {
    int runs = 0;
    DocumentState input;
    DocumentState output;
    bool hasSucceeded = false;
};

class ModelRun {
public:
    explicit ModelRun(std::uint64_t seed)
        : random_(seed),
          model_(initial(), 2 + random_() % 8, static_cast<std::int64_t>(random_() % 40) * 524288),
          state_(model_.state()), fixture_(model_.state()) {
        fixture_.settings.setJson("historyStates", model_.maximumStates);
        auto services = fixture_.services();
        services.historyBudget = model_.budget;
        services.now = [this] { return date_ += std::chrono::milliseconds(random_() % 3000); };
        fixture_.open(services, state_);
        fixture_.session->onError = [this](const CommandError&) { ++errors_; };
    }

    void run(int steps) {
        for (int step = 0; step < steps && !testing::Test::HasFatalFailure(); ++step) {
            SCOPED_TRACE("step " + std::to_string(step));
            if (random_() % 3 == 0) {
                act();
            } else {
                runTask();
            }
            check();
        }
    }
    /// Runs out, with or without the work that is left, and says how many tiles are left.
    std::int64_t end() {
        if (random_() % 2 == 0) {
            while (!queue_.empty() || fixture_.executors.worker.pending() > 0) {
                runTask();
                check();
            }
        }
        fixture_.session.reset();
        fixture_.executors.settle();
        queue_.clear();
        previews_.clear();
        liveBase_.reset();
        state_ = {};
        model_ = HistoryModel({}, 2, 0);
        return fixture_.store->statistics().tileCount;
    }

private:
    struct Operation {
        enum class Kind { command, finish, undo, redo, jump, completion };
        Kind kind;
        std::shared_ptr<Outcome> outcome = nullptr;
        std::optional<std::string> key = std::nullopt;
        std::int64_t index = 0;
        bool isCancelled = false;
        std::optional<DocumentState> input = std::nullopt; ///< present when it began
    };
    struct Preview {
        std::shared_ptr<Outcome> outcome;
        bool isStale = false;
    };
    using Kind = Operation::Kind;

    static DocumentState initial() {
        return TestDocument().layer("A").active().group("G").layer("B").state();
    }
    DocumentSession& session() { return *fixture_.session; }

    void act() {
        switch (random_() % 12) {
        case 0:
            return step(Kind::undo, 0, [&] { session().undo(); });
        case 1:
            return step(Kind::redo, 0, [&] { session().redo(); });
        case 2: {
            const auto index = static_cast<std::int64_t>(random_() % 12) - 2;
            return step(Kind::jump, index, [&] { session().jump(index); });
        }
        case 3:
            return chooseLayer();
        case 4:
        case 5:
        case 6:
        case 7:
            return actLive();
        default:
            return perform();
        }
    }

    template <typename Call>
    void step(Kind kind, std::int64_t index, Call&& call) {
        const bool waits = !queue_.empty();
        call();
        queue_.push_back({.kind = kind, .index = index});
        if (!waits) endOperation();
    }

    void perform() {
        EditCommand command = randomCommand(random_);
        auto outcome = std::make_shared<Outcome>();
        command.edit = [edit = command.edit, outcome](DocumentState& state,
                                                      const CommandContext& in) {
            outcome->input = state;
            const CommandResult result = edit(state, in);
            outcome->output = state;
            outcome->hasSucceeded = result.has_value();
            ++outcome->runs;
            return result;
        };
        const bool waits = command.isQueued || !queue_.empty();
        queue_.push_back({.kind = Kind::command, .outcome = outcome, .key = command.key});
        if (!waits) queue_.back().input = state_;
        if (random_() % 4 != 0) {
            session().perform(command);
            if (!waits) endOperation();
            return;
        }
        session().perform(command, [this] { ++completions_; });
        ++expectedCompletions_;
        if (!waits) return endOperation();
        queue_.push_back({.kind = Kind::completion});
    }

    void chooseLayer() {
        const LayerID id = randomLayer(state_, random_);
        session().setActiveLayer(id);
        if (!liveBase_ && state_.find(id) != nullptr) state_.activeLayerID = id;
    }

    /// A transform that leaves a mark of its own, and a tile.
    DocumentSession::Transform transform(std::shared_ptr<Outcome> outcome) {
        return [this, outcome = std::move(outcome), value = ++marks_](DocumentState state) {
            outcome->input = state;
            change(state, value);
            outcome->output = state;
            outcome->hasSucceeded = true;
            ++outcome->runs;
            return state;
        };
    }
    void change(DocumentState& state, double value) {
        state.canvas.resolution = value;
        if (!state.activePixelLayer()) return;
        state.update(*state.activeLayerID, [&](LayerNode& node) {
            node.writePixelLayer()->pixels.set(
                {0, 0}, makeTestTile(*fixture_.store, TileFormat::rgba16Float));
        });
    }

    void actLive() {
        const bool begins = !liveBase_ && queue_.empty();
        if (!liveBase_ || random_() % 16 == 0) {
            ASSERT_EQ(session().beginLive(), begins);
            if (begins) liveBase_ = state_;
            return;
        }
        switch (random_() % 6) {
        case 0:
            session().cancelLive();
            state_ = endLive();
            return;
        case 1:
            session().commitLive("Live");
            endLive();
            return model_.record(state_, std::nullopt, date_);
        case 2: {
            auto outcome = std::make_shared<Outcome>();
            session().commitLive("Live", transform(outcome));
            return queue_.push_back({.kind = Kind::finish, .outcome = outcome, .input = endLive()});
        }
        case 3:
            return session().updateLive([&](DocumentState& state) {
                EXPECT_EQ(state, state_);
                change(state, ++marks_);
                state_ = state;
            });
        default:
            auto outcome = std::make_shared<Outcome>();
            session().previewLive(transform(outcome));
            previews_.push_back({outcome});
        }
    }
    DocumentState endLive() {
        for (Preview& preview : previews_)
            preview.isStale = true;
        DocumentState base = *liveBase_;
        liveBase_.reset();
        return base;
    }

    void runTask() {
        const auto running = [&] { return session()._runningCommand->has_value(); };
        const std::int64_t before = session().queuedOperations();
        const bool wasRunning = running();
        fixture_.executors.step(random_);
        if (session().queuedOperations() < before) {
            ASSERT_EQ(session().queuedOperations(), before - 1);
            endOperation();
        } else if (running() && !wasRunning) {
            queue_.front().input = state_;
        }
        if (running() && random_() % 32 == 0) {
            (*session()._runningCommand)->progress->cancel();
            queue_.front().isCancelled = true;
        }
        acceptPreview();
    }

    /// The first operation that waits has ended: so must it in the model.
    void endOperation() {
        const Operation operation = std::move(queue_.front());
        queue_.pop_front();
        switch (operation.kind) {
        case Kind::undo:
            if (!liveBase_ && model_.undo()) state_ = model_.state();
            return;
        case Kind::redo:
            if (!liveBase_ && model_.redo()) state_ = model_.state();
            return;
        case Kind::jump:
            if (liveBase_) return;
            model_.jump(operation.index);
            state_ = model_.state();
            return;
        case Kind::completion:
            return;
        default:
            return endEdit(operation);
        }
    }
    void endEdit(const Operation& operation) {
        ASSERT_EQ(operation.outcome->runs, 1);
        ASSERT_TRUE(operation.input);
        ASSERT_EQ(operation.outcome->input, *operation.input);
        if (operation.isCancelled) return;
        if (!operation.outcome->hasSucceeded) {
            ++expectedErrors_;
            return;
        }
        state_ = operation.outcome->output;
        model_.record(state_, operation.key, date_);
    }

    /// A preview may have come: of this live edit, run once, from its beginning.
    void acceptPreview() {
        if (*session()._state == state_) return;
        const auto shown = std::ranges::find_if(previews_, [&](const Preview& preview) {
            return preview.outcome->runs == 1 && preview.outcome->output == *session()._state;
        });
        ASSERT_NE(shown, previews_.end()) << "the state is neither the model's nor a preview";
        ASSERT_FALSE(shown->isStale);
        ASSERT_TRUE(liveBase_);
        ASSERT_EQ(shown->outcome->input, *liveBase_);
        state_ = *session()._state;
        previews_.erase(previews_.begin(), shown + 1); // older ones come no more
    }

    void check() {
        if (testing::Test::HasFatalFailure()) return;
        ASSERT_EQ(*session()._state, state_);
        const History& history = *session()._history;
        ASSERT_EQ(history.count(), std::ssize(model_.entries));
        ASSERT_EQ(history.currentIndex(), static_cast<std::int64_t>(model_.current));
        ASSERT_EQ(history.retainedTotal(), model_.total());
        for (std::size_t index = 0; index < model_.entries.size(); ++index)
            ASSERT_EQ(history.entries()[index]->state, model_.entries[index].state);
        ASSERT_EQ(session().queuedOperations(), std::ssize(queue_));
        ASSERT_EQ(*session()._isBusy, !queue_.empty());
        ASSERT_EQ(*session()._isLiveEditing, liveBase_.has_value());
        ASSERT_EQ(errors_, expectedErrors_);
        if (queue_.empty()) {
            ASSERT_EQ(completions_, expectedCompletions_);
        }
    }

    Random random_;
    HistoryModel model_;
    DocumentState state_;
    History::Date date_{};
    std::deque<Operation> queue_;
    std::optional<DocumentState> liveBase_;
    std::vector<Preview> previews_;
    double marks_ = 1000;
    int errors_ = 0;
    int expectedErrors_ = 0;
    int completions_ = 0;
    int expectedCompletions_ = 0;
    SessionFixture fixture_;
};

} // namespace

TEST(SessionModel, holdsUnderRandomUseAndLeavesNoTile) {
    SCOPED_TRACE(testSeed());
    Random random(testSeed());
    for (int run = 0; run < 40; ++run) {
        SCOPED_TRACE("run " + std::to_string(run));
        ModelRun one(random());
        ASSERT_NO_FATAL_FAILURE(one.run(400));
        ASSERT_EQ(one.end(), 0);
    }
}

} // namespace ombrel
