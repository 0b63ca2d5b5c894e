#include "App/Panels/ToolOptions.h"

#include "App/Brushes/BrushOptionRow.h"
#include "App/Look/QtText.h"
#include "App/Panels/ViewChange.h"
#include "Editor/DocumentSession.h"
#include "Tools/EyedropperTool.h"
#include "Tools/MoveTool.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <algorithm>
#include <array>

namespace ombrel {

namespace {

QComboBox* choice(const char* name, const QStringList& titles, QWidget* parent) {
    auto* box = new QComboBox(parent);
    box->setObjectName(QLatin1String(name));
    box->addItems(titles);
    box->setFocusPolicy(Qt::TabFocus);
    return box;
}

ToolOptionRow moveOptions(const PanelContext& /*context*/, Tool& any, QWidget* parent) {
    auto& tool = dynamic_cast<MoveTool&>(any);
    auto* select = new QCheckBox(QStringLiteral("Auto-select"), parent);
    select->setObjectName(QStringLiteral("autoSelect"));
    select->setFocusPolicy(Qt::TabFocus);
    auto* target =
        choice("autoSelectTarget", {QStringLiteral("Layer"), QStringLiteral("Group")}, parent);
    target->setAccessibleName(QStringLiteral("What is selected"));
    QObject::connect(select, &QCheckBox::toggled, parent, [&tool, target](bool isOn) {
        MoveTool::Settings settings = tool.settings();
        settings.autoSelect = isOn;
        tool.setSettings(settings);
        target->setEnabled(isOn);
    });
    QObject::connect(target, &QComboBox::activated, parent, [&tool](int place) {
        MoveTool::Settings settings = tool.settings();
        settings.target = place == 0 ? HitKind::layer : HitKind::group;
        tool.setSettings(settings);
    });
    const auto refresh = [&tool, select, target] {
        const QSignalBlocker quiet(select);
        select->setChecked(tool.settings().autoSelect);
        target->setEnabled(tool.settings().autoSelect);
        target->setCurrentIndex(tool.settings().target == HitKind::layer ? 0 : 1);
    };
    return {{select, target}, refresh};
}

ToolOptionRow eyedropperOptions(const PanelContext& /*context*/, Tool& any, QWidget* parent) {
    auto& tool = dynamic_cast<EyedropperTool&>(any);
    QStringList titles;
    for (const EyedropperTool::SampleSize& size : EyedropperTool::sampleSizes)
        titles += toQt(size.title);
    auto* size = choice("sampleSize", titles, parent);
    size->setAccessibleName(QStringLiteral("Sample size"));
    auto* source = choice("sampleSource",
                          {QStringLiteral("All Layers"), QStringLiteral("Current Layer")}, parent);
    source->setAccessibleName(QStringLiteral("Sampled layers"));
    QObject::connect(size, &QComboBox::activated, parent, [&tool](int place) {
        EyedropperTool::Settings settings = tool.settings();
        settings.sampleSide = EyedropperTool::sampleSizes[static_cast<std::size_t>(place)].side;
        tool.setSettings(settings);
    });
    QObject::connect(source, &QComboBox::activated, parent, [&tool](int place) {
        EyedropperTool::Settings settings = tool.settings();
        settings.source = static_cast<EyedropperTool::Source>(place);
        tool.setSettings(settings);
    });
    const auto refresh = [&tool, size, source] {
        for (std::size_t i = 0; i < EyedropperTool::sampleSizes.size(); ++i) {
            if (EyedropperTool::sampleSizes[i].side == tool.settings().sampleSide)
                size->setCurrentIndex(static_cast<int>(i));
        }
        source->setCurrentIndex(static_cast<int>(tool.settings().source));
    };
    return {{new QLabel(QStringLiteral("Sample"), parent), size, source}, refresh};
}

QPushButton* viewButton(const PanelContext& context, const char* name, const QString& words,
                        void (CanvasNavigation::*change)(), QWidget* parent) {
    auto* button = new QPushButton(words, parent);
    button->setObjectName(QLatin1String(name));
    button->setFocusPolicy(Qt::TabFocus);
    QObject::connect(button, &QPushButton::clicked, parent, [session = context.session, change] {
        changeView(*session, [change](CanvasNavigation& view) { (view.*change)(); });
    });
    return button;
}

ToolOptionRow viewOptions(const PanelContext& context, Tool& /*tool*/, QWidget* parent) {
    return {{viewButton(context, "fitView", QStringLiteral("Fit"), &CanvasNavigation::zoomToFit,
                        parent),
             viewButton(context, "fullSize", QStringLiteral("100 %"),
                        &CanvasNavigation::actualPixels, parent)},
            {}};
}

ToolOptionRow rotateOptions(const PanelContext& context, Tool& /*tool*/, QWidget* parent) {
    return {{viewButton(context, "uprightView", QStringLiteral("Reset"),
                        &CanvasNavigation::resetRotation, parent)},
            {}};
}

struct ToolOptionMaker {
    ToolKind kind;
    ToolOptionRow (*make)(const PanelContext& context, Tool& tool, QWidget* parent);
};

constexpr std::array<ToolOptionMaker, 8> makers{{
    {ToolKind::move, moveOptions},
    {ToolKind::eyedropper, eyedropperOptions},
    {ToolKind::hand, viewOptions},
    {ToolKind::zoom, viewOptions},
    {ToolKind::rotateView, rotateOptions},
    {ToolKind::brush, brushOptions},
    {ToolKind::pencil, brushOptions},
    {ToolKind::eraser, brushOptions},
}};

} // namespace

ToolOptionRow makeToolOptions(const PanelContext& context, Tool& tool, QWidget* parent) {
    const auto* maker = std::ranges::find(makers, tool.kind(), &ToolOptionMaker::kind);
    if (maker == makers.end()) return {};
    ToolOptionRow row = maker->make(context, tool, parent);
    if (row.refresh) row.refresh();
    return row;
}

} // namespace ombrel
