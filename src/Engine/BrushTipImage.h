// The picture of a brush tip: coverage, a byte a pixel. Made once and shared, never changed.
#pragma once

#include "Base/Uuid.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace ombrel {

struct BrushTipImage {
    Uuid id;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::vector<std::uint8_t> bytes; ///< row by row, width times height of them; 255 paints most

    bool operator==(const BrushTipImage&) const = default;
};

using SharedBrushTip = std::shared_ptr<const BrushTipImage>; ///< null: a round tip

} // namespace ombrel
