// A layers panel in a window of its own, and a hand that works in it by the mouse and the keys.
#pragma once

#include "App/PanelFixture.h"
#include "App/Panels/LayerTreeModel.h"
#include "App/Panels/LayersPanel.h"
#include "App/Panels/LayersView.h"

#include <QDropEvent>
#include <QMimeData>
#include <QTest>
#include <QToolButton>
#include <algorithm>
#include <fmt/format.h>
#include <gtest/gtest.h>

namespace ombrel {

struct LayersPanelTest : testing::Test {
    using Names = std::vector<std::string>;
    using Part = LayerDelegate::Part;

    void make(DocumentState state) {
        fixture.open(std::move(state));
        panel = std::make_unique<LayersPanel>(fixture.context());
        view = dynamic_cast<LayersView*>(panel->findChild<QTreeView*>("layerTree"));
        panel->resize(250, 460);
        panel->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
        fixture.settle();
    }
    const DocumentSession& session() const { return *fixture.session; }
    LayerID id(std::string_view name) const {
        for (const LayerNode& node : fixture.state().allNodes())
            if (node.properties().name == name) return node.id();
        ADD_FAILURE() << name;
        return {};
    }
    const LayerNode& node(std::string_view name) const { return *fixture.state().find(id(name)); }
    const LayerProperties& properties(std::string_view name) const {
        return node(name).properties();
    }
    std::string nameOf(LayerID layer) const {
        return fixture.state().find(layer)->properties().name;
    }
    QModelIndex index(std::string_view name, int column = LayerTreeModel::layerColumn) const {
        return model().indexOf(id(name), column);
    }
    LayerTreeModel& model() const { return *static_cast<LayerTreeModel*>(view->model()); }
    QRect row(std::string_view name) const { return view->visualRect(index(name)); }
    QPoint place(std::string_view name, int column = LayerTreeModel::layerColumn) const {
        return view->visualRect(index(name, column)).center();
    }
    QPoint eye(std::string_view name) const {
        return place(name, LayerTreeModel::visibilityColumn);
    }
    QPoint part(std::string_view name, Part which) const {
        const auto* delegate = dynamic_cast<LayerDelegate*>(view->itemDelegate());
        return delegate->rectOf(which, index(name), row(name)).center();
    }
    void clickAt(QPoint point, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(view->viewport(), Qt::LeftButton, modifiers, point);
        fixture.settle();
    }
    void click(std::string_view name, Qt::KeyboardModifiers modifiers = {}) {
        clickAt(place(name), modifiers);
    }
    /// A move with the left button held, as the window system would tell it.
    void dragTo(QWidget* widget, QPoint point, Qt::KeyboardModifiers modifiers = {}) {
        QMouseEvent move(QEvent::MouseMove, point, widget->mapToGlobal(point), Qt::NoButton,
                         Qt::LeftButton, modifiers);
        QCoreApplication::sendEvent(widget, &move);
    }
    void key(int key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(view, static_cast<Qt::Key>(key), modifiers);
        fixture.settle();
    }
    void press(const char* button, Qt::KeyboardModifiers modifiers = {}) {
        QTest::mouseClick(panel->findChild<QToolButton*>(button), Qt::LeftButton, modifiers);
        fixture.settle();
    }
    Names chosen() const {
        Names names;
        for (const LayerID layer : *fixture.session->_selectedLayerIDs)
            names.push_back(nameOf(layer));
        std::ranges::sort(names);
        return names;
    }
    Names chosenRows() const {
        Names names;
        for (const QModelIndex& row : view->selectionModel()->selectedRows(1))
            names.push_back(row.data().toString().toStdString());
        std::ranges::sort(names);
        return names;
    }
    std::string active() const { return nameOf(*fixture.state().activeLayerID); }
    /// From the top, with groups' children in brackets.
    std::string order(const GroupLayer& group) const {
        std::string text;
        for (auto node = group.children.rbegin(); node != group.children.rend(); ++node) {
            text += node->properties().name;
            if (node->group() != nullptr) text += fmt::format("({})", order(*node->group()));
        }
        return text;
    }
    std::string order() const { return order(*fixture.state().root); }
    std::string rowOrder(const QModelIndex& parent = {}, bool isShownOnly = false) const {
        std::string text;
        for (int row = 0; row < view->model()->rowCount(parent); ++row) {
            if (isShownOnly && view->isRowHidden(row, parent)) continue;
            const QModelIndex child = view->model()->index(row, 0, parent);
            text += child.siblingAtColumn(1).data().toString().toStdString();
            if ((child.flags() & Qt::ItemNeverHasChildren) == 0)
                text += fmt::format("({})", rowOrder(child, isShownOnly));
        }
        return text;
    }
    std::string shownRows() const { return rowOrder({}, true); }
    /// Drags to a point, as the window system would tell it.
    void drop(QPoint point, QMimeData* dragged, Qt::KeyboardModifiers modifiers = {}) {
        const std::unique_ptr<QMimeData> data(dragged);
        const auto actions = Qt::MoveAction | Qt::CopyAction;
        QDragEnterEvent enter(point, actions, data.get(), Qt::LeftButton, modifiers);
        QCoreApplication::sendEvent(view->viewport(), &enter);
        QDragMoveEvent move(point, actions, data.get(), Qt::LeftButton, modifiers);
        QCoreApplication::sendEvent(view->viewport(), &move);
        QDropEvent dropped(point, actions, data.get(), Qt::LeftButton, modifiers);
        QCoreApplication::sendEvent(view->viewport(), &dropped);
        fixture.settle();
    }
    /// Drags the chosen rows.
    void drop(QPoint point, Qt::KeyboardModifiers modifiers = {}) {
        drop(point, model().mimeData(view->selectionModel()->selectedIndexes()), modifiers);
    }
    std::size_t entries() const { return fixture.historyNames().size(); }
    std::string lastEntry() const { return fixture.historyNames().back(); }

    PanelFixture fixture;
    std::unique_ptr<LayersPanel> panel;
    LayersView* view = nullptr;
};

/// From the top: E, a group G of D and C, B, A.
inline DocumentState letters() {
    return TestDocument()
        .layer("A")
        .layer("B")
        .group("G")
        .layer("C")
        .layer("D")
        .end()
        .layer("E")
        .active()
        .state();
}

} // namespace ombrel
