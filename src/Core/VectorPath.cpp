#include "Core/VectorPath.h"

#include <algorithm>

namespace ombrel {

bool VectorPath::isEmpty() const {
    return std::ranges::all_of(subpaths,
                               [](const Subpath& subpath) { return subpath.anchors.empty(); });
}

} // namespace ombrel
