// A session on executors that a test controls, with a log of what it announces, and commands that
// do what a test says.
#pragma once

#include "Base/Settings.h"
#include "Editor/DocumentSession.h"
#include "Engine/CpuDevice.h"
#include "support/ControlledExecutor.h"
#include "support/TemporaryFolder.h"
#include "support/TestDocument.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace ombrel {

/// A command that runs a function.
struct EditCommand {
    using Edit = std::function<CommandResult(DocumentState&, const CommandContext&)>;

    std::string label;
    Edit edit;
    bool isQueued = false;
    std::optional<std::string> key = std::nullopt;

    std::string name() const { return label; }
    std::optional<std::string> coalescingKey() const { return key; }
    bool runsOnQueue() const { return isQueued; }
    CommandResult apply(DocumentState& state, const CommandContext& in) const {
        return edit(state, in);
    }
    bool operator==(const EditCommand& other) const { return label == other.label; }
};

/// Sets the resolution, the simplest mark that a state can bear.
inline EditCommand mark(double value, bool isQueued = false) {
    return {"Mark " + std::to_string(static_cast<int>(value)),
            [value](DocumentState& state, const CommandContext&) -> CommandResult {
                state.canvas.resolution = value;
                return {};
            },
            isQueued};
}
inline EditCommand queuedMark(double value) {
    return mark(value, true);
}
/// Adds to the mark, so that the order of operations shows.
inline EditCommand add(double value, bool isQueued = false) {
    return {"Add",
            [value](DocumentState& state, const CommandContext&) -> CommandResult {
                state.canvas.resolution = state.canvas.resolution * 10 + value;
                return {};
            },
            isQueued};
}
inline EditCommand failing(bool isQueued) {
    return {"Fail",
            [](DocumentState& state, const CommandContext&) -> CommandResult {
                state.canvas.resolution = -1; // half done
                return std::unexpected(CommandError::of(CommandError::Kind::noMask));
            },
            isQueued};
}

inline DocumentSession::Transform marking(double value) {
    return [value](DocumentState state) {
        state.canvas.resolution = value;
        return state;
    };
}

/// What a session announces, and the marks in its history.
using SessionLog = std::vector<std::string>;
using Marks = std::vector<double>;
inline const SessionLog committed{"change 0", "display", "content"};

struct SessionFixture {
    test::TemporaryFolder folder;
    Settings settings{folder / "settings.json"};
    ControlledExecutors executors;
    CpuDevice device;
    std::shared_ptr<TileStore> store = makeTestStore();
    History::Date now{};
    SessionLog log;
    std::shared_ptr<DocumentSession> session;

    SessionFixture() : SessionFixture(TestDocument().layer("A").active().state()) {}
    explicit SessionFixture(DocumentState state) { open(std::move(state)); }

    DocumentSession::Services services() {
        return {.main = executors.main,
                .worker = executors.worker,
                .store = *store,
                .device = device,
                .settings = settings,
                .now = [this] { return now += std::chrono::seconds(10); }};
    }
    void open(DocumentState state, ToolSet tools = {}) {
        open(services(), std::move(state), std::move(tools));
    }
    void open(const DocumentSession::Services& with, DocumentState state, ToolSet tools = {}) {
        session = DocumentSession::create(with, std::move(state), "Open", {}, std::move(tools));
        session->onDocumentChange = [this](DocumentSession::ChangeType change) {
            log.push_back("change " + std::to_string(static_cast<int>(change)));
        };
        session->onNeedsDisplay = [this] { log.emplace_back("display"); };
        session->onContentChange = [this] { log.emplace_back("content"); };
        session->onError = [this](const CommandError& error) { log.push_back(error.text()); };
        session->onMessage = [this](const std::string& text) { log.push_back(text); };
    }

    double markShown() const { return session->_state->canvas.resolution; }
    /// Runs everything; the mark shown afterwards.
    double settled() {
        executors.settle();
        return markShown();
    }
    SessionLog takeLog() { return std::exchange(log, {}); }
    Marks marks() const {
        Marks all;
        for (const auto& entry : session->_history->entries())
            all.push_back(entry->state.canvas.resolution);
        return all;
    }
};

} // namespace ombrel
