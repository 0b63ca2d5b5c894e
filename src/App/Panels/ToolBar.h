// The tools, as the table of tool groups has them: a slot for each section, which shows the tool of
// it that was used last, and the others when it is held down or clicked with the other button; at
// the end the paint colours. Letters that nobody else in the window takes choose tools. Main thread
// only.
#pragma once

#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"
#include "Tools/ToolKind.h"

#include <QToolBar>
#include <memory>
#include <span>
#include <vector>

namespace ombrel {

class ToolBar : public QToolBar {
public:
    explicit ToolBar(const PanelContext& context, QWidget* parent = nullptr);
    ~ToolBar() override;

    bool eventFilter(QObject* watched, QEvent* event) override;

protected:
    void showEvent(QShowEvent* event) override;

private:
    class Slot;

    bool takeLetter(char letter);

    void addSlot(std::span<const ToolKind> tools);
    void refresh();

    std::shared_ptr<DocumentSession> session_;
    std::vector<Slot*> slots_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
