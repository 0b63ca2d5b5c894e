#include "Commands/EditScript.h"

#include "Commands/CommandRegistry.h"
#include "Engine/CpuDevice.h"
#include "support/TestDocument.h"
#include "support/TestPlaces.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace ombrel {

namespace {

std::string textOf(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Runs scripts on plain lists of states.
class ScriptRun {
public:
    explicit ScriptRun(const TestDocument& document)
        : document_(document), states_{document.state()} {}

    /// The message of the first fault, or nothing.
    std::string run(const EditScript& script) {
        for (std::size_t i = 0; i < script.steps.size(); ++i) {
            const std::string fault =
                std::visit([&](const auto& step) { return run(step); }, script.steps[i]);
            if (!fault.empty()) return EditScript::atStep(i + 1, fault);
        }
        return {};
    }
    const DocumentState& state() const { return states_[current_]; }

private:
    std::string run(const EditScript::CommandStep& step) {
        const DecodingContext decoding{
            .state = state(), .store = document_.store(), .newIDs = newIDs_, .loadPicture = {}};
        const Decoded<Command> command = decodeCommand(step.command, decoding);
        if (!command) return command.error().message;
        DocumentState next = state();
        const CommandContext context{.store = document_.store(), .device = device_};
        const CommandResult result = command->apply(next, context);
        if (!result) return result.error().text();
        states_.resize(++current_);
        states_.push_back(std::move(next));
        return {};
    }
    /// Tools want a session.
    std::string run(const EditScript::ToolStep&) { return {}; }
    std::string run(const EditScript::KeyStep&) { return {}; }
    std::string run(const EditScript::UndoStep& step) {
        current_ -= static_cast<std::size_t>(step.count);
        return current_ < states_.size() ? "" : "nothing to undo";
    }
    std::string run(const EditScript::RedoStep& step) {
        current_ += static_cast<std::size_t>(step.count);
        return current_ < states_.size() ? "" : "nothing to redo";
    }

    const TestDocument& document_;
    std::vector<DocumentState> states_;
    std::size_t current_ = 0;
    LayerIDSource newIDs_{1};
    CpuDevice device_;
};

} // namespace

TEST(EditScript, stepsAreCommandsUndoAndRedo) {
    const auto script = EditScript::parse(
        R"({"steps": [{"command": "X", "field": 1}, {"undo": 2}, {"redo": 1.0}]})");
    ASSERT_TRUE(script) << script.error().message;
    const EditScript::CommandStep command{{{"command", "X"}, {"field", 1}}};
    EXPECT_EQ(script->steps, (std::vector<EditScript::Step>{command, EditScript::UndoStep{2},
                                                            EditScript::RedoStep{1}}));
}

TEST(EditScript, faultsNameTheStep) {
    const std::pair<const char*, const char*> cases[] = {
        {"{", "line 1, column 2: not valid JSON"},
        {"[]", "field \"steps\" is missing"},
        {R"({"steps": [], "title": 1})", "unknown field \"title\""},
        {R"({"steps": [{"undo": 1}, {"do": 1}]})",
         "step 2: unknown kind of step: it must have one of \"command\", \"tool\", \"key\", "
         "\"undo\", \"redo\""},
        {R"({"steps": [7]})",
         "step 1: unknown kind of step: it must have one of \"command\", \"tool\", \"key\", "
         "\"undo\", \"redo\""},
        {R"({"steps": [{"command": 1}]})", "step 1: field \"command\" is no text"},
        {R"({"steps": [{"tool": {}}]})", "step 1: field \"tool\" is no text"},
        {R"({"steps": [{"key": "b"}]})", "step 1: field \"key\" is no object"},
        {R"({"steps": [{"key": {}, "time": 1}]})", "step 1: nothing may stand beside \"key\""},
        {R"({"steps": [{"undo": 0}]})", "step 1: field \"undo\" must be 1 or more"},
        {R"({"steps": [{"redo": "1"}]})", "step 1: field \"redo\" is no number"},
        {R"({"steps": [{"redo": 1, "undo": 1}]})", "step 1: nothing may stand beside \"undo\""},
    };
    for (const auto& [text, message] : cases) {
        const auto script = EditScript::parse(text);
        ASSERT_FALSE(script) << text;
        EXPECT_EQ(script.error().message, message);
    }
}

TEST(EditScript, theExamplesOfTheReferenceRun) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TestPlaces::docs() / "examples")) {
        if (entry.path().extension() != ".json") continue;
        SCOPED_TRACE(entry.path());
        ++count;
        const auto script = EditScript::parse(textOf(entry.path()));
        ASSERT_TRUE(script) << script.error().message;
        TestDocument document({300, 200});
        document.layer("Photo").active();
        ScriptRun run(document);
        EXPECT_EQ(run.run(*script), "");
        const bool paints = std::ranges::any_of(script->steps, [](const EditScript::Step& step) {
            return std::holds_alternative<EditScript::ToolStep>(step);
        });
        if (!paints) {
            EXPECT_NE(run.state(), document.state());
        }
        ScriptRun again(document);
        again.run(*script);
        EXPECT_EQ(again.state().root->children.size(), run.state().root->children.size());
        EXPECT_EQ(again.state().activeLayerID, run.state().activeLayerID);
    }
    EXPECT_GT(count, 0);
}

TEST(EditScript, namesAreThoseOfTheStepsTurn) {
    TestDocument document;
    document.layer("Photo").active();
    ScriptRun run(document);
    const auto script = EditScript::parse(R"({"steps": [
        {"command": "SetLayerPropertiesCommand", "layerID": {"name": "Photo"},
         "properties": {"name": "Old"}},
        {"command": "DeleteLayersCommand", "layerIDs": [{"name": "Old"}]}]})");
    EXPECT_EQ(run.run(script.value()), "step 2: A document must have at least one layer.");
    ScriptRun second(document);
    const auto late = EditScript::parse(R"({"steps": [
        {"command": "SetLayerPropertiesCommand", "layerID": {"name": "Photo"},
         "properties": {"name": "Old"}},
        {"command": "DeleteLayersCommand", "layerIDs": [{"name": "Photo"}]}]})");
    EXPECT_EQ(second.run(late.value()),
              "step 2: field \"layerIDs[0]\" names no layer: there is no \"Photo\"");
}

} // namespace ombrel
