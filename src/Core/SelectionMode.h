// How a new selection joins the one that is there: one table of identifiers and the names that
// people read, in the order of the enumeration.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace ombrel {

enum class SelectionMode : std::uint8_t { replace, add, subtract, intersect };

struct SelectionModeDescription {
    SelectionMode mode;
    std::string_view identifier;
    std::string_view displayName;
};

inline constexpr std::array<SelectionModeDescription, 4> selectionModeDescriptions{{
    {SelectionMode::replace, "replace", "New Selection"},
    {SelectionMode::add, "add", "Add to Selection"},
    {SelectionMode::subtract, "subtract", "Subtract from Selection"},
    {SelectionMode::intersect, "intersect", "Intersect with Selection"},
}};

constexpr const SelectionModeDescription& descriptionOf(SelectionMode mode) {
    return selectionModeDescriptions[static_cast<std::size_t>(mode)];
}

} // namespace ombrel
