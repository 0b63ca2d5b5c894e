// The brushes as a list that pops up, over the bar or at the pointer, with the size and hardness of
// the one in use. Closes when a brush is chosen. Main thread only.
#pragma once

#include "App/Brushes/BrushBinding.h"
#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"

#include <QFrame>

namespace ombrel {

class BrushTool;

class BrushList : public QFrame {
public:
    BrushList(const PanelContext& context, BrushTool& tool, QWidget* parent);
    ~BrushList() override;

    /// With its corner there, on the screen, or nearby where it would not fit. Deletes itself.
    void openAt(QPoint place);

private:
    PanelContext context_;
    BrushTool& tool_; ///< lives as long as the session
    BrushBinding binding_;
    QWidget* grid_;
    Connection changes_;
};

} // namespace ombrel
