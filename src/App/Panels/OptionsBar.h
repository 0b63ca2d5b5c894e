// Says which tool is in use and offers its options. Main thread only.
#pragma once

#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"
#include "Tools/ToolKind.h"

#include <QToolBar>
#include <memory>
#include <vector>

class QHBoxLayout;
class QLabel;

namespace ombrel {

class OptionsBar : public QToolBar {
public:
    explicit OptionsBar(const PanelContext& context, QWidget* parent = nullptr);
    ~OptionsBar() override;

protected:
    void changeEvent(QEvent* event) override;

private:
    void showTool(ToolKind kind);
    void showIcon(ToolKind kind);

    PanelContext context_;
    QLabel* icon_;
    QLabel* name_;
    QHBoxLayout* layout_;
    QWidget* options_ = nullptr; ///< of the tool that is shown
    Connection toolChanges_;
    Connection settingsChanges_;
};

} // namespace ombrel
