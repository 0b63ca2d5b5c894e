// A row of the menu that a tool offers on the canvas.
#pragma once

#include "Tools/ToolModifiers.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace ombrel {

struct ToolMenuItem {
    struct Shortcut {
        std::string key;
        ToolModifiers modifiers;

        bool operator==(const Shortcut&) const = default;
    };

    std::string title;
    bool isChecked = false;
    bool isEnabled = true;
    std::optional<Shortcut> shortcut = {};
    std::function<void()> action = {}; ///< empty: an inert row, like a separator
};

/// What the canvas shows where its menu is asked for.
enum class CanvasMenuKind : std::uint8_t {
    selection,
    brushPicker,
    gradientPicker,
    fillOptions,
    toolOptions,
};

} // namespace ombrel
