// The navigator: the whole picture small and what of it the canvas shows, with the magnification to
// drag and to type. The picture follows edits a few times a second, made in slices on the worker
// from samples of the layers, so that the canvas does not wait for it; and only while it is in
// view. Main thread only.
#pragma once

#include "App/Panels/FollowingWork.h"
#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"
#include "Core/Geometry.h"
#include "Core/ViewTransform.h"

#include <QImage>
#include <QWidget>
#include <vector>

class QLabel;
class QSlider;
class QToolButton;

namespace ombrel {

class NavigatorView;
class SmallPicture;
struct DocumentState;

class NavigatorPanel : public QWidget {
public:
    explicit NavigatorPanel(const PanelContext& context, QWidget* parent = nullptr);
    ~NavigatorPanel() override;

    bool isUpToDate() const { return !work_.isBusy(); }

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    struct Making;

    void makeBar();
    void followState(const DocumentState& state);
    void followView(const ViewTransform& view);
    FollowingWork::Job makingPicture();
    void zoomTo(double magnification);

    std::shared_ptr<DocumentSession> session_;
    std::shared_ptr<Making> making_; ///< touched by slices only, and between them
    NavigatorView* view_;
    QSlider* zoom_;
    QToolButton* turn_; ///< shows the angle and turns the view back; hidden where there is none
    FollowingWork work_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
