// Brushes to choose from, each by a stroke that it paints and its name, in as many columns as there
// is room for. Main thread only.
#pragma once

#include "App/Brushes/BrushPreviews.h"
#include "Tools/BrushSettings.h"

#include <QListView>
#include <functional>
#include <optional>

namespace ombrel {

class BrushPresetModel;
class BrushPresetStore;

class BrushPresetGrid : public QListView {
public:
    BrushPresetGrid(BrushPresetStore& store, BrushPreviews::Services services,
                    QWidget* parent = nullptr);
    ~BrushPresetGrid() override;

    std::function<void(const BrushPreset&)> onChoose;

    /// The one that is in use; told by a mark at its side.
    void setUsed(const std::optional<Uuid>& id);
    const std::optional<Uuid>& used() const { return used_; }
    /// That the keyboard is on; null: none.
    const BrushPreset* current() const;
    void beginRename(const Uuid& id);

    BrushPresetModel& presets() { return *model_; }
    BrushPreviewWish wishOf(const BrushPreset& preset, QSize points) const;
    QImage previewOf(const BrushPreset& preset, QSize points);

protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyboardSearch(const QString& search) override;

private:
    void choose(const QModelIndex& index);

    BrushPresetStore& store_;
    BrushPresetModel* model_;
    BrushPreviews previews_;
    std::optional<Uuid> used_;
};

} // namespace ombrel
