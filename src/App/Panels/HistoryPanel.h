// The undo list to look at and to walk in: the present entry is marked, what was undone is grey,
// and choosing an entry by mouse or keyboard goes there. Main thread only.
#pragma once

#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"

#include <QWidget>
#include <memory>

class QListView;

namespace ombrel {

class History;
class HistoryListModel;

class HistoryPanel : public QWidget {
public:
    explicit HistoryPanel(const PanelContext& context, QWidget* parent = nullptr);
    ~HistoryPanel() override;

private:
    void follow(const History& history);
    void showPresent();
    void jumpTo(int row);
    void showMenu(QPoint place);

    std::shared_ptr<DocumentSession> session_;
    HistoryListModel* model_;
    QListView* list_;
    bool isFollowing_ = false; ///< rows change because the session's history did
    Connection historyChanges_;
};

} // namespace ombrel
