#include "Base/Check.h"

#include <cstdio>
#include <cstdlib>

namespace ombrel {

void checkFailed(const char* condition, std::string_view mustHold,
                 const std::source_location& where) {
    std::fprintf(stderr, "ombrel: check failed: %.*s (%s) at %s:%u\n",
                 static_cast<int>(mustHold.size()), mustHold.data(), condition, where.file_name(),
                 static_cast<unsigned>(where.line()));
    std::abort();
}

} // namespace ombrel
