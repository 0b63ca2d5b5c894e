#include "App/Panels/DockedPanel.h"

#include <QDockWidget>
#include <QMainWindow>

namespace ombrel {

DockedPanel::DockedPanel(const PanelDescription& panel, const PanelContext& context,
                         QDockWidget& dock)
    : ScrollBox(panel.leastHeight, &dock), panel_(panel), context_(context) {
    const auto follow = [this, &dock] { setInFront(isInFront(dock)); };
    connect(&dock, &QDockWidget::visibilityChanged, this, follow);
    connect(&dock, &QDockWidget::topLevelChanged, this, follow);
}

// The toolkit keeps docks that are behind a tab shown, but far outside of the window.
bool DockedPanel::isInFront(const QDockWidget& dock) {
    const QRect place = dock.geometry();
    return dock.isVisible() && (dock.isFloating() || (place.right() >= 0 && place.bottom() >= 0));
}

void DockedPanel::setInFront(bool isInFront) {
    if (widget() == nullptr) {
        if (isInFront) setContent(panel_.make(context_, this));
        return;
    }
    // Keys would else go on to what nobody sees, or to whatever comes next.
    if (!isInFront && widget()->isAncestorOf(window()->focusWidget())) {
        const auto* around = qobject_cast<QMainWindow*>(window());
        if (around != nullptr && around->centralWidget() != nullptr)
            around->centralWidget()->setFocus();
    }
    widget()->setVisible(isInFront);
}

} // namespace ombrel
