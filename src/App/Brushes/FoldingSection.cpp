#include "App/Brushes/FoldingSection.h"

#include "App/Look/Icons.h"
#include "App/Look/Theme.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QToolButton>
#include <QVBoxLayout>

namespace ombrel {

FoldingSection::FoldingSection(const QString& name, const QString& title, QWidget* parent)
    : QWidget(parent), head_(new QWidget(this)), arrow_(new QToolButton(head_)),
      body_(new QWidget(this)), rows_(new QVBoxLayout(body_)) {
    setObjectName(name + QStringLiteral("Section"));
    arrow_->setObjectName(name + QStringLiteral("Fold"));
    arrow_->setAutoRaise(true);
    arrow_->setCheckable(false);
    arrow_->setText(title);
    arrow_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    arrow_->setIconSize({12, 12});
    arrow_->setFocusPolicy(Qt::TabFocus);
    auto* heading = new QHBoxLayout(head_);
    heading->setContentsMargins(Spacing::hair, 0, Spacing::normal, 0);
    heading->setSpacing(Spacing::tight);
    heading->addWidget(arrow_);
    heading->addStretch();
    rows_->setContentsMargins(Spacing::normal, 0, Spacing::normal, Spacing::tight);
    rows_->setSpacing(Spacing::hair);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(Spacing::hair);
    all->addWidget(head_);
    all->addWidget(body_);
    connect(arrow_, &QToolButton::clicked, this, [this] { setFolded(!isFolded()); });
    setFolded(false);
}

void FoldingSection::setSwitch(QCheckBox* toggle) {
    toggle->setParent(head_);
    toggle->setText({});
    head_->layout()->addWidget(toggle);
}

void FoldingSection::setFolded(bool isFolded) {
    body_->setVisible(!isFolded);
    arrow_->setIcon(icon(isFolded ? "chevron-right" : "chevron-down"));
    arrow_->setAccessibleDescription(isFolded ? QStringLiteral("Folded")
                                              : QStringLiteral("Unfolded"));
}

bool FoldingSection::isFolded() const {
    return body_->isHidden();
}

} // namespace ombrel
