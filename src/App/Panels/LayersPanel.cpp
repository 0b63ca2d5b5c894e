#include "App/Panels/LayersPanel.h"

#include "App/Look/Icons.h"
#include "App/Look/Theme.h"
#include "App/Panels/LayerActions.h"
#include "App/Panels/LayerFilterBar.h"
#include "App/Panels/LayerMaskActions.h"
#include "App/Panels/LayerMenu.h"
#include "App/Panels/LayerPropertyBar.h"
#include "App/Panels/LayerTreeModel.h"
#include "Commands/LayerPropertyCommands.h"
#include "Editor/DocumentSession.h"

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QToolButton>
#include <algorithm>
#include <array>

namespace ombrel {

namespace {

constexpr int leastTreeHeight = LayerDelegate::rowHeight * 4 / 3;

using Action = void (*)(DocumentSession&);

struct PanelKey {
    int key;
    Qt::KeyboardModifiers modifiers;
    Action action;
};

constexpr std::array<PanelKey, 5> panelKeys{{
    {Qt::Key_Space, Qt::NoModifier, LayerActions::toggleVisibility},
    {Qt::Key_G, Qt::ControlModifier, LayerActions::group},
    {Qt::Key_G, Qt::ControlModifier | Qt::ShiftModifier, LayerActions::ungroup},
    {Qt::Key_G, Qt::ControlModifier | Qt::AltModifier, LayerActions::toggleClipping},
    {Qt::Key_J, Qt::ControlModifier, LayerActions::duplicate},
}};

void addMask(DocumentSession& session) {
    const bool hides = (QGuiApplication::keyboardModifiers() & Qt::AltModifier) != 0;
    LayerMaskActions::add(session, hides ? LayerMaskActions::Kind::hiding
                                         : LayerMaskActions::Kind::revealing);
}

struct PanelButton {
    const char* objectName;
    const char* words;
    const char* icon;
    Action action; ///< null: the panel's own
};

constexpr std::array<PanelButton, 6> panelButtons{{
    {"clip", "Clip to the layer below", "corner-left-down", LayerActions::toggleClipping},
    {"mask", "Add a mask that shows all, with Alt one that hides all", "mask", addMask},
    {"newGroup", "New group", "folder-plus", LayerActions::addGroup},
    {"newLayer", "New layer", "plus", LayerActions::addLayer},
    {"duplicate", "Duplicate", "copy", LayerActions::duplicate},
    {"delete", "Delete", "trash-2", nullptr},
}};

std::optional<int> digitOf(const QKeyEvent& event) {
    const Qt::KeyboardModifiers others = event.modifiers() & ~Qt::KeypadModifier;
    if (others != Qt::NoModifier || event.key() < Qt::Key_0 || event.key() > Qt::Key_9)
        return std::nullopt;
    return event.key() - Qt::Key_0;
}

bool isDelete(const QKeyEvent& event) {
    return event.modifiers() == Qt::NoModifier &&
           (event.key() == Qt::Key_Delete || event.key() == Qt::Key_Backspace);
}

} // namespace

LayersPanel::LayersPanel(const PanelContext& context, QWidget* parent)
    : QWidget(parent), session_(context.session), thumbnails_(context.main, context.worker),
      eyes_(session_), alone_(session_), model_(new LayerTreeModel(this)),
      bar_(new LayerPropertyBar(session_, this)), filterBar_(new LayerFilterBar(this)) {
    buildModel(context.worker);
    buildView();
    connectView();
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(filterBar_);
    rows->addWidget(bar_);
    rows->addWidget(view_, 1);
    rows->addWidget(buildButtons());
    filterBar_->onChange = [this](const LayerFilter& filter) {
        filter_ = filter;
        showFilter();
    };
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
    view_->setMinimumHeight(leastTreeHeight);
    view_->setContextMenuPolicy(Qt::CustomContextMenu);
    nothing_ = new QLabel(QStringLiteral("No layer is like that"), view_->viewport());
    nothing_->setAlignment(Qt::AlignCenter);
    nothing_->setEnabled(false);
    nothing_->hide();
}

void LayersPanel::connectView() {
    view_->onEyesBegin = [this] { eyes_.begin(); };
    view_->onEye = [this](LayerID id, bool isVisible) {
        eyes_.change(std::array{id}, [isVisible](LayerProperties& properties) {
            properties.isVisible = isVisible;
        });
    };
    view_->onEyesEnd = [this] { eyes_.commit("Layer Visibility"); };
    view_->onAlone = [this](LayerID id) { alone_.toggle(id); };
    view_->onPart = [this](LayerID id, LayerDelegate::Part part, Qt::KeyboardModifiers modifiers) {
        handlePart(id, part, modifiers);
    };
    view_->onClip = [this](LayerID upper) { toggleClip(upper); };
    view_->onMaskDrop = [this](LayerID from, LayerID to, bool isCopy) {
        LayerMaskActions::move(*session_, from, to, isCopy);
    };
    view_->onKey = [this](const QKeyEvent& event) { return handleKey(event); };
    view_->wantsKey = [this](const QKeyEvent& event) { return isOurKey(event); };
    connect(view_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { takeSelection(); });
    connect(view_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { takeSelection(); });
    connect(view_, &QWidget::customContextMenuRequested, this,
            [this](QPoint place) { showMenu(place); });
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
        connect(button, &QToolButton::clicked, this, [this, action = description.action] {
            if (action != nullptr) return action(*session_);
            removeChosen();
        });
        layout->addWidget(button);
    }
    clipButton_ = bar->findChild<QToolButton*>(QStringLiteral("clip"));
    clipButton_->setCheckable(true);
    maskButton_ = bar->findChild<QToolButton*>(QStringLiteral("mask"));
    deleteButton_ = bar->findChild<QToolButton*>(QStringLiteral("delete"));
    return bar;
}

void LayersPanel::observeSession() {
    const auto showTarget = [this](const auto&) {
        view_->viewport()->update();
        refreshControls();
    };
    connections_.push_back(
        session_->_state.observe([this](const DocumentState& state) { follow(state); }));
    connections_.push_back(session_->_selectedLayerIDs.onChange([this](const auto&) {
        if (isFollowing_) return;
        showSelection();
        refreshControls();
    }));
    connections_.push_back(session_->_maskTargetID.onChange(showTarget));
    connections_.push_back(session_->_maskViewID.onChange(showTarget));
}

bool LayersPanel::isOurKey(const QKeyEvent& event) const {
    return digitOf(event) || isDelete(event) || event.key() == Qt::Key_F2 ||
           std::ranges::any_of(panelKeys, [&](const PanelKey& key) {
               return key.key == event.key() && key.modifiers == event.modifiers();
           });
}

bool LayersPanel::handleKey(const QKeyEvent& event) {
    if (const std::optional<int> digit = digitOf(event)) {
        bar_->typeOpacity(*digit);
        return true;
    }
    if (isDelete(event)) {
        removeChosen();
        return true;
    }
    for (const PanelKey& key : panelKeys) {
        if (key.key != event.key() || key.modifiers != event.modifiers()) continue;
        key.action(*session_);
        return true;
    }
    return false;
}

void LayersPanel::handlePart(LayerID id, LayerDelegate::Part part,
                             Qt::KeyboardModifiers modifiers) {
    using Part = LayerDelegate::Part;
    const bool isFree = !*session_->_isLiveEditing;
    if (part == Part::thumbnail) return LayerMaskActions::targetPixels(*session_);
    if (part == Part::mask && modifiers == Qt::NoModifier)
        return LayerMaskActions::target(*session_, id);
    if (!isFree) return;
    if (part == Part::mask && modifiers == Qt::ShiftModifier)
        return LayerMaskActions::toggleEnabled(*session_, id);
    if (part == Part::mask) return LayerMaskActions::toggleView(*session_, id);
    if (part == Part::link) return LayerMaskActions::toggleLinked(*session_, id);
    if (part != Part::lock) return;
    session_->perform(propertiesCommand(
        *session_->_state, std::array{id},
        [](LayerProperties& properties) { properties.locks = {}; }, "Lock or Unlock Layers",
        false));
}

// Releasing a layer releases those above it too, which would clip to it otherwise.
void LayersPanel::toggleClip(LayerID upper) {
    const DocumentState& state = *session_->_state;
    const std::optional<DocumentState::Location> place = state.location(upper);
    if (!place || *session_->_isLiveEditing) return;
    const std::vector<LayerNode> siblings = state.children(place->parent);
    const bool clips = !siblings[place->index].properties().clipsToBelow;
    SetClippingCommand command{.layerIDs = {upper}, .clipped = clips};
    for (std::size_t i = place->index + 1; !clips && i < siblings.size(); ++i) {
        if (siblings[i].pixelLayer() == nullptr || !siblings[i].properties().clipsToBelow) break;
        command.layerIDs.push_back(siblings[i].id());
    }
    session_->perform(command);
}

// The mask where that is what one works on.
void LayersPanel::removeChosen() {
    if (session_->maskTarget()) return LayerMaskActions::remove(*session_);
    LayerActions::remove(*session_);
}

void LayersPanel::showMenu(QPoint place) {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    fillLayerMenu(*menu, *session_,
                  {.rename = [this] { renameCurrent(); },
                   .showAlone =
                       [this] {
                           if (const auto active = session_->_state->activeLayerID)
                               alone_.toggle(*active);
                       },
                   .openGroups = [this](bool areOpen) { openGroups(areOpen); }});
    menu->popup(view_->viewport()->mapToGlobal(place));
}

void LayersPanel::openGroups(bool areOpen) {
    if (areOpen) {
        view_->expandAll();
    } else {
        view_->collapseAll();
    }
}

void LayersPanel::renameCurrent() {
    const QModelIndex row = view_->currentIndex();
    if (row.isValid()) view_->edit(row.siblingAtColumn(LayerTreeModel::layerColumn));
}

} // namespace ombrel
