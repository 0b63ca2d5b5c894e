#include "Editor/ScriptRun.h"

#include "Commands/CommandRegistry.h"
#include "Editor/ScriptCanvas.h"

#include <chrono>

namespace ombrel {

namespace {

constexpr std::uint64_t layerSeed = 1;
/// How often a running step is asked how far it is.
constexpr std::chrono::milliseconds reportInterval{50};

using StepResult = std::expected<void, std::string>;

class ScriptRun {
public:
    ScriptRun(DocumentSession& session, const ScriptServices& services, std::size_t stepCount)
        : session_(session), services_(services), stepCount_(stepCount) {
        session_.onError = [this](const CommandError& error) { error_ = error.text(); };
    }
    ScriptRun(const ScriptRun&) = delete;
    ScriptRun& operator=(const ScriptRun&) = delete;
    ~ScriptRun() { session_.onError = nullptr; }

    StepResult run(const EditScript::Step& step) {
        ++begun_;
        return std::visit([this](const auto& each) { return runStep(each); }, step);
    }
    bool isCancelled() const {
        return services_.progress != nullptr && services_.progress->isCancelled();
    }

private:
    StepResult runStep(const EditScript::CommandStep& step) {
        const Decoded<Command> command = decodeCommand(step.command, context());
        if (!command) return std::unexpected(command.error().message);
        error_.reset();
        session_.perform(*command);
        waitForQueue(command->name());
        if (error_) return std::unexpected(*error_);
        return {};
    }
    StepResult runStep(const EditScript::ToolStep& step) {
        error_.reset();
        return ended(canvas().useTool(step.tool, context()), "Painting");
    }
    StepResult runStep(const EditScript::KeyStep& step) {
        error_.reset();
        return ended(canvas().pressKey(step.key, context()), "Painting");
    }
    StepResult runStep(const EditScript::UndoStep& step) {
        for (std::int64_t i = 0; i < step.count; ++i) {
            if (!session_.canUndo()) return std::unexpected("There is nothing to undo.");
            session_.undo();
        }
        return {};
    }
    StepResult runStep(const EditScript::RedoStep& step) {
        for (std::int64_t i = 0; i < step.count; ++i) {
            if (!session_.canRedo()) return std::unexpected("There is nothing to redo.");
            session_.redo();
        }
        return {};
    }

    DecodingContext context() {
        return {.state = *session_._state,
                .store = services_.store,
                .newIDs = newIDs_,
                .loadPicture = services_.loadPicture};
    }
    ScriptCanvas& canvas() {
        if (!canvas_) canvas_.emplace(session_.shared_from_this());
        return *canvas_;
    }
    /// The result of a step, once all that it began has ended.
    StepResult ended(StepResult result, const std::string& name) {
        waitForQueue(name);
        if (!result) return result;
        if (error_) return std::unexpected(*error_);
        return canvas().refusals();
    }

    void waitForQueue(const std::string& name) {
        if (services_.progress != nullptr) services_.progress->setText(name);
        const auto isDone = [this] { return session_.queuedOperations() == 0; };
        while (!services_.main.runUntil(isDone, MainExecutor::Clock::now() + reportInterval))
            passProgress();
        report(1);
    }
    void passProgress() {
        const auto& running = *session_._runningCommand;
        if (!running) return;
        if (isCancelled()) running->progress->cancel();
        report(running->progress->fraction());
    }
    void report(double fractionOfStep) {
        if (services_.progress == nullptr) return;
        services_.progress->setFraction((static_cast<double>(begun_ - 1) + fractionOfStep) /
                                        static_cast<double>(stepCount_));
    }

    DocumentSession& session_;
    const ScriptServices& services_;
    const std::size_t stepCount_;
    std::size_t begun_ = 0;
    LayerIDSource newIDs_{layerSeed};
    std::optional<std::string> error_; ///< of the running step
    std::optional<ScriptCanvas> canvas_;
};

} // namespace

std::expected<void, ScriptFailure> runScript(const EditScript& script, DocumentSession& session,
                                             const ScriptServices& services) {
    ScriptRun run(session, services, script.steps.size());
    for (std::size_t i = 0; i < script.steps.size(); ++i) {
        const StepResult result = run.run(script.steps[i]);
        if (run.isCancelled()) return std::unexpected(ScriptFailure{true, "Cancelled."});
        if (!result) {
            return std::unexpected(ScriptFailure{false, EditScript::atStep(i + 1, result.error())});
        }
    }
    return {};
}

} // namespace ombrel
