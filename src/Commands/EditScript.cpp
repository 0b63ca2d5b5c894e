#include "Commands/EditScript.h"

#include <fmt/core.h>

#include <array>

namespace ombrel {

namespace {

using Parsed = std::expected<EditScript::Step, JsonError>;

template <typename CountingStep>
Parsed parseCount(const Json& step, std::string_view key) {
    const auto count = integerField(step, key);
    if (!count) return std::unexpected(count.error());
    if (*count < 1)
        return std::unexpected(JsonError{fmt::format("field \"{}\" must be 1 or more", key)});
    if (step.size() > 1)
        return std::unexpected(JsonError{fmt::format("nothing may stand beside \"{}\"", key)});
    return CountingStep{*count};
}

Parsed parseCommand(const Json& step, std::string_view key) {
    const auto name = stringField(step, key);
    if (!name) return std::unexpected(name.error());
    return EditScript::CommandStep{step};
}

Parsed parseTool(const Json& step, std::string_view key) {
    const auto name = stringField(step, key);
    if (!name) return std::unexpected(name.error());
    return EditScript::ToolStep{step};
}

Parsed parseKey(const Json& step, std::string_view key) {
    const auto pressed = objectField(step, key);
    if (!pressed) return std::unexpected(pressed.error());
    if (step.size() > 1)
        return std::unexpected(JsonError{fmt::format("nothing may stand beside \"{}\"", key)});
    return EditScript::KeyStep{pressed->get()};
}

struct StepKind {
    std::string_view key;
    Parsed (*parse)(const Json& step, std::string_view key);
};

constexpr std::array<StepKind, 5> stepKinds{{{"command", parseCommand},
                                             {"tool", parseTool},
                                             {"key", parseKey},
                                             {"undo", parseCount<EditScript::UndoStep>},
                                             {"redo", parseCount<EditScript::RedoStep>}}};

Parsed parseStep(const Json& step) {
    std::string keys;
    for (const StepKind& kind : stepKinds) {
        if (step.is_object() && step.contains(kind.key)) return kind.parse(step, kind.key);
        keys += fmt::format("{}\"{}\"", keys.empty() ? "" : ", ", kind.key);
    }
    return std::unexpected(
        JsonError{fmt::format("unknown kind of step: it must have one of {}", keys)});
}

} // namespace

std::expected<EditScript, JsonError> EditScript::parse(std::string_view text) {
    const auto json = parseJson(text);
    if (!json) return std::unexpected(json.error());
    const auto steps = arrayField(*json, "steps");
    if (!steps) return std::unexpected(steps.error());
    for (const auto& [key, value] : json->items())
        if (key != "steps")
            return std::unexpected(JsonError{fmt::format("unknown field \"{}\"", key)});
    EditScript script;
    for (const Json& each : steps->get()) {
        Parsed step = parseStep(each);
        if (!step)
            return std::unexpected(
                JsonError{atStep(script.steps.size() + 1, step.error().message)});
        script.steps.push_back(std::move(*step));
    }
    return script;
}

std::string EditScript::atStep(std::size_t number, std::string_view message) {
    return fmt::format("step {}: {}", number, message);
}

} // namespace ombrel
