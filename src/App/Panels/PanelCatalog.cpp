#include "App/Panels/PanelCatalog.h"

#include "App/Panels/ColorPanel.h"
#include "App/Panels/HistoryPanel.h"
#include "App/Panels/LayersPanel.h"

#include <array>

namespace ombrel {

namespace {

template <typename Panel>
QWidget* make(const PanelContext& context, QWidget* parent) {
    return new Panel(context, parent); // the parent owns it
}

constexpr std::array<PanelDescription, 3> panels{{
    {"color", "Color", Qt::RightDockWidgetArea, make<ColorPanel>, "color", 250},
    {"layers", "Layers", Qt::RightDockWidgetArea, make<LayersPanel>, "layers"},
    {"history", "History", Qt::RightDockWidgetArea, make<HistoryPanel>, "layers"},
}};

} // namespace

std::span<const PanelDescription> panelCatalog() {
    return panels;
}

} // namespace ombrel
