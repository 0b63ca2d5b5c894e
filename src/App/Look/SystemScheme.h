// Whether the desktop wants dark or light windows, as its settings portal says. Nobody waits for
// it: what is known holds until the answer comes. Main thread.
#pragma once

#include "App/Look/Theme.h"

#include <functional>

class QObject;

namespace ombrel::SystemScheme {

/// The last answer, or what was set. Dark at first, and where the desktop has no wish: pictures are
/// best judged in dark surroundings.
ThemeKind known();
void setKnown(ThemeKind kind); ///< as it was last time

/// Starts no service for it. `onChange` is called, at once or later, if the answer is another than
/// what is known; never once `context` is gone.
void ask(QObject& context, std::function<void()> onChange);

} // namespace ombrel::SystemScheme
