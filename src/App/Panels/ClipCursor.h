// The pointer over the border of two layers that a click clips or releases. Main thread only.
#pragma once

#include <QCursor>

namespace ombrel {

const QCursor& clipCursor();

} // namespace ombrel
