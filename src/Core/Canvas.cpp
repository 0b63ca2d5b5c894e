#include "Core/Canvas.h"

#include <fmt/format.h>

namespace ombrel {

std::string textOf(BitDepth depth) {
    return fmt::format("{} bits/channel", bitsPerChannel(depth));
}

} // namespace ombrel
