#include "App/Shell/PenPad.h"

#include "App/Look/Theme.h"

#include <QMouseEvent>
#include <QPainter>
#include <QTabletEvent>

#include <cmath>

namespace ombrel {

namespace {

constexpr double widestLine = 22;

} // namespace

PenPad::PenPad(Settings& settings, QWidget* parent)
    : QWidget(parent), settings_(settings), words_("Draw here to try the pen.") {
    setObjectName("penPad");
    setMinimumHeight(110);
    setCursor(Qt::CrossCursor);
}

void PenPad::resizeEvent(QResizeEvent* /*event*/) {
    lines_ = QPixmap(size() * devicePixelRatioF());
    lines_.setDevicePixelRatio(devicePixelRatioF());
    lines_.fill(Qt::transparent);
}

void PenPad::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Theme::color(ThemeColor::edge));
    painter.setBrush(Theme::color(ThemeColor::field));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), Spacing::corner,
                            Spacing::corner);
    painter.drawPixmap(0, 0, lines_);
    painter.setPen(Theme::color(ThemeColor::dimText));
    painter.drawText(rect().adjusted(Spacing::normal, Spacing::tight, -Spacing::normal, 0),
                     Qt::AlignTop | Qt::AlignLeft, words_);
}

void PenPad::goTo(QPointF place, double pressure, bool begins) {
    if (begins) last_ = place;
    QPainter painter(&lines_);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::color(ThemeColor::text), std::max(0.5, pressure * widestLine),
                        Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(last_, place);
    last_ = place;
    update();
}

void PenPad::tabletEvent(QTabletEvent* event) {
    event->accept();
    const double told = std::clamp(event->pressure(), 0.0, 1.0);
    const bool presses = settings_.get(SettingKeys::penPressure);
    const double used = presses ? std::pow(told, settings_.get(SettingKeys::penFirmness)) : 1;
    words_ = QString("Pressure %1 %, used as %2 %; tilt %3°, %4°")
                 .arg(qRound(told * 100))
                 .arg(qRound(used * 100))
                 .arg(qRound(event->xTilt()))
                 .arg(qRound(event->yTilt()));
    if (event->buttons() != Qt::NoButton)
        goTo(event->position(), used, event->type() == QEvent::TabletPress);
    update();
}

void PenPad::mousePressEvent(QMouseEvent* event) {
    words_ = "A mouse does not press.";
    goTo(event->position(), 0.25, true);
}

void PenPad::mouseMoveEvent(QMouseEvent* event) {
    if (event->buttons() != Qt::NoButton) goTo(event->position(), 0.25, false);
}

} // namespace ombrel
