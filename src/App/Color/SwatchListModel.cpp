#include "App/Color/SwatchListModel.h"

#include "App/Color/PickedColor.h"
#include "App/Look/QtText.h"
#include "App/Panels/ScreenColor.h"

#include <QMimeData>
#include <algorithm>

namespace ombrel {

namespace {

constexpr const char* rowType = "application/x-ombrel-swatch-row";

} // namespace

void SwatchListModel::setSwatches(std::vector<Swatch> swatches) {
    if (swatches == swatches_) return;
    const auto before = static_cast<int>(swatches_.size());
    const auto after = static_cast<int>(swatches.size());
    const int common = std::min(before, after);
    // Rows keep their places, so that a view keeps its own.
    if (after > before) beginInsertRows({}, common, after - 1);
    if (after < before) beginRemoveRows({}, common, before - 1);
    swatches_ = std::move(swatches);
    if (after > before) endInsertRows();
    if (after < before) endRemoveRows();
    if (common > 0) Q_EMIT dataChanged(index(0), index(common - 1));
}

int SwatchListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(swatches_.size());
}

QVariant SwatchListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Swatch& swatch = swatches_[static_cast<std::size_t>(index.row())];
    const QString code = QLatin1Char('#') + toQt(hexOf(swatch.color));
    switch (role) {
    case Qt::EditRole:
        return toQt(swatch.name);
    case Qt::ToolTipRole:
    case Qt::AccessibleTextRole:
        return swatch.name.empty() ? code : QStringLiteral("%1 %2").arg(toQt(swatch.name), code);
    case Qt::BackgroundRole:
        return colorOf(swatch.color);
    default:
        return {};
    }
}

bool SwatchListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::EditRole || !onRename) return false;
    onRename(index.row(), fromQt(value.toString().trimmed()));
    return true;
}

Qt::ItemFlags SwatchListModel::flags(const QModelIndex& index) const {
    if (!onMove)
        return index.isValid() ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::NoItemFlags;
    if (!index.isValid()) return Qt::ItemIsDropEnabled;
    return Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled;
}

QStringList SwatchListModel::mimeTypes() const {
    return {QLatin1String(rowType)};
}

QMimeData* SwatchListModel::mimeData(const QModelIndexList& indexes) const {
    auto* data = new QMimeData; // the drag owns it
    if (!indexes.isEmpty())
        data->setData(QLatin1String(rowType), QByteArray::number(indexes.front().row()));
    return data;
}

bool SwatchListModel::dropMimeData(const QMimeData* data, Qt::DropAction /*action*/, int row,
                                   int /*column*/, const QModelIndex& parent) {
    bool isNumber = false;
    const int from = data->data(QLatin1String(rowType)).toInt(&isNumber);
    if (!isNumber || !onMove || from < 0 || from >= rowCount()) return false;
    int before = row;
    if (before < 0) before = parent.isValid() ? parent.row() : rowCount();
    onMove(from, before);
    return false; // the order has changed already: nothing is left to be removed
}

} // namespace ombrel
