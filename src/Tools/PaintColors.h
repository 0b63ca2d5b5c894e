// The two colours that tools paint with, as they stand in the document's profile.
#pragma once

#include "Core/PremultipliedColor.h"

namespace ombrel {

struct PaintColors {
    PremultipliedColor foreground = PremultipliedColor::black();
    PremultipliedColor background = PremultipliedColor::white();

    bool operator==(const PaintColors&) const = default;
};

} // namespace ombrel
