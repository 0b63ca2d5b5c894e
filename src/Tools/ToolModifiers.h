// The keys held during an event, as bits. The window maps its keyboard to them: Option is Alt,
// Command is Ctrl, Control is Meta. Plain values.
#pragma once

#include <cstdint>

namespace ombrel {

struct ToolModifiers {
    std::uint8_t rawValue = 0;

    static const ToolModifiers none;
    static const ToolModifiers shift;
    static const ToolModifiers option;
    static const ToolModifiers command;
    static const ToolModifiers control;
    /// No key of the event's: set by the canvas while the key of a temporary tool is held.
    static const ToolModifiers heldKey;
    static const ToolModifiers capsLock;

    constexpr bool contains(ToolModifiers other) const {
        return (rawValue & other.rawValue) == other.rawValue;
    }
    constexpr bool isEmpty() const { return rawValue == 0; }
    constexpr ToolModifiers operator|(ToolModifiers other) const {
        return {static_cast<std::uint8_t>(rawValue | other.rawValue)};
    }
    constexpr ToolModifiers operator&(ToolModifiers other) const {
        return {static_cast<std::uint8_t>(rawValue & other.rawValue)};
    }
    constexpr ToolModifiers without(ToolModifiers other) const {
        return {static_cast<std::uint8_t>(rawValue & ~other.rawValue)};
    }
    bool operator==(const ToolModifiers&) const = default;
};
inline constexpr ToolModifiers ToolModifiers::none{0};
inline constexpr ToolModifiers ToolModifiers::shift{1};
inline constexpr ToolModifiers ToolModifiers::option{2};
inline constexpr ToolModifiers ToolModifiers::command{4};
inline constexpr ToolModifiers ToolModifiers::control{8};
inline constexpr ToolModifiers ToolModifiers::heldKey{16};
inline constexpr ToolModifiers ToolModifiers::capsLock{32};

} // namespace ombrel
