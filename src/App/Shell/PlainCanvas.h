// A document's picture in a widget, drawn on the processor: wheel zooms, dragging moves.
#pragma once

#include "App/Canvas/RasterPresenter.h"
#include "App/Shell/AppServices.h"
#include "Editor/DocumentSession.h"
#include "Engine/RenderActor.h"

#include <QWidget>

#include <memory>
#include <vector>

namespace ombrel {

class PlainCanvas final : public QWidget {
public:
    PlainCanvas(std::shared_ptr<DocumentSession> session, AppServices& services, QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    void ask();
    void arrive(Frame frame);

    std::shared_ptr<DocumentSession> session_;
    AppServices& services_;
    RasterPresenter presenter_;
    std::unique_ptr<RenderActor> actor_;
    std::vector<Connection> connections_;
    bool isFitted_ = false;
};

} // namespace ombrel
