#include "App/Brushes/PaintBlendBox.h"

#include "App/Look/QtText.h"
#include "App/Panels/BlendModeBox.h"
#include "Tools/BrushForms.h"

#include <QSignalBlocker>

namespace ombrel {

PaintBlendBox::PaintBlendBox(QWidget* parent) : QComboBox(parent) {
    for (const BlendModeName& name : blendModeNames) {
        if (name.mode == BlendMode::passThrough) continue;
        add(PaintBlend{PaintBlend::Blend{name.mode}}, toQt(name.displayName));
        if (name.mode == BlendMode::dissolve) {
            add(PaintBlend{PaintBlend::Behind{}}, QStringLiteral("Behind"));
            add(PaintBlend{PaintBlend::Clear{}}, QStringLiteral("Clear"));
        }
        if (endsBlendModeGroup(name.mode) && name.mode != BlendMode::luminosity)
            insertSeparator(count());
    }
    setMaxVisibleItems(count());
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName(QStringLiteral("Blend mode"));
    setToolTip(QStringLiteral("How paint blends"));
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(8);
    connect(this, &QComboBox::activated, this, [this](int place) {
        const auto blend = paintBlendNamed(fromQt(itemData(place).toString()));
        if (blend && onChoose) onChoose(*blend);
    });
}

void PaintBlendBox::add(const PaintBlend& blend, const QString& title) {
    addItem(title, toQt(rawValueOf(blend)));
}

void PaintBlendBox::setBlend(const PaintBlend& blend) {
    const QSignalBlocker quiet(this);
    setCurrentIndex(findData(toQt(rawValueOf(blend))));
}

} // namespace ombrel
