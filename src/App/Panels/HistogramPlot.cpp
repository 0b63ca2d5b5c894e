#include "App/Panels/HistogramPlot.h"

#include "App/Look/Theme.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace ombrel {

namespace {

/// Added up where they overlap, so that all three give a gray.
QColor inkOf(ToneChannel channel) {
    switch (channel) {
    case ToneChannel::red:
        return {224, 64, 64};
    case ToneChannel::green:
        return {64, 176, 64};
    case ToneChannel::blue:
        return {72, 104, 232};
    default:
        return Theme::color(ThemeColor::dimText);
    }
}

/// High enough that single steps, as the ends of clipped pictures, do not press all others down.
std::uint64_t heightFor(std::span<const ToneCounts::Bins> bins) {
    std::vector<std::uint64_t> inner;
    std::uint64_t ends = 0;
    for (const ToneCounts::Bins& channel : bins) {
        inner.insert(inner.end(), channel.begin() + 1, channel.end() - 1);
        ends = std::max({ends, channel.front(), channel.back()});
    }
    std::ranges::sort(inner);
    const std::uint64_t high = inner[inner.size() - 1 - inner.size() / 100];
    return high > 0 ? high + high / 10 : std::max(ends, inner.back());
}

} // namespace

HistogramPlot::HistogramPlot(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("histogramPlot"));
    setAccessibleName(QStringLiteral("Histogram"));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void HistogramPlot::setCounts(const ToneCounts& counts) {
    counts_ = counts;
    refresh();
}

void HistogramPlot::setChannel(std::optional<ToneChannel> channel) {
    channel_ = channel;
    refresh();
}

void HistogramPlot::setScale(ToneScale scale) {
    scale_ = scale;
    refresh();
}

std::vector<ToneChannel> HistogramPlot::shownChannels() const {
    if (channel_) return {*channel_};
    return {ToneChannel::red, ToneChannel::green, ToneChannel::blue};
}

void HistogramPlot::refresh() {
    std::vector<ToneCounts::Bins> shown;
    for (const ToneChannel channel : shownChannels()) {
        bins_[static_cast<std::size_t>(channel)] = counts_.binsOf(channel, scale_);
        shown.push_back(bins_[static_cast<std::size_t>(channel)]);
    }
    highest_ = heightFor(shown);
    if (onReadout && line_) onReadout(line_);
    update();
}

void HistogramPlot::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF place = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.fillRect(place, Theme::color(ThemeColor::field));
    painter.setPen(Theme::color(ThemeColor::line));
    for (int quarter = 1; quarter < 4; ++quarter) {
        const double x = place.left() + place.width() * quarter / 4;
        painter.drawLine(QPointF(x, place.top()), QPointF(x, place.bottom()));
    }
    const bool isDark = Theme::current() == ThemeKind::dark;
    if (!channel_)
        painter.setCompositionMode(isDark ? QPainter::CompositionMode_Screen
                                          : QPainter::CompositionMode_Multiply);
    painter.setPen(Qt::NoPen);
    const double step = place.width() / static_cast<double>(ToneCounts::bins);
    for (const ToneChannel channel : shownChannels()) {
        const ToneCounts::Bins& bins = bins_[static_cast<std::size_t>(channel)];
        QPainterPath path(place.bottomLeft());
        for (std::size_t i = 0; i < bins.size() && highest_ > 0; ++i) {
            const double share =
                std::min(1.0, static_cast<double>(bins[i]) / static_cast<double>(highest_));
            const double y = place.bottom() - share * place.height();
            path.lineTo(place.left() + step * static_cast<double>(i), y);
            path.lineTo(place.left() + step * static_cast<double>(i + 1), y);
        }
        path.lineTo(place.bottomRight());
        const QColor ink = inkOf(channel);
        painter.fillPath(path, isDark || channel_ ? ink : ink.lighter(150));
    }
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    if (line_) {
        painter.setPen(Theme::color(ThemeColor::text));
        const double x = place.left() + step * (*line_ + 0.5);
        painter.drawLine(QPointF(x, place.top()), QPointF(x, place.bottom()));
    }
    painter.setBrush(Qt::NoBrush);
    painter.setPen(Theme::color(hasFocus() ? ThemeColor::accent : ThemeColor::edge));
    painter.drawRect(place);
}

void HistogramPlot::read(std::optional<int> step) {
    if (step == line_) return;
    line_ = step;
    if (onReadout) onReadout(line_);
    update();
}

void HistogramPlot::mouseMoveEvent(QMouseEvent* event) {
    const double share = event->position().x() / std::max(1, width());
    read(std::clamp(static_cast<int>(share * ToneCounts::bins), 0, 255));
}

void HistogramPlot::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    read(std::nullopt);
}

void HistogramPlot::focusOutEvent(QFocusEvent* event) {
    QWidget::focusOutEvent(event);
    read(std::nullopt);
}

void HistogramPlot::keyPressEvent(QKeyEvent* event) {
    const int now = line_.value_or(-1);
    switch (event->key()) {
    case Qt::Key_Left:
        return read(std::clamp(now - 1, 0, 255));
    case Qt::Key_Right:
        return read(std::clamp(now + 1, 0, 255));
    case Qt::Key_Home:
        return read(0);
    case Qt::Key_End:
        return read(255);
    default:
        return QWidget::keyPressEvent(event);
    }
}

} // namespace ombrel
