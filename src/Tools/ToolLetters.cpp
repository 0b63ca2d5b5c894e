#include "Tools/ToolLetters.h"

#include <utility>

namespace ombrel {

namespace {

ToolLetters::Changes& present() {
    static ToolLetters::Changes changes;
    return changes;
}

} // namespace

void ToolLetters::change(Changes changes) {
    present() = std::move(changes);
}

std::optional<char> ToolLetters::of(ToolKind kind) {
    const auto changed = present().find(kind);
    return changed != present().end() ? changed->second : descriptionOf(kind).letter;
}

} // namespace ombrel
