// Why a picture could not be computed, in words for the user.
#pragma once

#include <string>

namespace ombrel {

struct EngineError {
    enum class Kind {
        missingShaderSource,
        missingFunction,
        commandBufferFailed,
        outOfMemory,
        cancelled, ///< the caller's Progress was cancelled; nothing to tell the user
    };

    Kind kind = Kind::commandBufferFailed;
    std::string detail; ///< the name or text the message carries; unused for the last two

    static EngineError cancelled() { return {Kind::cancelled, {}}; }

    std::string text() const;
    bool operator==(const EngineError&) const = default;
};

} // namespace ombrel
