// What all selection tools of a document share. A plain value.
#pragma once

#include "Core/SelectionMode.h"

namespace ombrel {

struct SelectionOptions {
    SelectionMode mode = SelectionMode::replace;
    double feather = 0; ///< pixels
    bool antiAlias = true;

    bool operator==(const SelectionOptions&) const = default;
};

} // namespace ombrel
