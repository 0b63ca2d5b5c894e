// Swatches as small squares in rows. A click, Return or Space chooses one. Main thread only.
#pragma once

#include <QListView>
#include <functional>

namespace ombrel {

class SwatchListModel;

class SwatchView : public QListView {
public:
    static constexpr int cell = 20; ///< a square with the space around it

    explicit SwatchView(SwatchListModel* model, QWidget* parent = nullptr);

    /// `isForBackground`: with Alt.
    std::function<void(int row, bool isForBackground)> onChoose;
    std::function<void()> onRemove; ///< Delete, which is the window's where this is empty
    std::function<void()> onRename; ///< F2

protected:
    bool event(QEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void startDrag(Qt::DropActions actions) override;

private:
    const std::function<void()>* actionOf(const QKeyEvent& key) const;
    void choose(const QModelIndex& index, Qt::KeyboardModifiers modifiers);

    bool wasDragged_ = false;
};

} // namespace ombrel
