#include "Core/PremultipliedColor.h"

#include <fmt/format.h>

namespace ombrel {

std::string PremultipliedColor::text() const {
    return fmt::format("rgba({:.4f}, {:.4f}, {:.4f}, {:.4f})", red, green, blue, alpha);
}

} // namespace ombrel
