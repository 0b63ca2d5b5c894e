// The undo list as rows, oldest first. Follows each new history by the rows that differ, so that a
// long list costs what changed and a view keeps its place. Main thread only.
#pragma once

#include "Base/Uuid.h"
#include "Core/History.h"

#include <QAbstractListModel>
#include <vector>

namespace ombrel {

class HistoryListModel : public QAbstractListModel {
public:
    enum Role {
        timeRole = Qt::UserRole, ///< present, past or future, as Time
    };
    enum class Time { past, present, future };

    explicit HistoryListModel(QObject* parent = nullptr) : QAbstractListModel(parent) {}

    void follow(const History& history);
    int currentRow() const { return currentRow_; }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    struct Row {
        Uuid id;
        QString name;
    };

    Time timeOf(int row) const;
    void moveCurrent(int row);

    std::vector<Row> rows_;
    int currentRow_ = -1;
};

} // namespace ombrel
