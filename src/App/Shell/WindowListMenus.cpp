#include "App/Shell/WindowListMenus.h"

#include "App/Look/QtText.h"
#include "App/Panels/DockedPanel.h"
#include "App/Panels/PanelCatalog.h"
#include "App/Shell/DocumentController.h"
#include "App/Shell/DocumentWindow.h"
#include "App/Shell/FormDialog.h"
#include "App/Shell/QtPath.h"
#include "App/Shell/WindowMenus.h"

#include <QAction>
#include <QComboBox>
#include <QDialog>
#include <QDockWidget>
#include <QFormLayout>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

namespace ombrel {

namespace {

using Context = std::function<ActionContext()>;
using Fill = void (*)(QMenu&, const Context&);

void fillRecent(QMenu& menu, const Context& context) {
    menu.clear();
    for (const auto& path : context().controller.recentFiles().paths()) {
        QAction* action = menu.addAction(qtPath(path.filename()));
        action->setToolTip(qtPath(path));
        QObject::connect(action, &QAction::triggered, &menu, [context, path] {
            context().controller.openFiles({path}, &context().window);
        });
    }
    const bool isEmpty = menu.isEmpty();
    menu.addSeparator();
    QAction* clear = menu.addAction("Clear List");
    clear->setEnabled(!isEmpty);
    clear->setStatusTip(isEmpty ? "No file was opened yet." : "");
    QObject::connect(clear, &QAction::triggered, &menu,
                     [context] { context().controller.recentFiles().clear(); });
}

void fillDocuments(QMenu& menu, const Context& context) {
    menu.clear();
    const ActionContext in = context();
    for (const auto& document : in.controller.documents()) {
        QAction* action = menu.addAction(toQt(document->displayName()));
        action->setCheckable(true);
        action->setChecked(document.get() == &in.document);
        QObject::connect(action, &QAction::triggered, &menu,
                         [context, weak = std::weak_ptr(document)] {
                             if (const auto wanted = weak.lock())
                                 context().controller.raiseDocument(*wanted);
                         });
    }
}

/// One item a workspace; `chosen` gets its name.
void listWorkspaces(QMenu& menu, const Context& context,
                    void (*chosen)(DocumentWindow&, const std::string&)) {
    menu.clear();
    for (const std::string& name : context().window.layout().workspaces()) {
        QObject::connect(menu.addAction(toQt(name)), &QAction::triggered, &menu,
                         [context, name, chosen] { chosen(context().window, name); });
    }
    menu.menuAction()->setEnabled(!menu.isEmpty());
    menu.menuAction()->setStatusTip(menu.isEmpty() ? "No workspace was saved yet." : "");
}

void fillWorkspaces(QMenu& menu, const Context& context) {
    listWorkspaces(menu, context, [](DocumentWindow& window, const std::string& name) {
        if (!window.layout().applyWorkspace(name))
            window.showMessage("The workspace could not be read.");
    });
}

void fillWorkspacesToDelete(QMenu& menu, const Context& context) {
    listWorkspaces(menu, context, [](DocumentWindow& window, const std::string& name) {
        window.layout().removeWorkspace(name);
    });
}

struct ListMenu {
    const char* identifier;
    Fill fill;
};
constexpr ListMenu listMenus[] = {{"openRecent", fillRecent},
                                  {"documents", fillDocuments},
                                  {"workspaces", fillWorkspaces},
                                  {"deleteWorkspace", fillWorkspacesToDelete}};

/// Brings the panel to the front, or hides it where it stands there.
QAction* makePanelAction(QDockWidget& dock) {
    auto* action = new QAction(dock.windowTitle(), &dock);
    action->setObjectName(QStringLiteral("panel.") + dock.objectName());
    action->setCheckable(true);
    action->setChecked(DockedPanel::isInFront(dock));
    QObject::connect(&dock, &QDockWidget::visibilityChanged, action, &QAction::setChecked);
    QObject::connect(action, &QAction::triggered, &dock, [&dock] {
        if (DockedPanel::isInFront(dock)) return dock.hide();
        dock.show();
        dock.raise();
    });
    return action;
}

} // namespace

void keepListMenus(QMenuBar& bar, Context context) {
    for (const ListMenu& list : listMenus) {
        QMenu* menu = menuOf(bar, list.identifier);
        if (menu == nullptr) continue;
        const auto fill = [menu, context, fill = list.fill] { fill(*menu, context); };
        QObject::connect(menu, &QMenu::aboutToShow, menu, fill);
        // Whether there is anything in it is seen in the menu above.
        if (auto* above = qobject_cast<QMenu*>(menu->parent()))
            QObject::connect(above, &QMenu::aboutToShow, menu, fill);
        fill();
    }
}

std::vector<QAction*> addPanelActions(QMenuBar& bar, const DocumentWindow& window) {
    QMenu* place = menuOf(bar, "panels");
    auto* menu = qobject_cast<QMenu*>(place->parent());
    std::vector<QAction*> actions;
    for (const PanelDescription& panel : panelCatalog()) {
        auto* dock = window.findChild<QDockWidget*>(panel.identifier);
        if (dock == nullptr) continue;
        actions.push_back(makePanelAction(*dock));
    }
    for (const QToolBar* toolBar : window.findChildren<QToolBar*>())
        actions.push_back(toolBar->toggleViewAction());
    for (QAction* action : actions)
        menu->insertAction(place->menuAction(), action);
    menu->removeAction(place->menuAction());
    return actions;
}

void askToSaveWorkspace(DocumentWindow& window) {
    auto* name = new QComboBox;
    name->setObjectName("name");
    name->setEditable(true);
    name->setMinimumWidth(240);
    for (const std::string& known : window.layout().workspaces())
        name->addItem(toQt(known));
    name->setCurrentText(name->count() > 0 ? name->currentText() : "My Workspace");
    auto* form = new QFormLayout;
    form->addRow("Name", name);
    const auto accept = [name, &window] {
        const std::string wanted = fromQt(name->currentText().trimmed());
        if (!wanted.empty()) window.layout().saveWorkspace(wanted);
    };
    makeFormDialog(window, "workspaceDialog", "Save Workspace", form, accept)->show();
}

} // namespace ombrel
