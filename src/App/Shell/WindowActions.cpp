#include "App/Shell/WindowAction.h"

#include <vector>

namespace ombrel {

std::span<const WindowAction> windowActions() {
    static const std::vector<WindowAction> all = [] {
        std::vector<WindowAction> joined;
        for (const auto& part :
             {fileActions(), editActions(), clipboardActions(), settingsActions(), imageActions(),
              layerActions(), layerPropertyActions(), mergeActions(), selectActions(),
              viewActions(), windowMenuActions(), helpActions()})
            joined.insert(joined.end(), part.begin(), part.end());
        return joined;
    }();
    return all;
}

} // namespace ombrel
