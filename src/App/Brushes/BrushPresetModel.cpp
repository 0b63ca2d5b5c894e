#include "App/Brushes/BrushPresetModel.h"

#include "App/Look/QtText.h"
#include "Editor/BrushPresetStore.h"
#include "Tools/BuiltInBrushes.h"

#include <QMimeData>
#include <algorithm>

namespace ombrel {

namespace {

const QString mimeType = QStringLiteral("application/x-ombrel-brush");

auto withID(const Uuid& id) {
    return [id](const BrushPreset& preset) { return preset.id == id; };
}

int builtInCount() {
    return static_cast<int>(BuiltInBrushes::presets().size());
}

} // namespace

BrushPresetModel::BrushPresetModel(BrushPresetStore& store, QObject* parent)
    : QAbstractListModel(parent), store_(store), presets_(store.presets()) {
    changes_ =
        store._userPresets.onChange([this](const auto& /*now*/) { follow(store_.presets()); });
}

void BrushPresetModel::follow(std::vector<BrushPreset> presets) {
    for (int row = rowCount() - 1; row >= 0; --row) {
        const auto place = presets_.begin() + row;
        if (std::ranges::any_of(presets, withID(place->id))) continue;
        beginRemoveRows({}, row, row);
        presets_.erase(place);
        endRemoveRows();
    }
    for (int row = 0; row < static_cast<int>(presets.size()); ++row) {
        BrushPreset& wanted = presets[static_cast<std::size_t>(row)];
        const auto found = std::ranges::find_if(presets_, withID(wanted.id));
        const int at = static_cast<int>(found - presets_.begin());
        if (found == presets_.end()) {
            beginInsertRows({}, row, row);
            presets_.insert(presets_.begin() + row, std::move(wanted));
            endInsertRows();
            continue;
        }
        if (at != row) { // further down, since all before stand in order
            beginMoveRows({}, at, at, {}, row);
            std::rotate(presets_.begin() + row, found, found + 1);
            endMoveRows();
        }
        BrushPreset& shown = presets_[static_cast<std::size_t>(row)];
        if (shown == wanted) continue;
        shown = std::move(wanted);
        Q_EMIT dataChanged(index(row), index(row));
    }
}

bool BrushPresetModel::isUsers(int row) const {
    return row >= builtInCount() && row < rowCount();
}

const BrushPreset* BrushPresetModel::presetAt(const QModelIndex& index) const {
    const bool isRow = index.isValid() && index.row() < rowCount();
    return isRow ? &presets_[static_cast<std::size_t>(index.row())] : nullptr;
}

QModelIndex BrushPresetModel::indexOf(const Uuid& id) const {
    const auto found = std::ranges::find_if(presets_, withID(id));
    return found == presets_.end() ? QModelIndex()
                                   : index(static_cast<int>(found - presets_.begin()));
}

int BrushPresetModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(presets_.size());
}

QVariant BrushPresetModel::data(const QModelIndex& index, int role) const {
    const BrushPreset* preset = presetAt(index);
    if (preset == nullptr) return {};
    if (role == Qt::DisplayRole || role == Qt::EditRole || role == Qt::ToolTipRole)
        return toQt(preset->name);
    return {};
}

bool BrushPresetModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || !index.isValid() || !isUsers(index.row())) return false;
    const QString name = value.toString().trimmed();
    if (!name.isEmpty()) store_.rename(presetAt(index)->id, fromQt(name));
    return true;
}

Qt::ItemFlags BrushPresetModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags common = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
    if (!index.isValid()) return Qt::ItemIsDropEnabled;
    if (!isUsers(index.row())) return common;
    return common | Qt::ItemIsEditable | Qt::ItemIsDragEnabled;
}

QStringList BrushPresetModel::mimeTypes() const {
    return {mimeType};
}

QMimeData* BrushPresetModel::mimeData(const QModelIndexList& indexes) const {
    if (indexes.empty()) return nullptr;
    auto* data = new QMimeData; // the drag owns it
    data->setData(mimeType, QByteArray::fromStdString(presetAt(indexes.front())->id.text()));
    return data;
}

bool BrushPresetModel::canDropMimeData(const QMimeData* data, Qt::DropAction /*action*/, int row,
                                       int /*column*/, const QModelIndex& /*parent*/) const {
    return data->hasFormat(mimeType) && (row < 0 || row >= builtInCount());
}

bool BrushPresetModel::dropMimeData(const QMimeData* data, Qt::DropAction action, int row,
                                    int column, const QModelIndex& parent) {
    if (!canDropMimeData(data, action, row, column, parent)) return false;
    const auto id = Uuid::parse(data->data(mimeType).toStdString());
    const int from = id ? indexOf(*id).row() : -1;
    if (!isUsers(from)) return false;
    int to = row < 0 ? rowCount() : row;
    if (from < to) --to; // it leaves its own place first
    store_.move(*id, static_cast<std::size_t>(to - builtInCount()));
    return false; // moved already: nothing is left to be removed
}

} // namespace ombrel
