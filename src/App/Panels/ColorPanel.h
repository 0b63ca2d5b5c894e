// The paint colours to choose: the two wells, of which one is being edited, the editor, a mark
// where the screen lacks the colour, and the colours used lately. What it shows is what is painted:
// the screen's numbers become the document's by its profile, and come back as they were. Main
// thread.
#pragma once

#include "App/Color/RecentColors.h"
#include "App/Panels/PanelCatalog.h"
#include "Tools/PaintColors.h"

#include <QWidget>

class QToolButton;

namespace ombrel {

class ColorEditor;
class ColorWells;
class PickedColor;
class SwatchListModel;

class ColorPanel : public QWidget {
public:
    explicit ColorPanel(const PanelContext& context, QWidget* parent = nullptr);
    ~ColorPanel() override;

private:
    void makeRecent();
    void follow();
    void push(const PickedColor& color);
    void showRecent();
    void takeNearest();

    using Slot = PremultipliedColor PaintColors::*;

    std::shared_ptr<DocumentSession> session_;
    RecentColors recent_;
    ColorWells* wells_;
    ColorEditor* editor_;
    QToolButton* beyond_; ///< shows where the screen lacks the colour
    SwatchListModel* recentModel_;
    Slot slot_ = &PaintColors::foreground;
    std::vector<Connection> connections_;
};

} // namespace ombrel
