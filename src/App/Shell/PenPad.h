// A pad to try a pen on: draws lines as wide as the pen presses, and tells what the pen tells.
// Shows what the settings make of it. Main thread.
#pragma once

#include "Base/Settings.h"

#include <QPixmap>
#include <QWidget>

namespace ombrel {

class PenPad final : public QWidget {
public:
    PenPad(Settings& settings, QWidget* parent);

    QSize sizeHint() const override { return {360, 130}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void tabletEvent(QTabletEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;

private:
    void goTo(QPointF place, double pressure, bool begins);

    Settings& settings_;
    QPixmap lines_;
    QPointF last_;
    QString words_;
};

} // namespace ombrel
