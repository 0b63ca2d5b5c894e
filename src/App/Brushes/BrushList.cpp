#include "App/Brushes/BrushList.h"

#include "App/Brushes/BrushChoice.h"
#include "App/Brushes/BrushPresetGrid.h"
#include "App/Look/Theme.h"
#include "Editor/BrushPresetStore.h"
#include "Tools/BrushTool.h"

#include <QScreen>
#include <QVBoxLayout>
#include <algorithm>
#include <string_view>

namespace ombrel {

namespace {

constexpr QSize listSize(350, 250);
constexpr int titleWidth = 64;

} // namespace

BrushList::BrushList(const PanelContext& context, BrushTool& tool, QWidget* parent)
    : QFrame(parent, Qt::Popup), context_(context), tool_(tool),
      binding_([&tool] { return &tool.options(); }) {
    setObjectName(QStringLiteral("brushList"));
    setAttribute(Qt::WA_DeleteOnClose);
    setFrameShape(QFrame::StyledPanel);
    auto* fields = new QVBoxLayout;
    fields->setContentsMargins(Spacing::normal, Spacing::tight, Spacing::normal, 0);
    fields->setSpacing(Spacing::hair);
    for (const char* name : {"size", "hardness"}) {
        NumberField* field =
            binding_.addField(brushField(name), NumberField::Form::withSlider, this);
        field->setTitleWidth(titleWidth);
        fields->addWidget(field);
        if (std::string_view(name) == "hardness") field->setEnabled(tool.changesHardness());
    }
    auto* grid = new BrushPresetGrid(
        context.brushes, {context.main, context.worker, context.device, context.store}, this);
    grid->onChoose = [this](const BrushPreset& preset) {
        BrushChoice::putOn(preset, tool_.options(), context_.brushes);
        close();
    };
    grid_ = grid;
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(1, 1, 1, 1);
    rows->setSpacing(Spacing::tight);
    rows->addLayout(fields);
    rows->addWidget(grid, 1);
    changes_ = tool.settingsChanged.connect([this] { binding_.refresh(); });
    binding_.refresh();
    resize(listSize);
    if (const auto used = BrushChoice::presetOf(tool.options(), context.brushes))
        grid->setUsed(used->id);
}

BrushList::~BrushList() = default;

void BrushList::openAt(QPoint place) {
    const QRect room = parentWidget()->screen()->availableGeometry();
    place.setX(std::clamp(place.x(), room.left(), std::max(room.left(), room.right() - width())));
    place.setY(std::clamp(place.y(), room.top(), std::max(room.top(), room.bottom() - height())));
    move(place);
    show();
    grid_->setFocus();
}

} // namespace ombrel
