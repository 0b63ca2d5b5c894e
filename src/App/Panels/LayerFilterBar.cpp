#include "App/Panels/LayerFilterBar.h"

#include "App/Look/Icons.h"
#include "App/Look/Theme.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>

namespace ombrel {

LayerFilterBar::LayerFilterBar(QWidget* parent)
    : QWidget(parent), kind_(new QComboBox(this)), name_(new QLineEdit(this)) {
    for (const LayerKindName& each : layerKindNames())
        kind_->addItem(QLatin1String(each.words), static_cast<int>(each.kind));
    kind_->setObjectName(QStringLiteral("filterKind"));
    kind_->setToolTip(QStringLiteral("Show only layers of this kind"));
    kind_->setAccessibleName(QStringLiteral("Show layers of kind"));
    kind_->setFocusPolicy(Qt::TabFocus);
    kind_->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    kind_->setMinimumContentsLength(7);
    kind_->setMaxVisibleItems(kind_->count());
    name_->setObjectName(QStringLiteral("filterName"));
    name_->setPlaceholderText(QStringLiteral("Find by name"));
    name_->setToolTip(QStringLiteral("Show only layers whose name holds this"));
    name_->setAccessibleName(QStringLiteral("Show layers named"));
    name_->setClearButtonEnabled(true);
    name_->addAction(icon("search"), QLineEdit::LeadingPosition);
    name_->installEventFilter(this);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(Spacing::normal, Spacing::tight, Spacing::normal, Spacing::tight);
    row->setSpacing(Spacing::tight);
    row->addWidget(name_, 3);
    row->addWidget(kind_, 2);
    const auto changed = [this] {
        if (onChange) onChange(filter());
    };
    connect(kind_, &QComboBox::currentIndexChanged, this, changed);
    connect(name_, &QLineEdit::textChanged, this, changed);
}

LayerFilter LayerFilterBar::filter() const {
    return {.name = name_->text().trimmed(),
            .kind = static_cast<LayerKind>(kind_->currentData().toInt())};
}

void LayerFilterBar::clear() {
    kind_->setCurrentIndex(0);
    name_->clear();
}

// Escape shows everything again.
bool LayerFilterBar::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::KeyPress &&
        static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && !filter().showsAll()) {
        clear();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace ombrel
