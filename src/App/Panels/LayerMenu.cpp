#include "App/Panels/LayerMenu.h"

#include "App/Panels/LayerActions.h"
#include "App/Panels/LayerMaskActions.h"
#include "App/Panels/LayerSelection.h"
#include "Editor/DocumentSession.h"

#include <QMenu>
#include <array>

namespace ombrel {

namespace {

using Session = const DocumentSession&;
using Arrangement = ArrangeLayersCommand::Arrangement;
namespace Actions = LayerActions;
namespace Masks = LayerMaskActions;

struct MenuRow {
    const char* menu;  ///< the one within, null for the menu itself
    const char* words; ///< null for a line
    bool (*isPossible)(Session) = nullptr;
    void (*run)(DocumentSession&) = nullptr;
    const char* (*wordsNow)(Session) = nullptr;
    bool (*isChecked)(Session) = nullptr;
};

bool isFree(Session session) {
    return !*session._isLiveEditing;
}

template <bool (LayerSelection::*holds)() const>
bool when(Session session) {
    return isFree(session) && (LayerSelection(session).*holds)();
}

bool hasLayers(Session session) {
    return isFree(session) && !LayerSelection(session).isEmpty();
}

template <Arrangement arrangement>
constexpr MenuRow arrange(const char* words) {
    return {"Arrange", words,
            [](Session session) {
                return isFree(session) && LayerSelection(session).canArrange(arrangement);
            },
            [](DocumentSession& session) { Actions::arrange(session, arrangement); }};
}

template <std::uint8_t bits>
constexpr MenuRow lock(const char* words) {
    return {"Lock",    words,
            hasLayers, [](DocumentSession& session) { Actions::toggleLocks(session, {bits}); },
            nullptr,   [](Session session) { return LayerSelection(session).haveLocks({bits}); }};
}

constexpr MenuRow line{nullptr, nullptr};

// Rename and what else the panel does stand before, as they need it.
constexpr std::array rows{
    MenuRow{nullptr, "New Layer", isFree, Actions::addLayer},
    MenuRow{nullptr, "New Group", isFree, Actions::addGroup},
    MenuRow{nullptr, "Duplicate", hasLayers, Actions::duplicate},
    MenuRow{nullptr, "Delete", when<&LayerSelection::canRemove>, Actions::remove},
    line,
    MenuRow{nullptr, "Group", hasLayers, Actions::group},
    MenuRow{nullptr, "Ungroup", when<&LayerSelection::canUngroup>, Actions::ungroup},
    arrange<Arrangement::bringToFront>("Bring to Front"),
    arrange<Arrangement::bringForward>("Bring Forward"),
    arrange<Arrangement::sendBackward>("Send Backward"),
    arrange<Arrangement::sendToBack>("Send to Back"),
    line,
    MenuRow{nullptr, "Hide", hasLayers, Actions::toggleVisibility,
            [](Session session) { return LayerSelection(session).areVisible() ? "Hide" : "Show"; }},
    MenuRow{nullptr, "Create Clipping Mask", when<&LayerSelection::canClip>,
            Actions::toggleClipping,
            [](Session session) {
                return LayerSelection(session).areClipped() ? "Release Clipping Mask"
                                                            : "Create Clipping Mask";
            }},
    lock<LayerLocks::transparency.rawValue>("Transparent Pixels"),
    lock<LayerLocks::pixels.rawValue>("Pixels"),
    lock<LayerLocks::position.rawValue>("Position"),
    lock<LayerLocks::all.rawValue>("All"),
    MenuRow{"Mask", "Add, Showing All", Masks::canAdd, Masks::addRevealing},
    MenuRow{"Mask", "Add, Hiding All", Masks::canAdd, Masks::addHiding},
    MenuRow{"Mask", nullptr},
    MenuRow{"Mask", "Enabled", Masks::hasMask, Masks::toggleEnabled, nullptr, Masks::isEnabled},
    MenuRow{"Mask", "Linked to the Layer", Masks::hasMask, Masks::toggleLinked, nullptr,
            Masks::isLinked},
    MenuRow{"Mask", "Show the Mask Itself", Masks::hasMask, Masks::toggleView, nullptr,
            Masks::isViewed},
    MenuRow{"Mask", nullptr},
    MenuRow{"Mask", "Apply", Masks::canApply, Masks::apply},
    MenuRow{"Mask", "Delete", Masks::hasMask, Masks::remove},
    line,
    MenuRow{nullptr, "Rasterize", when<&LayerSelection::holdsLive>, Actions::rasterize},
    MenuRow{nullptr, "Merge Down",
            [](Session session) {
                return isFree(session) &&
                       LayerSelection(session).merge() != LayerSelection::Merge::none;
            },
            Actions::merge, Actions::mergeText},
    MenuRow{nullptr, "Merge Visible", isFree, Actions::mergeVisible},
    MenuRow{nullptr, "Flatten Image", isFree, Actions::flatten},
    line,
    MenuRow{nullptr, "Select All Layers", isFree, Actions::chooseAll},
};

QMenu& menuNamed(QMenu& menu, const char* words) {
    const QString title = QLatin1String(words);
    for (const QAction* action : menu.actions()) {
        if (action->menu() != nullptr && action->menu()->title() == title) return *action->menu();
    }
    return *menu.addMenu(title);
}

void addRow(QMenu& menu, const MenuRow& row, DocumentSession& session) {
    QMenu& in = row.menu != nullptr ? menuNamed(menu, row.menu) : menu;
    if (row.words == nullptr) {
        in.addSeparator();
        return;
    }
    const char* words = row.wordsNow != nullptr ? row.wordsNow(session) : row.words;
    QAction* action =
        in.addAction(QLatin1String(words), &menu, [&row, &session] { row.run(session); });
    action->setEnabled(row.isPossible(session));
    if (row.isChecked == nullptr) return;
    action->setCheckable(true);
    action->setChecked(row.isChecked(session));
}

} // namespace

void fillLayerMenu(QMenu& menu, DocumentSession& session, const LayerMenuHooks& hooks) {
    const bool hasActive = isFree(session) && session._state->activeLayer() != nullptr;
    menu.addAction(QStringLiteral("Rename…"), &menu, hooks.rename)->setEnabled(hasActive);
    menu.addAction(QStringLiteral("Show This Layer Alone"), &menu, hooks.showAlone)
        ->setEnabled(hasActive);
    menu.addSeparator();
    for (const MenuRow& row : rows)
        addRow(menu, row, session);
    menu.addAction(QStringLiteral("Open All Groups"), &menu, [=] { hooks.openGroups(true); });
    menu.addAction(QStringLiteral("Close All Groups"), &menu, [=] { hooks.openGroups(false); });
}

} // namespace ombrel
