// A panel of the catalogue in its dock. The panel is made when it first stands in front of the tabs
// of its place, and hidden while it stands behind them, so that it costs nothing there. Belongs to
// its dock. Main thread.
#pragma once

#include "App/Panels/PanelCatalog.h"
#include "App/Panels/ScrollBox.h"

class QDockWidget;

namespace ombrel {

class DockedPanel final : public ScrollBox {
public:
    DockedPanel(const PanelDescription& panel, const PanelContext& context, QDockWidget& dock);

    /// Neither hidden nor behind another tab.
    static bool isInFront(const QDockWidget& dock);

private:
    void setInFront(bool isInFront);

    const PanelDescription& panel_;
    PanelContext context_;
};

} // namespace ombrel
