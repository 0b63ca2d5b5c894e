#include "App/Panels/LayersPanel.h"

#include "App/Look/Icons.h"
#include "App/Look/Theme.h"
#include "App/Panels/LayerActions.h"
#include "App/Panels/LayerPropertyBar.h"
#include "App/Panels/LayerSelection.h"
#include "App/Panels/LayerTreeModel.h"
#include "Editor/DocumentSession.h"

#include <QHBoxLayout>
#include <QItemSelection>
#include <QKeyEvent>
#include <QMenu>
#include <QToolButton>
#include <algorithm>
#include <array>

namespace ombrel {

namespace {

using Action = void (*)(DocumentSession&);

struct PanelKey {
    int key;
    Qt::KeyboardModifiers modifiers;
    Action action;
};

constexpr std::array<PanelKey, 7> panelKeys{{
    {Qt::Key_Delete, Qt::NoModifier, LayerActions::remove},
    {Qt::Key_Backspace, Qt::NoModifier, LayerActions::remove},
    {Qt::Key_Space, Qt::NoModifier, LayerActions::toggleVisibility},
    {Qt::Key_G, Qt::ControlModifier, LayerActions::group},
    {Qt::Key_G, Qt::ControlModifier | Qt::ShiftModifier, LayerActions::ungroup},
    {Qt::Key_G, Qt::ControlModifier | Qt::AltModifier, LayerActions::toggleClipping},
    {Qt::Key_J, Qt::ControlModifier, LayerActions::duplicate},
}};

struct PanelButton {
    const char* objectName;
    const char* words;
    const char* icon;
    Action action;
};

constexpr std::array<PanelButton, 5> panelButtons{{
    {"clip", "Clip to the layer below", "corner-left-down", LayerActions::toggleClipping},
    {"newGroup", "New group", "folder-plus", LayerActions::addGroup},
    {"newLayer", "New layer", "plus", LayerActions::addLayer},
    {"duplicate", "Duplicate", "copy", LayerActions::duplicate},
    {"delete", "Delete", "trash-2", LayerActions::remove},
}};

} // namespace

LayersPanel::LayersPanel(const PanelContext& context, QWidget* parent)
    : QWidget(parent), session_(context.session), thumbnails_(context.main, context.worker),
      eyes_(session_), model_(new LayerTreeModel(this)),
      bar_(new LayerPropertyBar(session_, this)) {
    buildModel(context.worker);
    buildView();
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(bar_);
    rows->addWidget(view_, 1);
    rows->addWidget(buildButtons());
    observeSession();
}

LayersPanel::~LayersPanel() = default;

void LayersPanel::buildModel(Executor& worker) {
    model_->perform = [this](const Command& command) { session_->perform(command); };
    model_->onPictureChange = [this](LayerID id) { thumbnails_.markOld(id); };
    model_->onRemoval = [this](LayerID id) { thumbnails_.forget(id); };
    model_->discard = [&worker](DocumentState state) {
        worker.post([state = std::move(state)] { static_cast<void>(state); });
    };
    thumbnails_.onReady = [this](LayerID id) { view_->update(model_->indexOf(id)); };
    connect(model_, &QAbstractItemModel::rowsInserted, this,
            [this](const QModelIndex& above, int first, int last) {
                for (int row = first; row <= last; ++row)
                    newRows_.emplace_back(
                        model_->index(row, LayerTreeModel::visibilityColumn, above));
            });
}

void LayersPanel::buildView() {
    auto* delegate = new LayerDelegate(*model_, thumbnails_, *session_, this);
    view_ = new LayersView(*model_, *delegate, this);
    view_->setObjectName(QStringLiteral("layerTree"));
    view_->setAccessibleName(QStringLiteral("Layers"));
    view_->setItemDelegate(delegate);
    view_->setContextMenuPolicy(Qt::CustomContextMenu);
    view_->onEyesBegin = [this] { eyes_.begin(); };
    view_->onEye = [this](LayerID id, bool isVisible) {
        eyes_.change(std::array{id}, [isVisible](LayerProperties& properties) {
            properties.isVisible = isVisible;
        });
    };
    view_->onEyesEnd = [this] { eyes_.commit("Layer Visibility"); };
    view_->onPart = [this](LayerID id, LayerDelegate::Part part) { handlePart(id, part); };
    view_->onKey = [this](const QKeyEvent& event) { return handleKey(event); };
    connect(view_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { takeSelection(); });
    connect(view_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { takeSelection(); });
    connect(view_, &QWidget::customContextMenuRequested, this, [this](QPoint place) {
        auto* menu = new QMenu(this);
        menu->setAttribute(Qt::WA_DeleteOnClose);
        fillMenu(*menu);
        menu->popup(view_->viewport()->mapToGlobal(place));
    });
}

QWidget* LayersPanel::buildButtons() {
    auto* bar = new QWidget(this);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(Spacing::normal, Spacing::tight, Spacing::normal, Spacing::tight);
    layout->setSpacing(Spacing::hair);
    layout->addStretch();
    for (const PanelButton& description : panelButtons) {
        auto* button = new QToolButton(bar);
        button->setObjectName(QLatin1String(description.objectName));
        button->setAutoRaise(true);
        button->setIcon(icon(description.icon));
        button->setToolTip(QLatin1String(description.words));
        button->setAccessibleName(button->toolTip());
        connect(button, &QToolButton::clicked, this,
                [this, action = description.action] { action(*session_); });
        layout->addWidget(button);
    }
    clipButton_ = bar->findChild<QToolButton*>(QStringLiteral("clip"));
    clipButton_->setCheckable(true);
    deleteButton_ = bar->findChild<QToolButton*>(QStringLiteral("delete"));
    return bar;
}

void LayersPanel::observeSession() {
    const auto showTarget = [this](const auto&) { view_->viewport()->update(); };
    connections_.push_back(
        session_->_state.observe([this](const DocumentState& state) { follow(state); }));
    connections_.push_back(session_->_selectedLayerIDs.onChange([this](const auto&) {
        if (isFollowing_) return;
        showSelection();
        refreshControls();
    }));
    connections_.push_back(session_->_maskTargetID.onChange(showTarget));
}

void LayersPanel::follow(const DocumentState& state) {
    if (state.canvas != canvas_) {
        canvas_ = state.canvas;
        thumbnails_.markAllOld();
        view_->viewport()->update();
    }
    isFollowing_ = true;
    model_->follow(state);
    isFollowing_ = false;
    expandNewGroups();
    chooseActive();
    showSelection();
    refreshControls();
}

void LayersPanel::expandNewGroups() {
    for (const QPersistentModelIndex& row : std::exchange(newRows_, {})) {
        if (row.isValid() && model_->node(row)->group() != nullptr) view_->expand(row);
    }
}

// What a command made active it also chose, alone.
void LayersPanel::chooseActive() {
    const DocumentState& state = *session_->_state;
    const std::optional<LayerID> active =
        state.activeLayer() != nullptr ? state.activeLayerID : std::nullopt;
    std::set<LayerID> chosen;
    for (const LayerID id : *session_->_selectedLayerIDs) {
        if (model_->indexOf(id).isValid()) chosen.insert(id);
    }
    if (active && (chosen.empty() || (active != activeShown_ && !chosen.contains(*active))))
        chosen = {*active};
    isFollowing_ = true;
    session_->_selectedLayerIDs.set(std::move(chosen));
    isFollowing_ = false;
    if (active == activeShown_) return;
    activeShown_ = active;
    if (active) view_->scrollTo(model_->indexOf(*active));
}

std::set<LayerID> LayersPanel::chosenRows() const {
    std::set<LayerID> chosen;
    for (const QItemSelectionRange& range : view_->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row)
            chosen.insert(*model_->id(model_->index(row, 0, range.parent())));
    }
    return chosen;
}

// Neighbours are one range: a selection compares its ranges with each other.
QItemSelection LayersPanel::selectionOf(const std::set<LayerID>& ids) const {
    QModelIndexList rows;
    for (const LayerID id : ids) {
        const QModelIndex row = model_->indexOf(id, LayerTreeModel::visibilityColumn);
        if (row.isValid()) rows.push_back(row);
    }
    std::ranges::sort(rows, {}, [](const QModelIndex& row) {
        return std::pair(row.parent().internalId(), row.row());
    });
    QItemSelection selection;
    for (auto first = rows.begin(); first != rows.end();) {
        auto last = first;
        while (last + 1 != rows.end() && (last + 1)->row() == last->row() + 1 &&
               (last + 1)->parent() == last->parent())
            ++last;
        selection.select(*first, last->siblingAtColumn(LayerTreeModel::layerColumn));
        first = last + 1;
    }
    return selection;
}

void LayersPanel::showSelection() {
    QItemSelection selection;
    for (const LayerID id : *session_->_selectedLayerIDs) {
        const QModelIndex row = model_->indexOf(id, LayerTreeModel::visibilityColumn);
        if (row.isValid()) selection.select(row, row.siblingAtColumn(LayerTreeModel::layerColumn));
    }
    const std::optional<LayerID> active = session_->_state->activeLayerID;
    const QModelIndex current = active ? model_->indexOf(*active) : QModelIndex();
    QItemSelectionModel& rows = *view_->selectionModel();
    isFollowing_ = true;
    if (rows.currentIndex().siblingAtColumn(LayerTreeModel::layerColumn) != current)
        rows.setCurrentIndex(current, QItemSelectionModel::NoUpdate);
    // A click that is under way builds on what is selected: that is touched only to be changed.
    if (chosenRows() != *session_->_selectedLayerIDs)
        rows.select(selectionOf(*session_->_selectedLayerIDs), QItemSelectionModel::ClearAndSelect);
    isFollowing_ = false;
}

void LayersPanel::takeSelection() {
    if (isFollowing_) return;
    const std::set<LayerID> chosen = chosenRows();
    if (chosen.empty() || *session_->_isLiveEditing) return showSelection();
    isFollowing_ = true;
    session_->_selectedLayerIDs.set(chosen);
    isFollowing_ = false;
    std::optional<LayerID> active = model_->id(view_->currentIndex());
    if (!active || !chosen.contains(*active)) active = session_->_state->activeLayerID;
    if (!active || !chosen.contains(*active)) active = *chosen.begin();
    activeShown_ = active;
    if (active != session_->_state->activeLayerID) {
        session_->setActiveLayer(*active);
    } else {
        refreshControls();
    }
}

void LayersPanel::refreshControls() {
    bar_->refresh();
    const LayerSelection layers(*session_);
    clipButton_->setEnabled(layers.canClip());
    clipButton_->setChecked(layers.areClipped());
    deleteButton_->setEnabled(layers.canRemove());
}

bool LayersPanel::handleKey(const QKeyEvent& event) {
    for (const PanelKey& key : panelKeys) {
        if (key.key != event.key() || key.modifiers != event.modifiers()) continue;
        key.action(*session_);
        return true;
    }
    return false;
}

void LayersPanel::handlePart(LayerID id, LayerDelegate::Part part) {
    using Part = LayerDelegate::Part;
    if (part == Part::mask) session_->_maskTargetID.set(id);
    if (part == Part::thumbnail) session_->_maskTargetID.set(std::nullopt);
    if (part != Part::lock) return;
    session_->perform(propertiesCommand(
        *session_->_state, std::array{id},
        [](LayerProperties& properties) { properties.locks = {}; }, "Unlock Layers", false));
}

void LayersPanel::fillMenu(QMenu& menu) {
    const auto add = [&](const char* words, Action action, bool isEnabled = true) {
        QAction* item =
            menu.addAction(QLatin1String(words), this, [this, action] { action(*session_); });
        item->setEnabled(isEnabled);
    };
    const LayerSelection layers(*session_);
    menu.addAction(QStringLiteral("Rename"), this, [this] { renameCurrent(); })
        ->setEnabled(view_->currentIndex().isValid());
    add("Duplicate", LayerActions::duplicate);
    add("Delete", LayerActions::remove, layers.canRemove());
    menu.addSeparator();
    add("Group", LayerActions::group);
    add("Ungroup", LayerActions::ungroup, layers.canUngroup());
    menu.addSeparator();
    add(layers.areClipped() ? "Release Clipping Mask" : "Create Clipping Mask",
        LayerActions::toggleClipping, layers.canClip());
    add("Show or Hide", LayerActions::toggleVisibility);
    add("Lock or Unlock", LayerActions::toggleAllLocks);
}

void LayersPanel::renameCurrent() {
    const QModelIndex row = view_->currentIndex();
    if (row.isValid()) view_->edit(row.siblingAtColumn(LayerTreeModel::layerColumn));
}

} // namespace ombrel
