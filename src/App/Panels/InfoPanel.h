// What is under the pointer: its colour in the document's numbers and in the screen's, the place in
// pixels and in a unit, the layer; and the facts of the document. The picture is sampled on the
// worker, at most thirty times a second, and only while the pointer moves or the picture changes.
// Main thread only.
#pragma once

#include "App/Panels/FollowingWork.h"
#include "App/Panels/InfoSampling.h"
#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"

#include <QWidget>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class QComboBox;
class QGridLayout;
class QLabel;

namespace ombrel {

class InfoPanel : public QWidget {
public:
    explicit InfoPanel(const PanelContext& context, QWidget* parent = nullptr);
    ~InfoPanel() override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    class Patch;

    void makeChoices(QGridLayout& layout);
    QLabel* addRow(QGridLayout& layout, int row, int column, const char* words, const char* name);
    void followPointer();
    FollowingWork::Job sampling();
    void showPoint(const std::optional<PointInfo>& info);
    void showColor();
    void showPlace();
    void showDocument();
    void set(const char* name, const QString& text);

    std::shared_ptr<DocumentSession> session_;
    Settings& settings_;
    std::map<std::string, QLabel*> labels_;
    Patch* patch_;
    QComboBox* format_;
    QComboBox* unit_;
    std::optional<PointInfo> info_;
    std::optional<Canvas> shownCanvas_;
    std::unique_ptr<InfoEncoding> encoding_; ///< of the canvas's profile
    FollowingWork work_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
