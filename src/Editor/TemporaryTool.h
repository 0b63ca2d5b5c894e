// Keys that lend another tool while they are held. Space lends the hand, with Command the zoom
// tool; a letter switches tools, and back when it is released after the other tool was used. A
// value; knows no session.
#pragma once

#include "Tools/ToolKind.h"
#include "Tools/ToolModifiers.h"

#include <optional>

namespace ombrel {

class TemporaryTool {
public:
    void holdSpace() { isSpaceHeld_ = true; }
    void releaseSpace() { isSpaceHeld_ = false; }
    bool isSpaceHeld() const { return isSpaceHeld_; }

    /// The tool lent at present.
    std::optional<ToolKind> kind(ToolModifiers modifiers) const {
        if (!isSpaceHeld_) return std::nullopt;
        return modifiers.contains(ToolModifiers::command) ? ToolKind::zoom : ToolKind::hand;
    }
    /// The modifiers that chose it, and which it does not get.
    ToolModifiers consumed(ToolModifiers modifiers) const {
        return kind(modifiers) == ToolKind::zoom ? ToolModifiers::command : ToolModifiers::none;
    }

    /// A letter is pressed that switches away from `before`.
    void holdLetter(char letter, ToolKind before) { held_ = Letter{letter, before, false}; }
    bool isHeld(char letter) const { return held_ && held_->letter == letter; }
    void noteUse() {
        if (held_) held_->isUsed = true;
    }
    /// The tool to go back to.
    std::optional<ToolKind> releaseLetter(char letter) {
        if (!isHeld(letter)) return std::nullopt;
        const Letter released = *held_;
        held_.reset();
        return released.isUsed ? std::optional(released.before) : std::nullopt;
    }
    /// All keys are up, as when the keyboard goes elsewhere.
    void releaseAll() { *this = {}; }

private:
    struct Letter {
        char letter;
        ToolKind before;
        bool isUsed;
    };

    bool isSpaceHeld_ = false;
    std::optional<Letter> held_;
};

} // namespace ombrel
