#include "App/Panels/LayerTreeModel.h"

#include "App/Look/QtText.h"
#include "App/Panels/DraggedLayers.h"
#include "App/Panels/LayerMove.h"
#include "App/Panels/LayerTreeRow.h"
#include "App/Panels/LayerWords.h"
#include "Commands/DuplicateLayersCommand.h"
#include "Commands/LayerPropertyCommands.h"

#include <QMimeData>
#include <algorithm>

namespace ombrel {

LayerTreeModel::LayerTreeModel(QObject* parent)
    : QAbstractItemModel(parent), root_(std::make_unique<Row>()) {}

LayerTreeModel::~LayerTreeModel() = default;

void LayerTreeModel::follow(const DocumentState& state) {
    if (state.root.isSameObject(state_.root)) return;
    // Rows that are not reached yet show the state before, which therefore stays meanwhile.
    DocumentState before = std::exchange(state_, state);
    Following(*this).run(*state_.root);
    if (discard) discard(std::move(before));
}

const LayerNode* LayerTreeModel::node(const QModelIndex& index) const {
    return index.isValid() && index.model() == this ? rowOf(index)->node : nullptr;
}

std::optional<LayerID> LayerTreeModel::id(const QModelIndex& index) const {
    if (!index.isValid() || index.model() != this) return std::nullopt;
    return rowOf(index)->id;
}

QModelIndex LayerTreeModel::indexOf(LayerID id, int column) const {
    const Row* row = find(id);
    return row == nullptr ? QModelIndex() : indexOf(*row, column);
}

bool LayerTreeModel::isShown(const QModelIndex& index) const {
    for (const Row* row = rowOf(index); row->node != nullptr; row = row->parent) {
        if (!row->node->properties().isVisible) return false;
    }
    return true;
}

LayerTreeModel::Row* LayerTreeModel::rowOf(const QModelIndex& index) const {
    return index.isValid() ? static_cast<Row*>(index.internalPointer()) : root_.get();
}

LayerTreeModel::Row* LayerTreeModel::find(LayerID id) const {
    const auto found = rowsByID_.find(id.rawValue);
    return found == rowsByID_.end() ? nullptr : found->second;
}

int LayerTreeModel::placeOf(const Row& row) const {
    const auto& siblings = row.parent->children;
    const auto found = std::ranges::find(siblings, &row, &std::unique_ptr<Row>::get);
    return static_cast<int>(found - siblings.begin());
}

QModelIndex LayerTreeModel::indexOf(const Row& row, int column) const {
    if (row.parent == nullptr) return {};
    return createIndex(placeOf(row), column, &row);
}

QModelIndex LayerTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    return createIndex(row, column, rowOf(parent)->children[static_cast<std::size_t>(row)].get());
}

QModelIndex LayerTreeModel::parent(const QModelIndex& index) const {
    return index.isValid() ? indexOf(*rowOf(index)->parent, visibilityColumn) : QModelIndex();
}

int LayerTreeModel::rowCount(const QModelIndex& parent) const {
    if (parent.column() > visibilityColumn) return 0;
    return static_cast<int>(rowOf(parent)->children.size());
}

int LayerTreeModel::columnCount(const QModelIndex&) const {
    return columnTotal;
}

QVariant LayerTreeModel::data(const QModelIndex& index, int role) const {
    const LayerNode* shown = node(index);
    if (shown == nullptr) return {};
    const bool isLayer = index.column() == layerColumn;
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return isLayer ? QVariant(toQt(shown->properties().name)) : QVariant();
    case Qt::AccessibleTextRole:
        if (isLayer) return spokenWords(*shown);
        return QStringLiteral("%1, %2").arg(
            toQt(shown->properties().name),
            shown->properties().isVisible ? QStringLiteral("visible") : QStringLiteral("hidden"));
    default:
        return {};
    }
}

bool LayerTreeModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    const LayerNode* shown = node(index);
    if (shown == nullptr || role != Qt::EditRole || index.column() != layerColumn) return false;
    LayerProperties properties = shown->properties();
    const std::string name = fromQt(value.toString().trimmed());
    if (name.empty() || name == properties.name) return false;
    properties.name = name;
    perform(SetLayerPropertiesCommand{
        .layerID = rowOf(index)->id, .properties = std::move(properties), .name = "Rename Layer"});
    return true;
}

Qt::ItemFlags LayerTreeModel::flags(const QModelIndex& index) const {
    const LayerNode* shown = node(index);
    if (shown == nullptr) return Qt::ItemIsDropEnabled;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
    if (shown->group() != nullptr) {
        flags |= Qt::ItemIsDropEnabled;
    } else {
        flags |= Qt::ItemNeverHasChildren;
    }
    if (index.column() == layerColumn) flags |= Qt::ItemIsEditable;
    return flags;
}

Qt::DropActions LayerTreeModel::supportedDropActions() const {
    return Qt::MoveAction | Qt::CopyAction;
}

QStringList LayerTreeModel::mimeTypes() const {
    return {QString::fromLatin1(DraggedLayers::mimeType), QString::fromLatin1(maskMimeType)};
}

QMimeData* LayerTreeModel::mimeData(const QModelIndexList& indexes) const {
    std::vector<LayerID> ids;
    for (const QModelIndex& index : indexes)
        if (index.column() == layerColumn) ids.push_back(rowOf(index)->id);
    return new DraggedLayers(state_, std::move(ids)); // the drag owns it
}

// Those of another document are none of these rows.
std::vector<LayerID> LayerTreeModel::draggedLayers(const QMimeData& data) const {
    std::vector<LayerID> ids;
    for (const QByteArray& line :
         data.data(QString::fromLatin1(DraggedLayers::mimeType)).split('\n')) {
        const auto uuid = Uuid::parse({line.data(), static_cast<std::size_t>(line.size())});
        if (uuid && find({*uuid}) != nullptr) ids.push_back({*uuid});
    }
    return ids;
}

QMimeData* LayerTreeModel::maskData(LayerID id) {
    auto* data = new QMimeData; // the drag owns it
    data->setData(QString::fromLatin1(maskMimeType), QByteArray::fromStdString(id.rawValue.text()));
    return data;
}

std::optional<LayerID> LayerTreeModel::draggedMask(const QMimeData& data) {
    const auto uuid = Uuid::parse(data.data(QString::fromLatin1(maskMimeType)).toStdString());
    return uuid ? std::optional(LayerID{*uuid}) : std::nullopt;
}

bool LayerTreeModel::canDropMimeData(const QMimeData* data, Qt::DropAction action, int, int,
                                     const QModelIndex& parent) const {
    if ((supportedDropActions() & action) == 0) return false;
    const std::vector<LayerID> ids = draggedLayers(*data);
    if (ids.empty()) return false;
    if (action == Qt::CopyAction) return true;
    // A group does not go into itself.
    for (const Row* row = rowOf(parent); row->parent != nullptr; row = row->parent) {
        if (std::ranges::find(ids, row->id) != ids.end()) return false;
    }
    return true;
}

bool LayerTreeModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                                  const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, column, parent)) return false;
    std::vector<LayerID> ids = draggedLayers(*data);
    const Row& target = *rowOf(parent);
    const auto count = static_cast<int>(target.children.size());
    const bool isRoot = target.parent == nullptr;
    const int fromTop = row >= 0 ? std::min(row, count) : (isRoot ? count : 0);
    const std::int64_t gap = count - fromTop;
    const std::optional<LayerID> into = isRoot ? std::nullopt : std::optional(target.id);
    if (action == Qt::CopyAction) {
        const std::int64_t place = copyGap(state_, ids, into, gap);
        perform(DuplicateLayersCommand::of(state_, std::move(ids), into, place));
    } else if (const std::optional<Command> move = moveCommand(state_, ids, into, gap)) {
        perform(*move);
    }
    return true;
}

} // namespace ombrel
