// The one macro for programming errors. A failed check prints what must hold, where, and stops the
// process, in release builds too. Damaged input is never a programming error: that is a value of
// std::expected.
#pragma once

#include <source_location>
#include <string_view>

namespace ombrel {

[[noreturn]] void checkFailed(const char* condition, std::string_view mustHold,
                              const std::source_location& where = std::source_location::current());

} // namespace ombrel

#define OMBREL_CHECK(condition, mustHold)                                                          \
    (static_cast<bool>(condition) ? static_cast<void>(0)                                           \
                                  : ::ombrel::checkFailed(#condition, mustHold))
