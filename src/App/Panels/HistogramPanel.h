// The histogram of the picture or of the active layer, with figures. After a change it counts
// samples, a few times a second at most, and every pixel once nothing has changed for a moment, in
// slices on the worker; only while it is in view. Main thread only.
#pragma once

#include "App/Panels/FollowingWork.h"
#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"
#include "Engine/ToneSurvey.h"

#include <QTimer>
#include <QWidget>
#include <optional>
#include <vector>

class QComboBox;
class QLabel;

namespace ombrel {

class HistogramPlot;

class HistogramPanel : public QWidget {
public:
    explicit HistogramPanel(const PanelContext& context, QWidget* parent = nullptr);
    ~HistogramPanel() override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void makeChoices();
    void makeFigures();
    void changed();
    FollowingWork::Job counting(ToneSurvey::Detail detail);
    void take(ToneSurvey::Detail detail, const ToneCounts& counts, std::int64_t pixelsOfSample);
    void showChoice();
    void showFigures();
    void showReadout(std::optional<int> step);
    std::optional<ToneSurvey::Subject> subject() const;
    ToneChannel figureChannel() const;

    std::shared_ptr<DocumentSession> session_;
    Settings& settings_;
    std::shared_ptr<ToneSurvey> survey_; ///< touched by slices only
    QComboBox* channel_;
    QComboBox* source_;
    QComboBox* scale_;
    HistogramPlot* plot_;
    QLabel* figures_;
    QLabel* clipped_;
    QLabel* readout_;
    ToneCounts counts_;
    std::int64_t pixelsOfSample_ = 1;
    QTimer rest_; ///< after the samples, before every pixel
    FollowingWork work_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
