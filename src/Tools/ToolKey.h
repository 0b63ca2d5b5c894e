// A key press as tools see it. A plain value.
#pragma once

#include <string>
#include <variant>

namespace ombrel {

struct ToolKey {
    struct Digit {
        int value = 0; ///< 0 to 9
        bool operator==(const Digit&) const = default;
    };
    /// What the key types, UTF-8.
    struct Character {
        std::string text;
        bool operator==(const Character&) const = default;
    };
    enum class Named { enter, escape, remove, left, right, up, down, bracketLeft, bracketRight };

    std::variant<Digit, Character, Named> value;

    static ToolKey digit(int value) { return {Digit{value}}; }
    static ToolKey character(std::string text) { return {Character{std::move(text)}}; }
    static ToolKey named(Named key) { return {key}; }
    static ToolKey enter() { return {Named::enter}; }
    static ToolKey escape() { return {Named::escape}; }
    static ToolKey deletion() { return {Named::remove}; }
    static ToolKey left() { return {Named::left}; }
    static ToolKey right() { return {Named::right}; }
    static ToolKey up() { return {Named::up}; }
    static ToolKey down() { return {Named::down}; }
    static ToolKey bracketLeft() { return {Named::bracketLeft}; }
    static ToolKey bracketRight() { return {Named::bracketRight}; }

    bool is(Named key) const {
        const auto* named = std::get_if<Named>(&value);
        return named != nullptr && *named == key;
    }
    bool operator==(const ToolKey&) const = default;
};

} // namespace ombrel
