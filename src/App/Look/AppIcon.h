// The program's icon, for windows and task switchers: from the drawings that are installed for the
// desktop, so that a program that runs where it was built has it, too. Main thread.
#pragma once

#include <QIcon>

namespace ombrel {

QIcon appIcon();

} // namespace ombrel
