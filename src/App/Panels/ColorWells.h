// The two colours that tools paint with, one before the other, to click and choose; above them a
// button that swaps them (X) and one to have black and white again (D); the keys belong to the
// toolbar. A click asks for a colour, or selects the well where that is edited beside it and only a
// double click asks. Main thread only.
#pragma once

#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"
#include "Tools/PaintColors.h"

#include <QWidget>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

class QToolButton;

namespace ombrel {

class DocumentSession;

class ColorWells : public QWidget {
public:
    using Slot = PremultipliedColor PaintColors::*;
    enum class Click : std::uint8_t { asks, selects };

    ColorWells(const PanelContext& context, Click click, QWidget* parent = nullptr);
    ~ColorWells() override;

    void swap();
    void reset();
    std::function<void(Slot)> onSelect;

private:
    QToolButton* makeWell(const QString& name, Slot slot);
    QToolButton* makeButton(const char* objectName, const char* icon, const QString& words, int key,
                            void (ColorWells::*action)());
    void select(Slot slot);
    void choose(Slot slot, const QString& title);
    void refresh();

    std::shared_ptr<DocumentSession> session_;
    Settings& settings_;
    const Click click_;
    QToolButton* background_; ///< behind
    QToolButton* foreground_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
