#include "App/Brushes/BrushOptionRow.h"

#include "App/Brushes/BrushBinding.h"
#include "App/Brushes/BrushPicker.h"
#include "App/Brushes/PaintBlendBox.h"
#include "Tools/BrushTool.h"

#include <QAbstractButton>
#include <memory>

namespace ombrel {

ToolOptionRow brushOptions(const PanelContext& context, Tool& any, QWidget* parent) {
    auto& tool = dynamic_cast<BrushTool&>(any);
    const auto binding = std::make_shared<BrushBinding>([&tool] { return &tool.options(); });
    ToolOptionRow row;
    const auto add = [&](const char* name) {
        row.widgets.push_back(
            binding->addField(brushField(name), NumberField::Form::compact, parent));
    };
    auto* picker = new BrushPicker(context, tool, parent);
    row.widgets.push_back(picker);
    add("size");
    if (tool.changesHardness()) add("hardness");
    if (tool.kind() != ToolKind::eraser) {
        auto* blend = new PaintBlendBox(parent);
        blend->setObjectName(QStringLiteral("paintBlend"));
        blend->onChoose = [binding](const PaintBlend& chosen) {
            binding->change([&](BrushSettings& settings) { settings.blend = chosen; });
        };
        binding->addView([blend](const BrushSettings& now) { blend->setBlend(now.blend); });
        row.widgets.push_back(blend);
    }
    for (const char* name : {"opacity", "flow", "smoothing"})
        add(name);
    row.widgets.push_back(binding->addToggle(brushSwitch("pressureSize"), "circle-dot", parent));
    row.widgets.push_back(binding->addToggle(brushSwitch("pressureOpacity"), "droplet", parent));
    row.refresh = [binding, picker] {
        binding->refresh();
        picker->refresh();
    };
    return row;
}

} // namespace ombrel
