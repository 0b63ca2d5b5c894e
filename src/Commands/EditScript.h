// A script of edits, {"steps": [...]}: commands, tools with what a hand does with them, keys, and
// undo and redo by a number of steps. Commands, tools and keys stay JSON until their turn, since
// they name layers of the document as it is then. A value.
#pragma once

#include "Base/Json.h"

#include <cstddef>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace ombrel {

struct EditScript {
    /// For decodeCommand, against the state at that step.
    struct CommandStep {
        Json command;

        bool operator==(const CommandStep&) const = default;
    };
    /// The whole step, for those who know tools.
    struct ToolStep {
        Json tool;

        bool operator==(const ToolStep&) const = default;
    };
    struct KeyStep {
        Json key; ///< an object

        bool operator==(const KeyStep&) const = default;
    };
    struct UndoStep {
        std::int64_t count = 1; ///< at least 1

        bool operator==(const UndoStep&) const = default;
    };
    struct RedoStep {
        std::int64_t count = 1; ///< at least 1

        bool operator==(const RedoStep&) const = default;
    };
    using Step = std::variant<CommandStep, ToolStep, KeyStep, UndoStep, RedoStep>;

    std::vector<Step> steps;

    /// Errors name the step by its number, from 1 on. What commands, tools and keys
    /// hold is not looked at.
    static std::expected<EditScript, JsonError> parse(std::string_view text);

    /// "step 3: ", and the message: how every error of a step is told.
    static std::string atStep(std::size_t number, std::string_view message);
};

} // namespace ombrel
