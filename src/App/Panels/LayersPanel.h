// The layers of the document: to look at, choose, find, name, order, show and hide, lock, clip,
// mask and blend. What is chosen here is the session's selection of layers, both ways; which mask
// receives edits or is looked at is the session's too. Main thread only.
#pragma once

#include "App/Panels/LayerAlone.h"
#include "App/Panels/LayerFilter.h"
#include "App/Panels/LayerPropertyEdit.h"
#include "App/Panels/LayerThumbnails.h"
#include "App/Panels/LayersView.h"
#include "App/Panels/PanelCatalog.h"
#include "Base/Signal.h"
#include "Core/DocumentState.h"

#include <QWidget>
#include <memory>
#include <set>
#include <vector>

class QLabel;
class QMenu;
class QToolButton;

namespace ombrel {

class LayerFilterBar;
class LayerPropertyBar;

class LayersPanel : public QWidget {
public:
    explicit LayersPanel(const PanelContext& context, QWidget* parent = nullptr);
    ~LayersPanel() override;

private:
    void buildModel(Executor& worker);
    void buildView();
    void connectView();
    QWidget* buildButtons();
    void observeSession();

    // The session's layers as rows, and back (LayersPanelFollowing.cpp).
    void follow(const DocumentState& state);
    void expandNewGroups();
    void chooseActive();
    void showSelection();
    std::set<LayerID> chosenRows() const;
    QItemSelection selectionOf(const std::set<LayerID>& ids) const;
    void takeSelection();
    void refreshControls();
    void showFilter();

    bool handleKey(const QKeyEvent& event);
    bool isOurKey(const QKeyEvent& event) const;
    void handlePart(LayerID id, LayerDelegate::Part part, Qt::KeyboardModifiers modifiers);
    void toggleClip(LayerID upper);
    void removeChosen();
    void showMenu(QPoint place);
    void openGroups(bool areOpen);
    void renameCurrent();

    std::shared_ptr<DocumentSession> session_;
    LayerThumbnails thumbnails_;
    LayerPropertyEdit eyes_;
    LayerAlone alone_;
    LayerTreeModel* model_;
    LayersView* view_ = nullptr;
    LayerPropertyBar* bar_;
    LayerFilterBar* filterBar_;
    QLabel* nothing_ = nullptr; ///< said where the filter shows no layer
    LayerFilter filter_;
    QToolButton* clipButton_ = nullptr;
    QToolButton* maskButton_ = nullptr;
    QToolButton* deleteButton_ = nullptr;
    bool isFollowing_ = false; ///< rows and their selection change because the session did
    Canvas canvas_;            ///< that the thumbnails show
    std::optional<LayerID> activeShown_;
    std::vector<QPersistentModelIndex> newRows_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
