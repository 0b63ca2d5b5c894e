// Above the list of layers: blend mode, locks and opacity of those that are chosen. Dragging the
// opacity and moving through the blend modes show the result at once and make one history entry.
// Main thread only.
#pragma once

#include "App/Panels/LayerPropertyEdit.h"

#include <QElapsedTimer>
#include <QWidget>
#include <array>
#include <optional>

class QSlider;
class QSpinBox;
class QToolButton;

namespace ombrel {

class BlendModeBox;
class ScrubLabel;

class LayerPropertyBar : public QWidget {
public:
    explicit LayerPropertyBar(std::shared_ptr<DocumentSession> session, QWidget* parent = nullptr);
    ~LayerPropertyBar() override;

    /// Shows the active layer's properties.
    void refresh();
    /// 1 to 9 are tenths of the full opacity, 0 is all of it; two in quick order are a percentage.
    void typeOpacity(int digit);

private:
    void buildLocks();
    void buildOpacity();
    void buildScrubbing();
    void connectBlendMode();
    void connectOpacity();
    void setOpacity(int percent);
    void setBlendMode(BlendMode mode);

    std::shared_ptr<DocumentSession> session_;
    LayerPropertyEdit edit_;
    BlendModeBox* blendMode_;
    std::array<QToolButton*, 4> locks_{};
    ScrubLabel* label_ = nullptr;
    QSlider* slider_ = nullptr;
    QSpinBox* spin_ = nullptr;
    bool isRefreshing_ = false;
    double scrubbedFrom_ = 0;
    std::optional<int> digit_; ///< typed last
    QElapsedTimer sinceDigit_;
};

} // namespace ombrel
