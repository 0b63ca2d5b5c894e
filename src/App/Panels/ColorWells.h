// The two colours that tools paint with, one before the other, to click and choose; above them a
// button that swaps them (X) and one to have black and white again (D); the keys belong to the bar
// that they stand in. Main thread only.
#pragma once

#include "Base/Signal.h"
#include "Tools/PaintColors.h"

#include <QWidget>
#include <memory>
#include <vector>

class QToolButton;

namespace ombrel {

class DocumentSession;

class ColorWells : public QWidget {
public:
    explicit ColorWells(std::shared_ptr<DocumentSession> session, QWidget* parent = nullptr);
    ~ColorWells() override;

    void swap();
    void reset();

private:
    using Slot = PremultipliedColor PaintColors::*;

    QToolButton* makeWell(const QString& name, Slot slot);
    QToolButton* makeButton(const char* objectName, const char* icon, const QString& words, int key,
                            void (ColorWells::*action)());
    void choose(Slot slot, const QString& title);
    void refresh();

    std::shared_ptr<DocumentSession> session_;
    QToolButton* background_; ///< behind
    QToolButton* foreground_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
