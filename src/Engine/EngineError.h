// Why a picture could not be computed, in words for the user.
#pragma once

#include <string>

namespace ombrel {

struct EngineError {
    enum class Kind { missingShaderSource, missingFunction, commandBufferFailed, outOfMemory };

    Kind kind = Kind::commandBufferFailed;
    std::string detail; ///< the name or text the message carries; unused for outOfMemory

    std::string text() const;
    bool operator==(const EngineError&) const = default;
};

} // namespace ombrel
