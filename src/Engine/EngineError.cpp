#include "Engine/EngineError.h"

namespace ombrel {

std::string EngineError::text() const {
    switch (kind) {
    case Kind::missingShaderSource:
        return "Shader source " + detail + ".metal is missing from the app bundle.";
    case Kind::missingFunction:
        return "Shader function " + detail + " is missing.";
    case Kind::commandBufferFailed:
        return "GPU command failed: " + detail;
    case Kind::outOfMemory:
        return "Not enough GPU memory.";
    case Kind::cancelled:
        return "Cancelled.";
    }
    return {};
}

} // namespace ombrel
