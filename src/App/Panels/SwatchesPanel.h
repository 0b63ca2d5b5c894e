// The user's swatches: a set at a time as a grid. A click takes a colour as foreground, with Alt as
// background; the foreground is added, swatches are named, deleted and dragged into another order,
// sets are made, renamed and deleted, and palette files come in and go out. Main thread only.
#pragma once

#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"
#include "IO/Swatches.h"

#include <QWidget>
#include <filesystem>
#include <functional>
#include <vector>

class QComboBox;
class QMenu;
class QToolButton;

namespace ombrel {

class SwatchLibrary;
class SwatchListModel;
class SwatchView;

class SwatchesPanel : public QWidget {
public:
    explicit SwatchesPanel(const PanelContext& context, QWidget* parent = nullptr);
    SwatchesPanel(const PanelContext& context, SwatchLibrary& library, QWidget* parent);
    ~SwatchesPanel() override;

    /// Adds what the file holds as sets of their own; tells what is wrong in the status area.
    void importFile(const std::filesystem::path& file);
    void exportFile(const std::filesystem::path& file);

    /// Asks for a line of text; by a dialog unless somebody else is set to.
    std::function<void(const QString& title, const QString& before,
                       std::function<void(const QString&)> answer)>
        onAsk;

private:
    void makeBar();
    void makeMenu(QMenu& menu);
    void showSwatchMenu(QPoint place);
    void follow();
    void changeSet(const std::function<void(SwatchSet&)>& change);
    void choose(int row, bool isForBackground);
    void addForeground();
    void removeCurrent();
    void renameCurrent();
    void move(int from, int before);
    void newSet();
    void renameSet();
    void deleteSet();
    void askForFile(bool isExport);
    void tell(const std::string& words);
    int currentRow() const; ///< -1 where none is selected

    std::shared_ptr<DocumentSession> session_;
    Settings& settings_;
    SwatchLibrary& library_;
    QComboBox* set_;
    QToolButton* remove_ = nullptr;
    SwatchListModel* model_;
    SwatchView* view_;
    bool isFollowing_ = false;
    std::vector<Connection> connections_;
};

} // namespace ombrel
