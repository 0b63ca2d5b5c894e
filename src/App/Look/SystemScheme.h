// Whether the desktop wants dark or light windows, as its settings portal says. Main thread.
#pragma once

#include "App/Look/Theme.h"

#include <optional>

namespace ombrel::SystemScheme {

/// Nothing where there is no portal or it has no wish. Asks each time, a moment at most, and starts
/// no service for it.
std::optional<ThemeKind> wanted();

} // namespace ombrel::SystemScheme
