// A histogram as a drawing: one channel, or red, green and blue over each other. A line follows the
// pointer or the arrow keys, and what lies under it is told. Main thread only.
#pragma once

#include "Engine/ToneCounts.h"

#include <QWidget>
#include <functional>
#include <optional>
#include <span>

namespace ombrel {

class HistogramPlot : public QWidget {
public:
    explicit HistogramPlot(QWidget* parent = nullptr);

    void setCounts(const ToneCounts& counts);
    /// Luminance, red, green or blue; nothing: the three over each other.
    void setChannel(std::optional<ToneChannel> channel);
    void setScale(ToneScale scale);

    /// The step under the line, 0 to 255; nothing when the line is gone.
    std::function<void(std::optional<int>)> onReadout;

    QSize sizeHint() const override { return {220, 100}; }
    QSize minimumSizeHint() const override { return {120, 48}; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void refresh();
    void read(std::optional<int> step);
    std::vector<ToneChannel> shownChannels() const;

    ToneCounts counts_;
    std::optional<ToneChannel> channel_ = ToneChannel::luminance;
    ToneScale scale_ = ToneScale::perceptual;
    std::array<ToneCounts::Bins, toneChannelCount> bins_{};
    std::uint64_t highest_ = 0; ///< what reaches the top
    std::optional<int> line_;
};

} // namespace ombrel
