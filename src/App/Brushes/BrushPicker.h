// The brush in use as a button of the options bar: its stroke and its name; a press lets another
// one be chosen. Main thread only.
#pragma once

#include "App/Brushes/BrushPreviews.h"
#include "App/Panels/PanelCatalog.h"

#include <QToolButton>

namespace ombrel {

class BrushTool;

class BrushPicker : public QToolButton {
public:
    BrushPicker(const PanelContext& context, BrushTool& tool, QWidget* parent = nullptr);
    ~BrushPicker() override;

    void refresh();
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void open();

    PanelContext context_;
    BrushTool& tool_; ///< lives as long as the session
    BrushPreviews previews_;
    QImage shown_; ///< until the next is ready
};

} // namespace ombrel
