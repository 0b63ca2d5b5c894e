// Documents as files hold them: layers and masks that were moved as a whole have their tiles where
// they show, and no offset.
#pragma once

#include "Core/Board.h"

namespace ombrel::NativeFormat {

/// Looks the same. Grids without an offset are shared, not copied. Any thread.
Board withoutOffsets(Board board);

} // namespace ombrel::NativeFormat
