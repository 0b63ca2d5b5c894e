// Part of a panel under a title that folds it away, with a switch in the title where the whole part
// can be off. Main thread only.
#pragma once

#include <QWidget>

class QCheckBox;
class QToolButton;
class QVBoxLayout;

namespace ombrel {

class FoldingSection : public QWidget {
public:
    FoldingSection(const QString& name, const QString& title, QWidget* parent = nullptr);

    QWidget& body() { return *body_; }
    QVBoxLayout& rows() { return *rows_; }
    /// Puts it into the title.
    void setSwitch(QCheckBox* toggle);
    void setFolded(bool isFolded);
    bool isFolded() const;

private:
    QWidget* head_;
    QToolButton* arrow_;
    QWidget* body_;
    QVBoxLayout* rows_;
};

} // namespace ombrel
