// A box to choose how paint blends: the modes of layers, and painting behind and clearing, which
// only paint has. Tells only of what the user does. Main thread only.
#pragma once

#include "Engine/StrokeStyle.h"

#include <QComboBox>
#include <functional>

namespace ombrel {

class PaintBlendBox : public QComboBox {
public:
    explicit PaintBlendBox(QWidget* parent = nullptr);

    std::function<void(const PaintBlend&)> onChoose;

    void setBlend(const PaintBlend& blend); ///< in silence

private:
    void add(const PaintBlend& blend, const QString& title);
};

} // namespace ombrel
