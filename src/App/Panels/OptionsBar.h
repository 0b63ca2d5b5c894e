// Says which tool is in use and offers its options; those that find no room stand behind the arrow
// at its end. Main thread only.
#pragma once

#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"
#include "Tools/ToolKind.h"

#include <QToolBar>
#include <memory>
#include <vector>

class QLabel;

namespace ombrel {

class OptionsBar : public QToolBar {
public:
    explicit OptionsBar(const PanelContext& context, QWidget* parent = nullptr);
    ~OptionsBar() override;

protected:
    void changeEvent(QEvent* event) override;

private:
    void removeOptions();
    void showTool(ToolKind kind);
    void showIcon(ToolKind kind);

    PanelContext context_;
    QLabel* icon_;
    QLabel* name_;
    QWidget* options_ = nullptr;          ///< owns what the options of the tool are made with
    std::vector<QAction*> optionActions_; ///< one an option, with its widget
    Connection toolChanges_;
    Connection settingsChanges_;
};

} // namespace ombrel
