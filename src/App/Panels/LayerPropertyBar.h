// Above the list of layers: blend mode, locks and opacity of those that are chosen. Dragging the
// opacity and moving through the blend modes show the result at once and make one history entry.
// Main thread only.
#pragma once

#include "App/Panels/LayerPropertyEdit.h"

#include <QWidget>
#include <array>

class QSlider;
class QSpinBox;
class QToolButton;

namespace ombrel {

class BlendModeBox;

class LayerPropertyBar : public QWidget {
public:
    explicit LayerPropertyBar(std::shared_ptr<DocumentSession> session, QWidget* parent = nullptr);
    ~LayerPropertyBar() override;

    /// Shows the active layer's properties.
    void refresh();

private:
    void buildLocks();
    void buildOpacity();
    void connectBlendMode();
    void connectOpacity();
    void setOpacity(int percent);
    void setBlendMode(BlendMode mode);

    std::shared_ptr<DocumentSession> session_;
    LayerPropertyEdit edit_;
    BlendModeBox* blendMode_;
    std::array<QToolButton*, 4> locks_{};
    QSlider* slider_ = nullptr;
    QSpinBox* spin_ = nullptr;
    bool isRefreshing_ = false;
};

} // namespace ombrel
