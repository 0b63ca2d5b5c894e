#include "Base/FileError.h"

#include <system_error>

namespace ombrel {

std::string FileError::text() const {
    return path.string() + ": " + std::generic_category().message(code);
}

} // namespace ombrel
