// What the status bar tells of a document all the time: the magnification, to change by typing;
// size, depth and profile; and how much memory the tiles take. The memory is looked at a second
// after something changed, again while it keeps changing, and only while it is in view: an idle
// window asks nothing. Main thread only.
#pragma once

#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"
#include "Core/Canvas.h"
#include "Core/TileStore.h"

#include <QTimer>
#include <QWidget>
#include <memory>
#include <optional>
#include <vector>

class QLabel;

namespace ombrel {

class ZoomField;

class StatusFields : public QWidget {
public:
    explicit StatusFields(const PanelContext& context, QWidget* parent = nullptr);
    ~StatusFields() override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void showCanvas(const Canvas& canvas);
    void lookAtMemorySoon();
    void showMemory();

    std::shared_ptr<DocumentSession> session_;
    TileStore& store_;
    Settings& settings_;
    ZoomField* zoom_;
    QLabel* canvas_;
    QLabel* memory_;
    QTimer look_;
    std::optional<Canvas> shownCanvas_;
    std::optional<TileStore::Statistics> shownMemory_;
    std::vector<Connection> connections_;
};

/// "1.5 GB"; in powers of 1024, one digit after the point below ten.
QString memoryText(std::int64_t bytes);

} // namespace ombrel
