// Identifiers for what a script makes without naming it: a sequence that its seed fixes, so that a
// script run twice gives the same document. One user at a time.
#pragma once

#include "Core/Layer.h"

#include <cstdint>

namespace ombrel {

class LayerIDSource {
public:
    explicit LayerIDSource(std::uint64_t seed) : state_(seed) {}

    LayerID next();

private:
    std::uint64_t nextWord(); ///< SplitMix64

    std::uint64_t state_;
};

} // namespace ombrel
