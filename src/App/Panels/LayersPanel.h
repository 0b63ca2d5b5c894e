// The layers of the document: to look at, choose, name, order, show and hide, lock, clip and blend.
// What is chosen here is the session's selection of layers, both ways. Main thread only.
#pragma once

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

class QMenu;
class QToolButton;

namespace ombrel {

class LayerPropertyBar;

class LayersPanel : public QWidget {
public:
    explicit LayersPanel(const PanelContext& context, QWidget* parent = nullptr);
    ~LayersPanel() override;

private:
    void buildModel(Executor& worker);
    void buildView();
    QWidget* buildButtons();
    void observeSession();

    void follow(const DocumentState& state);
    void expandNewGroups();
    void chooseActive();
    void showSelection();
    std::set<LayerID> chosenRows() const;
    QItemSelection selectionOf(const std::set<LayerID>& ids) const;
    void takeSelection();
    void refreshControls();
    bool handleKey(const QKeyEvent& event);
    void handlePart(LayerID id, LayerDelegate::Part part);
    void fillMenu(QMenu& menu);
    void renameCurrent();

    std::shared_ptr<DocumentSession> session_;
    LayerThumbnails thumbnails_;
    LayerPropertyEdit eyes_;
    LayerTreeModel* model_;
    LayersView* view_ = nullptr;
    LayerPropertyBar* bar_;
    QToolButton* clipButton_ = nullptr;
    QToolButton* deleteButton_ = nullptr;
    bool isFollowing_ = false; ///< rows and their selection change because the session did
    Canvas canvas_;            ///< that the thumbnails show
    std::optional<LayerID> activeShown_;
    std::vector<QPersistentModelIndex> newRows_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
