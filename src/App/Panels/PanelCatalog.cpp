#include "App/Panels/PanelCatalog.h"

#include "App/Brushes/BrushPanel.h"
#include "App/Panels/ColorPanel.h"
#include "App/Panels/HistogramPanel.h"
#include "App/Panels/HistoryPanel.h"
#include "App/Panels/InfoPanel.h"
#include "App/Panels/LayersPanel.h"
#include "App/Panels/NavigatorPanel.h"
#include "App/Panels/SwatchesPanel.h"

#include <array>

namespace ombrel {

namespace {

template <typename Panel>
QWidget* make(const PanelContext& context, QWidget* parent) {
    return new Panel(context, parent); // the parent owns it
}

constexpr std::array<PanelDescription, 8> panels{{
    {"navigator", "Navigator", Qt::RightDockWidgetArea, make<NavigatorPanel>, 64, "view", 208},
    {"info", "Info", Qt::RightDockWidgetArea, make<InfoPanel>, 64, "view"},
    {"histogram", "Histogram", Qt::RightDockWidgetArea, make<HistogramPanel>, 64, "view"},
    {"color", "Color", Qt::RightDockWidgetArea, make<ColorPanel>, 76, "color", 244, "F6"},
    {"swatches", "Swatches", Qt::RightDockWidgetArea, make<SwatchesPanel>, 76, "color"},
    {"layers", "Layers", Qt::RightDockWidgetArea, make<LayersPanel>, 172, "layers", 0, "F7"},
    {"history", "History", Qt::RightDockWidgetArea, make<HistoryPanel>, 172, "layers"},
    {"brushes", "Brushes", Qt::RightDockWidgetArea, make<BrushPanel>, 172, "layers"},
}};

} // namespace

std::span<const PanelDescription> panelCatalog() {
    return panels;
}

} // namespace ombrel
