// Where one says which layers the list shows: a kind and words of the name. Main thread only.
#pragma once

#include "App/Panels/LayerFilter.h"

#include <QWidget>
#include <functional>

class QComboBox;
class QLineEdit;

namespace ombrel {

class LayerFilterBar : public QWidget {
public:
    explicit LayerFilterBar(QWidget* parent = nullptr);

    std::function<void(const LayerFilter&)> onChange;

    LayerFilter filter() const;
    void clear();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QComboBox* kind_;
    QLineEdit* name_;
};

} // namespace ombrel
