#include "App/Brushes/BrushPresetGrid.h"

#include "App/Brushes/BrushPresetModel.h"
#include "App/Look/Theme.h"
#include "Editor/BrushPresetStore.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>

namespace ombrel {

namespace {

constexpr int narrowest = 88; ///< of a cell, points
constexpr int strokeHeight = 26;

class PresetDelegate : public QStyledItemDelegate {
public:
    explicit PresetDelegate(BrushPresetGrid& grid) : QStyledItemDelegate(&grid), grid_(grid) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        const BrushPreset* preset = grid_.presets().presetAt(index);
        if (preset == nullptr) return;
        const bool isUsed = preset->id == grid_.used();
        const QRect cell = option.rect.adjusted(1, 1, -1, -1);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setPen(Qt::NoPen);
        painter->setBrush(background(option, isUsed));
        painter->drawRoundedRect(cell, Spacing::corner, Spacing::corner);
        const bool isMarked = (option.state & QStyle::State_HasFocus) != 0;
        if (isMarked) {
            painter->setPen(QPen(Theme::color(ThemeColor::accent), 1));
            painter->setBrush(Qt::NoBrush);
            painter->drawRoundedRect(QRectF(cell).adjusted(0.5, 0.5, -0.5, -0.5), Spacing::corner,
                                     Spacing::corner);
        }
        const QColor ink = Theme::color(isUsed ? ThemeColor::selectedText : ThemeColor::text);
        const QRect stroke(cell.left() + 3, cell.top() + 2, cell.width() - 6, strokeHeight);
        const QImage picture = grid_.previewOf(*preset, stroke.size());
        if (!picture.isNull())
            painter->drawImage(stroke.topLeft(), tinted(picture, ink, grid_.devicePixelRatioF()));
        painter->setPen(isUsed ? ink : Theme::color(ThemeColor::dimText));
        const QRect words = nameRect(option);
        painter->drawText(
            words, Qt::AlignCenter,
            option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, words.width()));
        painter->restore();
    }
    QSize sizeHint(const QStyleOptionViewItem& /*option*/,
                   const QModelIndex& /*index*/) const override {
        return grid_.gridSize();
    }
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& /*index*/) const override {
        editor->setGeometry(nameRect(option).adjusted(0, -1, 0, 1));
    }
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& /*option*/,
                          const QModelIndex& /*index*/) const override {
        auto* line = new QLineEdit(parent);
        line->setObjectName(QStringLiteral("brushName"));
        line->setAccessibleName(QStringLiteral("Name of the brush"));
        line->setFrame(false);
        line->setAlignment(Qt::AlignCenter);
        line->setMaxLength(60);
        return line;
    }

private:
    static QColor background(const QStyleOptionViewItem& option, bool isUsed) {
        if (isUsed) return Theme::color(ThemeColor::selection);
        const bool isUnderPointer = (option.state & QStyle::State_MouseOver) != 0;
        return Theme::color(isUnderPointer ? ThemeColor::hovered : ThemeColor::panel);
    }
    static QRect nameRect(const QStyleOptionViewItem& option) {
        const QRect cell = option.rect.adjusted(4, 0, -4, -3);
        return {cell.left(), cell.top() + strokeHeight + 3, cell.width(),
                cell.height() - strokeHeight - 3};
    }

    BrushPresetGrid& grid_;
};

} // namespace

BrushPresetGrid::BrushPresetGrid(BrushPresetStore& store, BrushPreviews::Services services,
                                 QWidget* parent)
    : QListView(parent), store_(store), model_(new BrushPresetModel(store, this)),
      previews_(services, BrushPreviews::Keep::all) {
    setObjectName(QStringLiteral("brushPresets"));
    setAccessibleName(QStringLiteral("Brushes"));
    setModel(model_);
    setItemDelegate(new PresetDelegate(*this));
    setFlow(QListView::LeftToRight);
    setWrapping(true);
    setResizeMode(QListView::Adjust);
    setUniformItemSizes(true);
    setMovement(QListView::Static);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::EditKeyPressed);
    setDragDropMode(QAbstractItemView::InternalMove);
    setDefaultDropAction(Qt::MoveAction);
    setDropIndicatorShown(true);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFrameShape(QFrame::NoFrame);
    setMouseTracking(true);
    setTabKeyNavigation(false);
    previews_.onReady = [this] { viewport()->update(); };
}

BrushPresetGrid::~BrushPresetGrid() = default;

void BrushPresetGrid::setUsed(const std::optional<Uuid>& id) {
    if (id == used_) return;
    used_ = id;
    const QModelIndex index = id ? model_->indexOf(*id) : QModelIndex();
    if (index.isValid()) {
        setCurrentIndex(index);
        scrollTo(index);
    }
    viewport()->update();
}

const BrushPreset* BrushPresetGrid::current() const {
    return model_->presetAt(currentIndex());
}

void BrushPresetGrid::beginRename(const Uuid& id) {
    const QModelIndex index = model_->indexOf(id);
    if (!index.isValid() || BrushPresetStore::isBuiltIn(id)) return;
    setCurrentIndex(index);
    scrollTo(index);
    edit(index);
}

BrushPreviewWish BrushPresetGrid::wishOf(const BrushPreset& preset, QSize points) const {
    BrushPreviewWish wish;
    preset.applyTo(wish.settings, preset.tipID ? store_.tip(*preset.tipID) : nullptr);
    wish.scale = devicePixelRatioF();
    wish.size = (QSizeF(points) * wish.scale).toSize();
    return wish;
}

QImage BrushPresetGrid::previewOf(const BrushPreset& preset, QSize points) {
    return previews_.of(wishOf(preset, points));
}

void BrushPresetGrid::resizeEvent(QResizeEvent* event) {
    // The list leaves room for its scroll bar, there or not, so nothing jumps when it comes.
    const int room = maximumViewportSize().width() - verticalScrollBar()->sizeHint().width() - 1;
    const int columns = std::max(1, room / narrowest);
    const int height = strokeHeight + fontMetrics().height() + 9;
    setGridSize({std::max(room / columns, 1), height});
    QListView::resizeEvent(event);
}

void BrushPresetGrid::keyPressEvent(QKeyEvent* event) {
    const bool isChoice = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter ||
                          event->key() == Qt::Key_Space;
    if (isChoice && state() != QAbstractItemView::EditingState) return choose(currentIndex());
    QListView::keyPressEvent(event);
}

void BrushPresetGrid::mouseReleaseEvent(QMouseEvent* event) {
    const bool wasDragged = state() == QAbstractItemView::DraggingState;
    const QModelIndex index = indexAt(event->position().toPoint());
    QListView::mouseReleaseEvent(event);
    if (event->button() == Qt::LeftButton && !wasDragged && index == currentIndex()) choose(index);
}

// Letters choose tools, not brushes.
void BrushPresetGrid::keyboardSearch(const QString& /*search*/) {}

void BrushPresetGrid::choose(const QModelIndex& index) {
    const BrushPreset* preset = model_->presetAt(index);
    if (preset != nullptr && onChoose) onChoose(BrushPreset(*preset));
}

} // namespace ombrel
