#include "App/Panels/HistoryListModel.h"

#include "App/Look/QtText.h"
#include "App/Look/Theme.h"

#include <algorithm>

namespace ombrel {

void HistoryListModel::follow(const History& history) {
    const History::Entries& entries = history.entries();
    // Old entries leave at the front, the redo branch at the back: what is common is one run.
    const auto first = std::ranges::find(rows_, entries.front()->id, &Row::id);
    if (const auto left = static_cast<int>(first - rows_.begin()); left > 0) {
        beginRemoveRows({}, 0, left - 1);
        rows_.erase(rows_.begin(), first);
        currentRow_ = std::max(-1, currentRow_ - left);
        endRemoveRows();
    }
    std::size_t common = 0;
    while (common < rows_.size() && common < entries.size() &&
           rows_[common].id == entries[common]->id)
        ++common;
    if (common < rows_.size()) {
        beginRemoveRows({}, static_cast<int>(common), static_cast<int>(rows_.size()) - 1);
        rows_.erase(rows_.begin() + static_cast<std::ptrdiff_t>(common), rows_.end());
        endRemoveRows();
    }
    if (common < entries.size()) {
        beginInsertRows({}, static_cast<int>(common), static_cast<int>(entries.size()) - 1);
        for (std::size_t i = common; i < entries.size(); ++i)
            rows_.push_back({entries[i]->id, toQt(entries[i]->name)});
        endInsertRows();
    }
    moveCurrent(static_cast<int>(history.currentIndex()));
}

void HistoryListModel::moveCurrent(int row) {
    const int before = std::exchange(currentRow_, row);
    if (before == row) return;
    const int last = static_cast<int>(rows_.size()) - 1;
    const int from = std::clamp(std::min(before, row), 0, last);
    const int to = std::clamp(std::max(before, row), 0, last);
    Q_EMIT dataChanged(index(from), index(to));
}

int HistoryListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

HistoryListModel::Time HistoryListModel::timeOf(int row) const {
    if (row == currentRow_) return Time::present;
    return row < currentRow_ ? Time::past : Time::future;
}

QVariant HistoryListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const QString& name = rows_[static_cast<std::size_t>(index.row())].name;
    const Time time = timeOf(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return name;
    case timeRole:
        return static_cast<int>(time);
    case Qt::ForegroundRole:
        if (time != Time::future) return {};
        return Theme::color(ThemeColor::disabledText);
    case Qt::AccessibleTextRole:
        if (time == Time::present) return QStringLiteral("%1, present state").arg(name);
        return time == Time::past ? name : QStringLiteral("%1, undone").arg(name);
    default:
        return {};
    }
}

} // namespace ombrel
