// What a brush-like tool keeps beside the settings that all of them have. Main thread.
#pragma once

#include "Base/Json.h"

namespace ombrel {

class BrushToolExtras {
public:
    BrushToolExtras() = default;
    virtual ~BrushToolExtras() = default;
    BrushToolExtras(const BrushToolExtras&) = delete;
    BrushToolExtras& operator=(const BrushToolExtras&) = delete;

    virtual Json extras() const = 0;
    /// Takes what it understands, and keeps its own for the rest.
    virtual void restoreExtras(const Json& stored) = 0;
};

} // namespace ombrel
